// Reverse-communication root search.
#include <cmath>
#include <functional>
#include <vector>

#include "common/testing.h"
#include "kestrel/rootsearch.h"

namespace {

struct SearchRun {
    int32_t status;
    double x, f;
    std::vector<double> abscissae;  // every x handed out, in order
};

SearchRun search(const std::function<double(double)> &fn, double lower, double upper, double tol, int32_t limit,
           int maxCalls = 100000) {
    SearchRun r{0, 0.0, 0.0, {}};
    IterateTowardsZero(&r.status, lower, upper, tol, &r.x, &r.f, limit);
    while (r.status == 1 && maxCalls-- > 0) {
        r.abscissae.push_back(r.x);
        r.f = fn(r.x);
        IterateTowardsZero(&r.status, lower, upper, tol, &r.x, &r.f, limit);
    }
    return r;
}

}  // namespace

TEST(RootSearch, ZeroAtTheLowerEndAndLinearFunctions) {
    SearchRun r = search([](double x) { return (x - 6.0) * 1e-20; }, 6.0, 10.0, 1e-16, 100);
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.abscissae, std::vector<double>{6.0});  // ends on the second call
    // Bracketed at once: lower, upper, then the secant step lands on 7.
    r = search([](double x) { return x - 7.0; }, 6.0, 10.0, 1e-12, 100);
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.x, 7.0);
    EXPECT_EQ(r.abscissae, (std::vector<double>{6, 10, 7}));
}

TEST(RootSearch, NoSignChangeSubdividesUntilTheLimit) {
    const SearchRun r = search([](double x) { return (x - 8.0) * (x - 8.0) + 1.0; }, 6.0, 10.0, 1e-12, 20);
    EXPECT_EQ(r.status, 3);
    // After the two ends: odd multiples of 4/2, 4/4, 4/8, ... from 6.
    const std::vector<double> expected = {6, 10, 8, 7, 9, 6.5, 7.5, 8.5, 9.5, 6.25, 6.75, 7.25};
    ASSERT_GE(r.abscissae.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(r.abscissae[i], expected[i]) << i;
    // The limit counts iterations after the two end points: 20 - 1 of them.
    EXPECT_EQ(r.abscissae.size(), 2u + 18u);
    // A negative limit acts as its absolute value.
    const SearchRun b = search([](double x) { return (x - 8.0) * (x - 8.0) + 1.0; }, 6.0, 10.0, 1e-12, -20);
    EXPECT_EQ(b.status, 3);
    EXPECT_EQ(b.abscissae, r.abscissae);
}

TEST(RootSearch, SubdivisionFindsAHiddenSignChange) {
    // Both ends positive; negative only on (7.4, 7.6): found by the 4/8 pass.
    const SearchRun r = search([](double x) { return (x - 7.4) * (x - 7.6); }, 6.0, 10.0, 1e-14, 100);
    EXPECT_EQ(r.status, 2);
    EXPECT_TRUE(std::fabs(r.x - 7.4) < 1e-12 || std::fabs(r.x - 7.6) < 1e-12) << r.x;
}

TEST(RootSearch, ConvergesOnHardFunctions) {
    struct Case {
        std::function<double(double)> fn;
        double lo, hi, root;
    };
    const std::vector<Case> cases = {
        {[](double x) { return std::exp(x) - 5.0; }, 0.0, 10.0, std::log(5.0)},
        {[](double x) { return std::cbrt(x - 1.0); }, -3.0, 4.0, 1.0},               // infinite slope
        {[](double x) { return std::atan(50.0 * (x - 0.3)); }, -5.0, 5.0, 0.3},     // flat ends
        {[](double x) { return x < 2.0 ? -1.0 : 1.0; }, 0.0, 3.0, 2.0},             // a step: no zero
        {[](double x) { return std::pow(x - 2.5, 9); }, 0.0, 4.0, 2.5},              // flat at the root
    };
    for (const Case &c : cases) {
        // Tolerance 0: the search must stop on its own when no progress is left.
        const SearchRun r = search(c.fn, c.lo, c.hi, 0.0, 200);
        EXPECT_TRUE(r.status == 2 || r.status == 4) << r.status;
        EXPECT_NEAR(r.x, c.root, 1e-4) << "root " << c.root;
        EXPECT_LT(r.abscissae.size(), 203u);
    }
}

TEST(RootSearch, HostileInputEndsWithoutLooping) {
    // NaN values, an empty interval, a reversed interval, a zero limit: each
    // search ends within its limit (the helper would stop at 100000 calls).
    const double nan = std::nan("");
    EXPECT_NE(search([nan](double) { return nan; }, 0.0, 1.0, 1e-12, 50).status, 1);
    EXPECT_NE(search([](double x) { return x - 1.0; }, 1.0, 1.0, -1.0, 50).status, 1);
    const SearchRun reversed = search([](double x) { return x - 7.0; }, 10.0, 6.0, 1e-12, 50);
    EXPECT_EQ(reversed.status, 2);
    EXPECT_NEAR(reversed.x, 7.0, 1e-12);
    EXPECT_NE(search([](double x) { return x; }, -1.0, 2.0, 0.0, 0).status, 1);
    EXPECT_NE(search([](double x) { return x * x + 1; }, -1e300, 1e300, 0.0, 2000).status, 1);
    int32_t status = 0;
    double x = 0;
    EXPECT_EQ(IterateTowardsZero(&status, 0, 1, 0, &x, nullptr, 10), 0);
    EXPECT_EQ(IterateTowardsZero(nullptr, 0, 1, 0, &x, &x, 10), 0);
}

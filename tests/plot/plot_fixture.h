// Shared set-up of the plotting tests: a canvas as the library's picture,
// a known page geometry and a clean colour state.
#ifndef KESTREL_TESTS_PLOT_FIXTURE_H
#define KESTREL_TESTS_PLOT_FIXTURE_H

#include <cstdlib>
#include <string>

#include "common/picture.h"
#include "common/testing.h"
#include "kestrel/kestrel.h"

namespace kt {

// Compares text with the golden file tests/golden/<name>; with
// KESTREL_UPDATE_GOLDEN=1 in the environment the golden file is rewritten.
inline void expectGolden(const std::string &name, const std::string &text) {
    const std::string path = sourcePath("tests/golden/" + name);
    const char *update = std::getenv("KESTREL_UPDATE_GOLDEN");
    if (update && *update == '1') writeFile(path, text);
    ASSERT_TRUE(fileExists(path)) << "golden file missing: " << path;
    EXPECT_EQ(readFile(path), text) << "differs from " << path;
}

}  // namespace kt

// A page of w x h pixels at ppl pixels per length unit (kt::openPage).
class PlotTest : public ::testing::Test {
protected:
    void SetUp() override { setUpPage(400, 300, 40.0f); }
    void TearDown() override { kt::closePage(dc); }
    void setUpPage(int w, int h, float ppl) {
        if (dc) kt::closePage(dc);
        dc = kt::openPage(w, h, ppl);
        ASSERT_NE(dc, nullptr);
    }
    KDC dc = nullptr;
};

#endif

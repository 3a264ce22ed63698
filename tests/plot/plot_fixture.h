// Shared set-up of the plotting tests: a canvas as the library's picture,
// a known page geometry and a clean colour state.
#ifndef KESTREL_TESTS_PLOT_FIXTURE_H
#define KESTREL_TESTS_PLOT_FIXTURE_H

#include <string>

#include "kestrel/kestrel.h"
#include "common/picture.h"
#include "common/testing.h"

namespace kt {

// Opens path for writing as the library's file handle (null on failure).
KFILE createFile(const std::string &path);
void closeFile(KFILE f);

// Compares text with the golden file tests/golden/<name>; with
// KESTREL_UPDATE_GOLDEN=1 in the environment the golden file is rewritten.
void expectGolden(const std::string &name, const std::string &text);

}  // namespace kt

// A page of w x h pixels at ppl pixels per length unit, InitmemDC'd, with
// the built-in palette loaded. The canvas is hdcMem.
class PlotTest : public ::testing::Test {
protected:
    void SetUp() override { setUpPage(400, 300, 40.0f); }
    void TearDown() override;
    void setUpPage(int w, int h, float ppl);
    KDC dc = nullptr;
};

#endif

// Shared helpers of the test programs.
#ifndef KESTREL_TESTS_TESTING_H
#define KESTREL_TESTS_TESTING_H

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "kestrel/types.h"

namespace kt {

// Path of a file in the shared reference data (the KESTREL_TEST_DATA
// environment variable wins over the configured folder).
std::string dataPath(const std::string &relative);

// Path of a file in the source tree (golden files, palettes, the preamble).
std::string sourcePath(const std::string &relative);

// A fresh, empty folder for one test's output files, below the build tree.
std::string scratchDir(const std::string &testName);

bool fileExists(const std::string &path);
std::string readFile(const std::string &path);
void writeFile(const std::string &path, const std::string &content);

// Runs body with a fresh file opened as the library's file handle and
// returns what it wrote (one folder per test and name).
std::string capture(const std::string &name, const std::function<void(KFILE)> &body);

}  // namespace kt

// Skips the current test with a clear message when reference data is absent.
#define KT_REQUIRE_FILE(path)                                                   \
    do {                                                                        \
        if (!kt::fileExists(path)) GTEST_SKIP() << "reference data missing: " << (path); \
    } while (0)

#endif

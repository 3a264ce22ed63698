#include "testing.h"

#include "platform/platform.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace kt {

std::string dataPath(const std::string &relative) {
    const char *env = std::getenv("KESTREL_TEST_DATA");
    std::string base = (env && *env) ? env : KESTREL_TEST_DATA;
    return base + "/" + relative;
}

std::string sourcePath(const std::string &relative) { return std::string(KESTREL_SOURCE_DIR) + "/" + relative; }

std::string scratchDir(const std::string &testName) {
    namespace fs = std::filesystem;
    fs::path p = fs::path(KESTREL_BINARY_DIR) / "test-output" / testName;
    std::error_code ec;
    fs::remove_all(p, ec);
    fs::create_directories(p, ec);
    return p.generic_string();
}

bool fileExists(const std::string &path) {
    std::ifstream f(path, std::ios::binary);
    return f.good();
}

std::string readFile(const std::string &path) {
    std::ifstream f(path, std::ios::binary);
    std::ostringstream s;
    s << f.rdbuf();
    return s.str();
}

void writeFile(const std::string &path, const std::string &content) {
    std::ofstream f(path, std::ios::binary);
    f << content;
}

std::string capture(const std::string &name, const std::function<void(KFILE)> &body) {
    const auto *info = ::testing::UnitTest::GetInstance()->current_test_info();
    const std::string test = info ? std::string(info->test_suite_name()) + "." + info->name() : "none";
    const std::string path = scratchDir("capture/" + test + "/" + name) + "/out.txt";
    KFILE f = kestrel::plat::fileCreate(path.c_str());
    EXPECT_NE(f, nullptr) << path;
    body(f);
    if (f) kestrel::plat::fileClose(f);
    return readFile(path);
}

}  // namespace kt

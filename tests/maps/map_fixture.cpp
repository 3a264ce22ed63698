#include "map_fixture.h"

#include <cstdio>
#include <cstdlib>

#include "common/canvas.h"
#include "platform/platform.h"

namespace kt {

void writeCst(const std::string &path, const std::vector<CstRecord> &records) {
    std::FILE *f = std::fopen(path.c_str(), "wb");
    ASSERT_NE(f, nullptr);
    for (const CstRecord &r : records) {
        const int32_t head[2] = {static_cast<int32_t>(r.lonlat.size() / 2), r.m};
        std::fwrite(head, 4, 2, f);  // the test machines are little-endian
        if (!r.lonlat.empty()) std::fwrite(r.lonlat.data(), 4, r.lonlat.size(), f);
    }
    std::fclose(f);
}

void expectGolden(const std::string &name, const std::string &text) {
    const std::string path = sourcePath("tests/golden/" + name);
    const char *update = std::getenv("KESTREL_UPDATE_GOLDEN");
    if (update && *update == '1') writeFile(path, text);
    ASSERT_TRUE(fileExists(path)) << "golden file missing: " << path;
    EXPECT_EQ(readFile(path), text) << "differs from " << path;
}

int countOf(const std::string &text, const std::string &needle) {
    int n = 0;
    for (size_t p = text.find(needle); p != std::string::npos; p = text.find(needle, p + needle.size())) ++n;
    return n;
}

KFILE openFile(const std::string &path) { return kestrel::plat::fileCreate(path.c_str()); }
void closeFile(KFILE f) {
    if (f) kestrel::plat::fileClose(f);
}

}  // namespace kt

void MapTest::SetUp() {
    ProjFixture::SetUp();
    dir = kt::scratchDir(std::string(::testing::UnitTest::GetInstance()->current_test_info()->test_suite_name()) +
                         "_" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
    dc = kt::createPicture(width, height);
    ASSERT_NE(dc, nullptr);
    kt::startPicture(dc, width, height, ppl);
    InitCGS(dc, &mCGS);
    mCGS.paletteFile[0] = '\0';
    LoadPaletteFile(dc, nullptr);
    InitmemDC();
    SetDfltFont(&mFS);
    SetColorMode(1);
}

void MapTest::TearDown() {
    DeleteMYPalette();
    hdcMem = nullptr;
    kt::destroyPicture(dc);
    dc = nullptr;
    ProjFixture::TearDown();
}

kt::MapLayout MapTest::layout(int code, float lonMin, float lonMax, float latMin, float latMax, float cLon, float cLat,
                              float areaX, float areaY, float areaW, float areaH) {
    kt::MapLayout m{lonMin, lonMax, latMin, latMax, cLon, cLat, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    m.changed = AdjustMapLayout(&m.xMin, &m.xMax, &m.w, &m.xOff, &m.yMin, &m.yMax, &m.h, &m.yOff, &m.lonMin,
                                &m.lonMax, &m.cLon, &m.latMin, &m.latMax, &m.cLat, code, areaW, areaX, areaH, areaY);
    UsrSys(dc, m.xMin, m.xMax, m.w, m.xOff, m.yMin, m.yMax, m.h, m.yOff);
    return m;
}

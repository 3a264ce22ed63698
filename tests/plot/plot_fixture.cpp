#include "plot_fixture.h"

#include <cstdlib>

#include "common/picture.h"
#include "platform/platform.h"

namespace kt {

KFILE createFile(const std::string &path) { return kestrel::plat::fileCreate(path.c_str()); }
void closeFile(KFILE f) {
    if (f) kestrel::plat::fileClose(f);
}

void expectGolden(const std::string &name, const std::string &text) {
    const std::string path = sourcePath("tests/golden/" + name);
    const char *update = std::getenv("KESTREL_UPDATE_GOLDEN");
    if (update && *update == '1') writeFile(path, text);
    ASSERT_TRUE(fileExists(path)) << "golden file missing: " << path;
    EXPECT_EQ(readFile(path), text) << "differs from " << path;
}

}  // namespace kt

void PlotTest::setUpPage(int w, int h, float ppl) {
    if (dc) kt::destroyPicture(dc);
    dc = kt::createPicture(w, h);
    ASSERT_NE(dc, nullptr);
    hdcMem = dc;
    Vbmp_size_cx = w;
    Vbmp_size_cy = h;
    VX.devPixels = w;
    VY.devPixels = h;
    VX.pixPerLength = VY.pixPerLength = ppl;
    VX.devLength = static_cast<float>(w) / ppl;
    VY.devLength = static_cast<float>(h) / ppl;
    InitCGS(dc, &mCGS);
    mCGS.paletteFile[0] = '\0';
    LoadPaletteFile(dc, nullptr);  // the built-in palette
    InitmemDC();
    SetDfltFont(&mFS);
}

void PlotTest::TearDown() {
    DeleteMYPalette();
    hdcMem = nullptr;
    kt::destroyPicture(dc);
    dc = nullptr;
}

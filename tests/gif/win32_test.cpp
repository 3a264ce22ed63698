// BMPtoGIF on a Windows memory device context: the bitmap read back through
// GetDIBits in palette-index mode gives the same file as the index picture
// the test painted.
#if defined(_WIN32)

#include <gtest/gtest.h>

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

#include <string>
#include <vector>

#include "common/testing.h"
#include "images.h"
#include "kestrel/colour.h"
#include "kestrel/gif.h"
#include "platform/platform.h"
#include "plot/gif.h"

using namespace kestrel;

TEST(GifExportWin32, MemoryBitmapGivesTheFileOfItsIndexPicture) {
    const int w = 97, h = 61, n = 16;
    gt::setPalette(n);
    std::vector<plat::PaletteEntry> entries(n);
    for (int i = 0; i < n; ++i) entries[i] = {Vcolor[i][0], Vcolor[i][1], Vcolor[i][2], 0};
    hMYpal = plat::createPalette(entries.data(), n);
    ASSERT_NE(hMYpal, nullptr);

    HDC screen = GetDC(nullptr);
    HDC mem = CreateCompatibleDC(screen);
    HBITMAP bmp = CreateCompatibleBitmap(screen, w, h);
    ReleaseDC(nullptr, screen);
    ASSERT_NE(mem, nullptr);
    ASSERT_NE(bmp, nullptr);
    HGDIOBJ oldBitmap = SelectObject(mem, bmp);

    // Rectangles in palette colours, painted as plain RGB so that the test
    // does not depend on the display's palette handling.
    std::vector<uint8_t> want(static_cast<size_t>(w) * h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const int i = ((x / 7) + 3 * (y / 5)) % n;
            want[static_cast<size_t>(y) * w + x] = static_cast<uint8_t>(i);
            SetPixel(mem, x, y, RGB(Vcolor[i][0], Vcolor[i][1], Vcolor[i][2]));
        }
    Vbmp_size_cx = w;
    Vbmp_size_cy = h;
    const std::string dir = kt::scratchDir("GifWin32");
    int32_t rect[4] = {0, 0, w - 1, h - 1};
    EXPECT_EQ(BMPtoGIF(reinterpret_cast<KDC>(mem), reinterpret_cast<KBITMAP>(bmp), rect, (dir + "/dc.gif").c_str()),
              1);

    KFILE f = plat::fileCreate((dir + "/indices.gif").c_str());
    ASSERT_TRUE(gif::writeIndexedImage(f, want.data(), static_cast<size_t>(w), w, h));
    plat::fileClose(f);
    EXPECT_TRUE(kt::readFile(dir + "/dc.gif") == kt::readFile(dir + "/indices.gif"));

    SelectObject(mem, oldBitmap);
    DeleteObject(bmp);
    DeleteDC(mem);
    plat::deleteObject(hMYpal);
    hMYpal = nullptr;
}

#endif  // _WIN32

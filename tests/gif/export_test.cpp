// BMPtoGIF on the headless canvas: pictures drawn through the platform layer
// come back from an independent decoder with the colours of the canvas.
#if !defined(_WIN32)

#include <cairo.h>
#include <fontconfig/fontconfig.h>
#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <utility>
#include <vector>

#include "common/testing.h"
#include "decoders.h"
#include "images.h"
#include "kestrel/canvas.h"
#include "kestrel/gif.h"
#include "platform/platform.h"

using namespace kestrel;

namespace {

struct Message {
    std::string text, caption;
};
std::vector<Message> g_messages;

int32_t recordMessage(void *, const char *text, const char *caption, uint32_t) {
    g_messages.push_back({text, caption});
    return 1;
}

// Cairo and fontconfig keep their font caches until told to let go; without
// this the leak checker reports them at exit.
class FontCaches : public ::testing::Environment {
public:
    void TearDown() override {
        cairo_debug_reset_static_data();
        FcFini();
    }
};
const ::testing::Environment *const g_fontCaches = ::testing::AddGlobalTestEnvironment(new FontCaches);

class GifExport : public ::testing::Test {
protected:
    void SetUp() override {
        if (!gt::haveGiflib()) GTEST_SKIP() << "giflib (libgif7) is not installed";
        KUICallbacks cb{};
        cb.messageBox = recordMessage;
        KestrelSetUICallbacks(&cb);
        g_messages.clear();
        gt::setPalette(16);
        Vcolor[0][0] = Vcolor[0][1] = Vcolor[0][2] = 255;  // paper
        Vcolor[1][0] = Vcolor[1][1] = Vcolor[1][2] = 0;    // ink
        dc = KCanvasCreate(kW, kH);
        hdcMem = dc;
        Vbmp_size_cx = kW;
        Vbmp_size_cy = kH;
        draw();
        dir = kt::scratchDir(::testing::UnitTest::GetInstance()->current_test_info()->name());
    }
    void TearDown() override {
        KestrelSetUICallbacks(nullptr);
        KCanvasDestroy(dc);
        hdcMem = nullptr;
    }

    // Colour bands, a frame, lines of several pens and antialiased text.
    void draw() {
        plat::GdiObj oldBrush = plat::selectObject(dc, plat::getStockObject(plat::StockNullBrush));
        plat::rectangle(dc, 25, 25, 295, 205);
        plat::selectObject(dc, oldBrush);
        for (int i = 0; i < 8; ++i) {
            KBRUSH b = plat::createSolidBrush(plat::paletteIndex(4 + i));
            plat::Rect r{30 + i * 30, 30, 60 + i * 30, 200};
            plat::fillRect(dc, &r, b);
            plat::deleteObject(b);
        }
        const int styles[] = {plat::PenSolid, plat::PenDash, plat::PenDot};
        for (int i = 0; i < 3; ++i) {
            KPEN pen = plat::createPen(styles[i], 1 + 2 * (i == 0), plat::paletteIndex(1 + i));
            plat::GdiObj old = plat::selectObject(dc, pen);
            plat::moveTo(dc, 20, 20 + 40 * i);
            plat::lineTo(dc, 300, 60 + 60 * i);
            plat::selectObject(dc, old);
            plat::deleteObject(pen);
        }
        plat::setBkMode(dc, plat::BkTransparent);
        plat::setTextColor(dc, plat::paletteIndex(1));
        const char *label = "Temperature 0 5 10 15 20";
        plat::textOut(dc, 40, 210, label, static_cast<int>(std::string(label).size()));
    }

    std::string save(int32_t rect[4], const std::string &name) {
        const std::string path = dir + "/" + name;
        EXPECT_EQ(BMPtoGIF(dc, nullptr, rect, path.c_str()), 1);
        return path;
    }

    static constexpr int kW = 320, kH = 240;
    KDC dc = nullptr;
    std::string dir;
};

int distance2(uint32_t rgb, const uint8_t *c) {
    const int dr = static_cast<int>(rgb & 0xFF) - c[0], dg = static_cast<int>((rgb >> 8) & 0xFF) - c[1],
              db = static_cast<int>((rgb >> 16) & 0xFF) - c[2];
    return dr * dr + dg * dg + db * db;
}

}  // namespace

// Every pixel decodes to the first palette entry of its colour, and pixels
// of in-between shades (text edges) to the first of their nearest entries.
TEST_F(GifExport, CanvasPictureDecodesToItsColours) {
    int32_t rect[4] = {0, 0, kW - 1, kH - 1};
    const gt::DecodedGif d = gt::decodeWithGiflib(save(rect, "whole.gif"));
    ASSERT_TRUE(d.ok) << d.error;
    ASSERT_EQ(std::make_pair(d.width, d.height), std::make_pair(kW, kH));
    int shades = 0, bad = 0;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) {
            const uint32_t rgb = KCanvasGetPixel(dc, x, y);
            int want = 0, best = INT_MAX;
            for (int i = 0; i < mCGS.paletteSize; ++i)
                if (distance2(rgb, Vcolor[i]) < best) best = distance2(rgb, Vcolor[i]), want = i;
            shades += best > 0;
            const int got = d.pixels[static_cast<size_t>(y) * kW + x];
            if (got != want && bad++ < 5)
                ADD_FAILURE() << "pixel " << x << "," << y << " colour " << std::hex << rgb << std::dec << ": index "
                              << got << ", nearest " << want;
        }
    EXPECT_EQ(bad, 0);
    EXPECT_GT(shades, 0) << "the text should leave antialiased shades";
}

TEST_F(GifExport, RectangleIsClampedInPlaceAndCutOut) {
    int32_t whole[4] = {-5, -3, kW + 100, kH};
    const gt::DecodedGif all = gt::decodeWithGiflib(save(whole, "clamped.gif"));
    EXPECT_EQ(std::vector<int32_t>(whole, whole + 4), (std::vector<int32_t>{0, 0, kW - 1, kH - 1}));
    ASSERT_TRUE(all.ok) << all.error;
    ASSERT_EQ(std::make_pair(all.width, all.height), std::make_pair(kW, kH));

    int32_t part[4] = {10, 20, 49, 79};
    const gt::DecodedGif cut = gt::decodeWithGiflib(save(part, "part.gif"));
    ASSERT_TRUE(cut.ok) << cut.error;
    ASSERT_EQ(std::make_pair(cut.width, cut.height), std::make_pair(40, 60));
    for (int y = 0; y < 60; ++y)
        for (int x = 0; x < 40; ++x)
            ASSERT_EQ(cut.pixels[static_cast<size_t>(y) * 40 + x], all.pixels[static_cast<size_t>(y + 20) * kW + x + 10])
                << x << "," << y;
}

// An existing file is written over from its start and keeps its old tail.
TEST_F(GifExport, LongerExistingFileKeepsItsTail) {
    int32_t rect[4] = {0, 0, 99, 99};
    const std::string fresh = kt::readFile(save(rect, "fresh.gif"));
    const std::string path = dir + "/old.gif";
    kt::writeFile(path, std::string(fresh.size() + 1000, 'x'));
    EXPECT_EQ(BMPtoGIF(dc, nullptr, rect, path.c_str()), 1);
    const std::string got = kt::readFile(path);
    ASSERT_EQ(got.size(), fresh.size() + 1000);
    EXPECT_TRUE(got.compare(0, fresh.size(), fresh) == 0);
    EXPECT_EQ(got[fresh.size()], 'x');
    const gt::DecodedGif d = gt::decodeWithGiflib(path);
    EXPECT_TRUE(d.ok) << d.error;
}

TEST_F(GifExport, FailuresShowAMessageAndReturnZero) {
    int32_t rect[4] = {0, 0, 9, 9};
    const std::string missing = dir + "/no such folder/x.gif";
    EXPECT_EQ(BMPtoGIF(dc, nullptr, rect, missing.c_str()), 0);
    EXPECT_EQ(BMPtoGIF(dc, nullptr, rect, nullptr), 0);
    int32_t empty[4] = {50, 0, 10, 10};
    const std::string path = dir + "/empty.gif";
    EXPECT_EQ(BMPtoGIF(dc, nullptr, empty, path.c_str()), 0);
    EXPECT_FALSE(kt::fileExists(path));
    EXPECT_EQ(BMPtoGIF(dc, nullptr, nullptr, path.c_str()), 0);
    ASSERT_EQ(g_messages.size(), 4u);
    EXPECT_TRUE(g_messages[0].text == "Could not create GIF file!" && g_messages[1].text == g_messages[0].text);
    for (const Message &m : g_messages) EXPECT_EQ(m.caption, "Error writing GIF file ...");
    EXPECT_TRUE(hGIF == nullptr && lpPrefixTable == nullptr);
}

#endif  // !_WIN32

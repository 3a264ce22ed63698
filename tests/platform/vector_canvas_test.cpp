// The vector canvas and mirroring (POSIX hosts): one drawing on a pixel
// canvas repeated on a vector canvas, which writes the same picture
// smoothed at any resolution, as PDF and as SVG.
#if !defined(_WIN32)
#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "common/picture.h"
#include "common/render.h"
#include "common/testing.h"
#include "kestrel/canvas.h"
#include "platform/platform.h"

namespace plat = kestrel::plat;

namespace {

int countOf(const std::string &text, const std::string &what) {
    int n = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
    return n;
}

// A small picture with the shapes the library draws: a field of cells
// edge to edge, a one-pixel polyline, a wide line, a filled polygon, text.
void drawScene(KDC dc) {
    KBRUSH brushes[3] = {plat::createSolidBrush(plat::rgb(200, 40, 40)), plat::createSolidBrush(plat::rgb(40, 40, 200)),
                         plat::createSolidBrush(plat::rgb(40, 160, 40))};
    for (int j = 0; j < 10; ++j)
        for (int i = 0; i < 16; ++i) {
            const plat::Rect r{10 + 5 * i, 10 + 4 * j, 15 + 5 * i + 1, 14 + 4 * j};
            plat::fillRect(dc, &r, brushes[(i + j) % 3]);
        }
    for (KBRUSH b : brushes) plat::deleteObject(b);
    KCanvasSelectPen(dc, 0, 1, plat::rgb(0, 0, 0));
    const KPoint32 chain[4] = {{5, 70}, {60, 55}, {110, 90}, {150, 60}};
    plat::polyline(dc, chain, 4);
    KCanvasSelectPen(dc, 0, 3, plat::rgb(0, 0, 0));
    plat::moveTo(dc, 100, 10);
    plat::lineTo(dc, 150, 40);
    KCanvasSelectBrush(dc, plat::rgb(120, 120, 120));
    KCanvasSelectPen(dc, 0, 1, plat::rgb(0, 0, 0));
    const KPoint32 hill[4] = {{20, 110}, {60, 80}, {100, 110}, {20, 110}};
    plat::polygon(dc, hill, 4);
    plat::setBkMode(dc, plat::BkTransparent);
    plat::textOut(dc, 110, 95, "25 \xB0" "C", 5);
}

TEST(VectorCanvas, MirroredDrawingWritesThePicturePdfAndSvg) {
    const std::string dir = kt::scratchDir("vector_canvas");
    KDC pixels = KCanvasCreate(160, 120), vector = KCanvasCreateVector(160, 120);
    ASSERT_NE(pixels, nullptr);
    ASSERT_NE(vector, nullptr);
    ASSERT_EQ(KCanvasMirror(pixels, vector), 1);
    drawScene(pixels);

    // No pixels to read on a vector canvas, but the picture exports.
    EXPECT_EQ(KCanvasGetPixel(vector, 5, 5), 0xFFFFFFFFu);
    int32_t stride = 7;
    EXPECT_EQ(KCanvasPixels(vector, &stride), nullptr);
    EXPECT_EQ(stride, 0);
    ASSERT_EQ(KCanvasSavePNG(pixels, (dir + "/pixels.png").c_str()), 1);
    ASSERT_EQ(KCanvasExport(vector, (dir + "/smooth.png").c_str(), "png", 1.0), 1);
    ASSERT_EQ(KCanvasExport(vector, (dir + "/fine.png").c_str(), "png", 2.5), 1);
    ASSERT_EQ(KCanvasExport(vector, (dir + "/scene.svg").c_str(), "svg", 0.75), 1);
    ASSERT_EQ(KCanvasExport(vector, (dir + "/scene.pdf").c_str(), "pdf", 0.75), 1);
    kt::Image a, b, fine;
    ASSERT_TRUE(kt::loadPNG(dir + "/pixels.png", &a));
    ASSERT_TRUE(kt::loadPNG(dir + "/smooth.png", &b));
    ASSERT_TRUE(kt::loadPNG(dir + "/fine.png", &fine));
    EXPECT_EQ(fine.w, 400);
    EXPECT_EQ(fine.h, 300);
    // The same shapes in the same places; smoothing moves edges by a pixel at most.
    EXPECT_LT(kt::compareImages(a, b, 1, 60).share, 0.03);
    // The cells exactly where the pixel canvas put them, nothing between them.
    for (int y = 10; y < 50; ++y)
        for (int x = 10; x < 90; ++x) ASSERT_EQ(a.at(x, y), b.at(x, y)) << x << ", " << y;
    // The hundred and sixty cells are one image, not shapes that meet edge to edge.
    const std::string svg = kt::readFile(dir + "/scene.svg");
    EXPECT_EQ(countOf(svg, "<image"), 1) << "cells as one image";
    EXPECT_NE(svg.find("viewBox=\"0 0 120 90\""), std::string::npos) << "160 x 120 pixels at 0.75 pt";
    EXPECT_EQ(kt::readFile(dir + "/scene.pdf").rfind("%PDF-", 0), 0u);

    // Drawing on the mirror alone touches the pixel canvas not at all.
    const uint32_t before = KCanvasGetPixel(pixels, 2, 2);
    KCanvasSelectBrush(vector, plat::rgb(0, 0, 0));
    const plat::Rect corner{0, 0, 5, 5};
    plat::fillRect(vector, &corner, static_cast<KBRUSH>(plat::getStockObject(plat::StockBlackBrush)));
    EXPECT_EQ(KCanvasGetPixel(pixels, 2, 2), before);
    KCanvasDestroy(vector);
    KCanvasDestroy(pixels);
}

TEST(VectorCanvas, TheClipHoldsForCellsCollectedBeforeItChanges) {
    const std::string dir = kt::scratchDir("vector_clip");
    KDC v = KCanvasCreateVector(40, 40);
    ASSERT_NE(v, nullptr);
    const plat::Rect clip{10, 10, 30, 30};
    plat::clipRect(v, &clip);
    KBRUSH red = plat::createSolidBrush(plat::rgb(255, 0, 0));
    for (int i = 0; i < 8; ++i) {
        const plat::Rect cell{5 * i, 0, 5 * i + 5, 40};
        plat::fillRect(v, &cell, red);
    }
    plat::clipRect(v, nullptr);  // the cells above were drawn under the clip
    KBRUSH blue = plat::createSolidBrush(plat::rgb(0, 0, 255));
    const plat::Rect after{0, 35, 5, 40};
    plat::fillRect(v, &after, blue);
    ASSERT_EQ(KCanvasExport(v, (dir + "/clip.png").c_str(), "png", 1.0), 1);
    kt::Image im;
    ASSERT_TRUE(kt::loadPNG(dir + "/clip.png", &im));
    EXPECT_EQ(im.at(5, 5), 0xFFFFFFu) << "outside the clip";
    EXPECT_EQ(im.at(20, 20), 0x0000FFu) << "inside (red in the low byte)";
    EXPECT_EQ(im.at(35, 20), 0xFFFFFFu);
    EXPECT_EQ(im.at(2, 38), 0xFF0000u) << "after the clip was lifted";
    plat::deleteObject(red);
    plat::deleteObject(blue);
    KCanvasDestroy(v);

    // Five hundred lines under one clip: the file states the clip once,
    // not once a line (the coastline of a map under its outline).
    KDC many = KCanvasCreateVector(100, 100);
    const KPoint32 disc[6] = {{50, 5}, {90, 30}, {90, 70}, {50, 95}, {10, 70}, {10, 30}};
    plat::clipPolygon(many, disc, 6, plat::FillAlternate);
    KCanvasSelectPen(many, 0, 1, plat::rgb(0, 0, 0));
    for (int i = 0; i < 500; ++i) {
        const KPoint32 l[2] = {{i % 100, 0}, {99 - i % 100, 99}};
        plat::polyline(many, l, 2);
    }
    ASSERT_EQ(KCanvasExport(many, (dir + "/many.svg").c_str(), "svg", 1.0), 1);
    EXPECT_LE(countOf(kt::readFile(dir + "/many.svg"), "<clipPath"), 5);
    ASSERT_EQ(KCanvasExport(many, (dir + "/many.png").c_str(), "png", 1.0), 1);
    ASSERT_TRUE(kt::loadPNG(dir + "/many.png", &im));
    EXPECT_EQ(im.at(2, 2), 0xFFFFFFu) << "the corner is outside the clip";
    EXPECT_NE(im.at(50, 50), 0xFFFFFFu);
    KCanvasDestroy(many);
}

TEST(VectorCanvas, MirroringIsOneLevelAndEndsWithEitherCanvas) {
    KDC a = KCanvasCreate(20, 20), b = KCanvasCreateVector(20, 20), c = KCanvasCreateVector(20, 20);
    EXPECT_EQ(KCanvasMirror(a, a), 0) << "not itself";
    EXPECT_EQ(KCanvasMirror(a, b), 1);
    EXPECT_EQ(KCanvasMirror(b, c), 0) << "a mirror has no mirror";
    EXPECT_EQ(KCanvasMirror(c, a), 0) << "a mirrored canvas is no mirror";
    EXPECT_EQ(KCanvasMirror(c, b), 0) << "nor is a mirror shared";
    EXPECT_EQ(KCanvasMirror(a, c), 1) << "a canvas may change its mirror";
    EXPECT_EQ(KCanvasMirror(c, b), 0) << "c mirrors a";
    KCanvasDestroy(c);  // the mirror goes: a draws on alone
    KCanvasSelectPen(a, 0, 1, plat::rgb(0, 0, 0));
    plat::moveTo(a, 0, 0);
    plat::lineTo(a, 10, 10);
    EXPECT_EQ(KCanvasGetPixel(a, 5, 5), 0u);
    EXPECT_EQ(KCanvasMirror(a, c), 0) << "destroyed";
    EXPECT_EQ(KCanvasMirror(a, nullptr), 1);
    EXPECT_EQ(KCanvasExport(b, "/nonexistent-folder/x.pdf", "pdf", 1.0), 0);
    EXPECT_EQ(KCanvasExport(b, "x.tiff", "tiff", 1.0), 0);
    EXPECT_EQ(KCanvasExport(b, "x.png", "png", 0.0), 0);
    EXPECT_EQ(KCanvasExport(b, "x.png", "png", 1e6), 0);
    EXPECT_EQ(KCanvasExport(nullptr, "x.png", "png", 1.0), 0);
    EXPECT_EQ(KCanvasCreateVector(0, 10), nullptr);
    EXPECT_EQ(KCanvasCreateVector(1 << 15, 1 << 15), nullptr);
    KCanvasDestroy(b);
    KCanvasDestroy(a);
}

}  // namespace
#endif

// Cosmetic lines in all eight octants, with rounding ties, pixel for pixel.
// The expected picture was read off a real GDI memory device context; the
// same test runs there (under Wine) and on the canvas.
#include <string>

#include "common/canvas.h"
#include "common/testing.h"
#include "platform/platform.h"

namespace plat = kestrel::plat;

TEST(Lines, EveryOctantMatchesTheGdiPicture) {
    KDC dc = kt::makeCanvas(40, 24);
    KPEN pen = plat::createPen(plat::PenSolid, 1, 0);
    plat::GdiObj old = plat::selectObject(dc, pen);
    const int lines[][4] = {
        {0, 0, 10, 3},   {0, 6, 3, 16},   {30, 0, 20, 3},  {30, 6, 27, 16},
        {10, 22, 0, 19}, {39, 23, 29, 19}, {20, 12, 24, 14}, {36, 16, 33, 6},
    };
    for (const auto &l : lines) {
        plat::moveTo(dc, l[0], l[1]);
        plat::lineTo(dc, l[2], l[3]);
    }
    const std::string want =
        "##...........................##.........\n"
        "..####...................####...........\n"
        "......###.............###...............\n"
        ".........#...........#..................\n"
        "........................................\n"
        "........................................\n"
        "#.............................#.........\n"
        "#.............................#..#......\n"
        ".#...........................#....#.....\n"
        ".#...........................#....#.....\n"
        ".#...........................#....#.....\n"
        ".#..........................#.....#.....\n"
        "..#.................##......#......#....\n"
        "..#...................##....#......#....\n"
        "..#.........................#......#....\n"
        "...#.......................#........#...\n"
        "....................................#...\n"
        "........................................\n";
    const std::string got = kt::ascii(dc, 0, 0, 39, 17);
    plat::selectObject(dc, old);
    plat::deleteObject(pen);
    kt::freeCanvas(dc);
    EXPECT_EQ(got, want) << got;
}

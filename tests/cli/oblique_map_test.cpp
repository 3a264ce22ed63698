// kestrel map -p oblique: every station reported on the map is drawn, where
// PROJ (+proj=ob_tran +o_proj=moll, tests/golden/projection_reference.txt)
// puts it, on the default centre and on the one of the P18 line (-110).
// And a centre given without a domain stays the map's centre.
//
// The picture's placement of the map is not assumed: the red blobs of the
// station symbols are found, the extreme ones give a first scale and offset
// in each direction, every station must have its own blob near PROJ's
// position, and a least-squares fit over all of them must leave each within
// the polynomial Mollweide's distance of PROJ's, with equal scales across
// and along (the map is not stretched) and the ellipse's outline where
// PROJ's ellipse ends.
#include <sys/wait.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "common/picture.h"
#include "common/testing.h"
#include "run.h"

namespace {

struct Station {
    double lon, lat, x, y;  // position and PROJ's map coordinates
};

// PROJ's map coordinates of the oblique Mollweide rows for one centre.
std::map<std::pair<double, double>, std::pair<double, double>> projRows(double lon0) {
    std::map<std::pair<double, double>, std::pair<double, double>> rows;
    std::ifstream f(kt::sourcePath("tests/golden/projection_reference.txt"));
    std::string line;
    while (std::getline(f, line)) {
        std::istringstream s(line);
        std::string kind;
        int code;
        double c0, c1, lon, lat, x, y;
        if (s >> kind >> code >> c0 >> c1 >> lon >> lat >> x >> y && kind == "fwd" && code == 6 && c0 == lon0)
            rows[{lon, lat}] = {x, y};
    }
    return rows;
}

struct Blob {
    double x, y;
    int pixels;
};

bool isRed(uint32_t c) { return (c & 255) > 180 && (c >> 8 & 255) < 100 && (c >> 16 & 255) < 100; }

// Connected groups of red pixels and their centres.
std::vector<Blob> redBlobs(const kt::Image &im) {
    std::vector<char> seen(im.px.size(), 0);
    std::vector<Blob> blobs;
    for (int y0 = 0; y0 < im.h; ++y0)
        for (int x0 = 0; x0 < im.w; ++x0) {
            const size_t i0 = static_cast<size_t>(y0) * im.w + x0;
            if (seen[i0] || !isRed(im.px[i0])) continue;
            std::vector<std::pair<int, int>> stack{{x0, y0}};
            seen[i0] = 1;
            double sx = 0, sy = 0;
            int n = 0;
            while (!stack.empty()) {
                const auto [x, y] = stack.back();
                stack.pop_back();
                sx += x, sy += y, ++n;
                for (const auto &[dx, dy] : {std::pair<int, int>{1, 0}, {-1, 0}, {0, 1}, {0, -1}}) {
                    const int nx = x + dx, ny = y + dy;
                    if (nx < 0 || ny < 0 || nx >= im.w || ny >= im.h) continue;
                    const size_t i = static_cast<size_t>(ny) * im.w + nx;
                    if (!seen[i] && isRed(im.px[i])) seen[i] = 1, stack.push_back({nx, ny});
                }
            }
            blobs.push_back({sx / n, sy / n, n});
        }
    return blobs;
}

using Positions = std::vector<std::pair<double, double>>;

// Land (grey) and sea (white) expected at PROJ's places of probe points,
// when a coastline file is drawn.
struct Probes {
    std::string coast;
    Positions land, sea;
};

void checkStations(double centre, const Positions &positions, const Probes &probes = Probes()) {
    const auto rows = projRows(centre);
    ASSERT_FALSE(rows.empty()) << "no PROJ rows for centre " << centre;
    std::vector<Station> st;
    std::ostringstream table;
    table << "# lon lat\n";
    for (const auto &[lon, lat] : positions) {
        const auto r = rows.find({lon, lat});
        ASSERT_NE(r, rows.end()) << lon << "," << lat << " is not among the PROJ rows";
        // Written as a user writes them, in -180..180.
        const double written = std::remainder(lon, 360.0);
        st.push_back({written, lat, r->second.first, r->second.second});
        table << written << " " << lat << "\n";
    }
    // One folder per centre and coastline file: ctest runs the tests at once.
    const std::string coastName = probes.coast.substr(probes.coast.find_last_of('/') + 1);
    const std::string dir = kt::scratchDir("cli_oblique_" + std::to_string(static_cast<int>(centre)) +
                                           (probes.coast.empty() ? "" : "_" + coastName));
    {
        std::ofstream(dir + "/stations.txt") << table.str();
    }
    char centreArg[64];
    std::snprintf(centreArg, sizeof centreArg, " -C %g/0", centre);
    const kt::CliRun run = kt::runKestrel(dir, std::string("map -p oblique --no-grid --stations stations.txt") +
                                                   (centre != 0 ? std::string(centreArg) : std::string()) +
                                                   " --symbol-size 0.15" +
                                                   (probes.coast.empty() ? "" : " --coast '" + probes.coast + "'") +
                                                   " -o obl");
    ASSERT_EQ(run.status, 0) << run.err;
    const std::string &out = run.out;
    const std::string count = std::to_string(st.size());
    EXPECT_NE(out.find(count + " of " + count + " stations on the map"), std::string::npos) << out;
    EXPECT_EQ(out.find("domain adjusted"), std::string::npos) << out;

    kt::Image png;
    ASSERT_TRUE(kt::loadPNG(dir + "/obl.png", &png));
    std::vector<Blob> blobs = redBlobs(png);
    ASSERT_EQ(blobs.size(), st.size()) << "one red symbol per station";
    // Scale and offset per direction from the extremes (pixel y runs down).
    const auto bx = std::minmax_element(blobs.begin(), blobs.end(), [](const Blob &a, const Blob &b) { return a.x < b.x; });
    const auto by = std::minmax_element(blobs.begin(), blobs.end(), [](const Blob &a, const Blob &b) { return a.y < b.y; });
    const auto sx = std::minmax_element(st.begin(), st.end(), [](const Station &a, const Station &b) { return a.x < b.x; });
    const auto sy = std::minmax_element(st.begin(), st.end(), [](const Station &a, const Station &b) { return a.y < b.y; });
    double kx = (bx.second->x - bx.first->x) / (sx.second->x - sx.first->x);
    double ky = (by.second->y - by.first->y) / (sy.second->y - sy.first->y);
    double ox = bx.first->x - kx * sx.first->x, oy = by.second->y + ky * sy.first->y;
    // Each station's own symbol, near PROJ's place under that first guess.
    std::vector<int> match(st.size(), -1);
    std::vector<bool> used(blobs.size(), false);
    for (size_t i = 0; i < st.size(); ++i) {
        const double px = ox + kx * st[i].x, py = oy - ky * st[i].y;
        size_t best = 0;
        double dist = 1e9;
        for (size_t j = 0; j < blobs.size(); ++j) {
            const double d = std::hypot(blobs[j].x - px, blobs[j].y - py);
            if (d < dist) dist = d, best = j;
        }
        ASSERT_LT(dist, 8.0) << "station " << st[i].lon << "," << st[i].lat << ": PROJ says pixel (" << px << ", "
                             << py << "), nearest symbol " << dist << " pixels away";
        ASSERT_FALSE(used[best]) << "two stations on one symbol";
        used[best] = true;
        match[i] = static_cast<int>(best);
    }
    // Least squares over all stations, then every one within the distance
    // of the polynomial Mollweide from the exact one (0.019 map units up to
    // 60 deg of rotated latitude) and a pixel and a half of drawing.
    auto fit = [&](bool across, double *scale, double *offset) {
        double sa = 0, sb = 0, saa = 0, sab = 0;
        const double n = static_cast<double>(st.size());
        for (size_t i = 0; i < st.size(); ++i) {
            const double a = across ? st[i].x : -st[i].y, b = across ? blobs[match[i]].x : blobs[match[i]].y;
            sa += a, sb += b, saa += a * a, sab += a * b;
        }
        *scale = (n * sab - sa * sb) / (n * saa - sa * sa);
        *offset = (sb - *scale * sa) / n;
    };
    fit(true, &kx, &ox);
    fit(false, &ky, &oy);
    EXPECT_NEAR(kx / ky, 1.0, 0.01) << "pixels per map unit across " << kx << ", along " << ky;
    for (size_t i = 0; i < st.size(); ++i) {
        const double px = ox + kx * st[i].x, py = oy - ky * st[i].y;
        const double d = std::hypot(blobs[match[i]].x - px, blobs[match[i]].y - py);
        EXPECT_LT(d, 1.5 + 0.019 * kx) << "station " << st[i].lon << "," << st[i].lat;
    }
    // The outline passes through the ends of PROJ's ellipse (the polynomial
    // Mollweide is 0.6 % wider along the seam than the exact one).
    auto darkNear = [&](double px, double py) {
        for (int dy = -4; dy <= 4; ++dy)
            for (int dx = -4; dx <= 4; ++dx) {
                const int x = static_cast<int>(px) + dx, y = static_cast<int>(py) + dy;
                if (x >= 0 && y >= 0 && x < png.w && y < png.h && (png.at(x, y) & 255) < 60) return true;
            }
        return false;
    };
    const double r2 = std::sqrt(2.0);
    for (const auto &[x, y] : {std::pair<double, double>{0, 2 * r2 * 1.006}, {0, -2 * r2 * 1.006}, {r2, 0}, {-r2, 0}})
        EXPECT_TRUE(darkNear(ox + kx * x, oy - ky * y)) << "no outline at map point " << x << "," << y;
    // Land and sea where PROJ puts the probes.
    for (const bool land : {true, false}) {
        for (const auto &[lon, lat] : land ? probes.land : probes.sea) {
            const auto r = rows.find({lon, lat});
            ASSERT_NE(r, rows.end()) << lon << "," << lat << " is not among the PROJ rows";
            const uint32_t c = png.at(static_cast<int>(ox + kx * r->second.first), static_cast<int>(oy - ky * r->second.second));
            const int red = c & 255, green = c >> 8 & 255, blue = c >> 16 & 255;
            EXPECT_TRUE(std::abs(red - green) < 12 && std::abs(green - blue) < 12) << lon << "," << lat << " not grey";
            if (land) EXPECT_TRUE(red > 160 && red < 240) << "no land at " << std::remainder(lon, 360.0) << "," << lat;
            else EXPECT_GT(red, 245) << "no sea at " << std::remainder(lon, 360.0) << "," << lat;
        }
    }
}

TEST(CliObliqueMap, DrawsEveryStationWhereProjPutsItOnTheDefaultCentre) {
    // Four of them in the quarter south of the equator and west of the
    // centre, which the library's code 6 lays on the map's edge.
    checkStations(0.0, {{-150, -60}, {-90, -30}, {-50, -10}, {-30, -50}, {30, 50}, {110, -40}, {-10, 70},
                        {170, 10}, {-130, 20}, {70, -70}});
}

// The land of GSHHG's low-resolution shorelines: where PROJ puts land points, land,
// and where it puts sea, sea, in the quarter Project flattens too, and with
// Africa round the centre (40 E, 0 N, the rotated pole: the ring is closed
// along it).
TEST(CliObliqueMap, LandAndSeaLieWhereProjPutsThem) {
    const std::string coast = kt::dataPath("coastlines/gshhg_low.cst");
    KT_REQUIRE_FILE(coast);
    Probes p{coast,
             {{30, 10}, {50, 10}, {10, 10}, {30, -20}, {-50, -10}, {130, -30}, {90, 60}, {-110, 40}, {-10, -80}},
             {{70, -30}, {-30, -30}, {210, -30}, {170, 30}, {150, -60}, {-10, -50}}};
    checkStations(40.0, {{-130, 20}, {-90, -30}, {110, -40}, {210, 60}, {50, 50}, {-70, -70}}, p);
}

// One square of land, 15..65 E by 25 S..25 N, round the centre 40 E, 0 N:
// on the map it winds once round the rotated pole at the ellipse's left
// tip, and must be filled from its edge to that tip (closed along the
// rotated meridians, which are curves on the map, and the pole).
TEST(CliObliqueMap, LandRoundTheCentreFillsTheTip) {
    const std::string dir = kt::scratchDir("cli_oblique_square");
    std::vector<float> ring;
    auto edge = [&](double lon0, double lat0, double lon1, double lat1) {
        for (int i = 0; i < 50; ++i)
            ring.push_back(static_cast<float>(lon0 + (lon1 - lon0) * i / 50)),
                ring.push_back(static_cast<float>(lat0 + (lat1 - lat0) * i / 50));
    };
    edge(15, -25, 65, -25);
    edge(65, -25, 65, 25);
    edge(65, 25, 15, 25);
    edge(15, 25, 15, -25);
    ring.push_back(ring[0]), ring.push_back(ring[1]);
    {
        std::ofstream f(dir + "/square.cst", std::ios::binary);
        const int32_t n = static_cast<int32_t>(ring.size() / 2), header[2] = {n, n};
        f.write(reinterpret_cast<const char *>(header), sizeof header);  // little-endian hosts, as the format
        f.write(reinterpret_cast<const char *>(ring.data()), static_cast<std::streamsize>(ring.size() * 4));
    }
    Probes p{dir + "/square.cst", {{30, 10}, {50, 10}, {30, -20}, {50, -20}, {50, 0}, {30, 20}, {50, 20}},
             {{10, 10}, {70, -30}, {-30, -30}, {90, 0}, {-10, 0}, {30, 30}, {50, -30}}};
    checkStations(40.0, {{-130, 20}, {-90, -30}, {110, -40}, {210, 60}, {-70, -70}}, p);
}

TEST(CliObliqueMap, DrawsEveryStationWhereProjPutsItAroundTheP18Line) {
    checkStations(-110.0, {{-100, -30}, {-160, -50}, {-260, -20}, {-240, 40}, {-20, 10}, {-60, -70}, {-180, 60},
                           {40, -40}, {0, 20}});
}

}  // namespace

namespace {

// The layout centres these maps on the middle of the domain: a centre given
// without -R used to move there (-110 became -55.005 on the default domain,
// trimmed to 179.99 either side of the centre).
TEST(CliMapCentre, ACentreGivenWithoutADomainIsKept) {
    const std::string dir = kt::scratchDir("cli_centre_alone");
    for (const char *p : {"north -C -30/90", "equatorial -C -110/0", "mollweide -C -110/0", "south -C 160/-90"}) {
        const kt::CliRun run = kt::runKestrel(dir, std::string("map -p ") + p + " -o m");
        ASSERT_EQ(run.status, 0) << p << ": " << run.err;
        const std::string &out = run.out, arg = p;
        // The centre reported, modulo a turn (the equatorial domain is moved
        // into 0..360: 250 is -110).
        float lon = 0, lat = 0;
        const size_t at = out.find(", centre ");
        ASSERT_NE(at, std::string::npos) << p << ": " << out;
        ASSERT_EQ(std::sscanf(out.c_str() + at, ", centre %f/%f", &lon, &lat), 2) << out;
        const float given = std::strtof(arg.c_str() + arg.find("-C ") + 3, nullptr);
        EXPECT_NEAR(std::remainder(lon - given, 360.0f), 0.0f, 1e-3f) << p << ": " << out;
    }
}

}  // namespace

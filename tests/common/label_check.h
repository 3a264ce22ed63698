// A collision checker for placed contour labels: works on the boxes the text
// layout actually drew (not on the placement's own plan) and reports every
// broken rule in words.
#ifndef KESTREL_TESTS_COMMON_LABEL_CHECK_H
#define KESTREL_TESTS_COMMON_LABEL_CHECK_H

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "contour/labels.h"
#include "plot/text.h"

namespace kt {

using Pt = std::pair<double, double>;

inline std::vector<Pt> labelCorners(const kestrel::PlacedLabelBox &b) {
    return {{b.px[0], b.py[0]}, {b.px[1], b.py[1]}, {b.px[2], b.py[2]}, {b.px[3], b.py[3]}};
}

// Two convex polygons overlap unless a side of one separates them.
inline bool convexOverlap(const std::vector<Pt> &a, const std::vector<Pt> &b) {
    for (const auto *p : {&a, &b}) {
        const std::vector<Pt> &poly = *p;
        for (size_t k = 0; k < poly.size(); ++k) {
            const Pt &u = poly[k], &v = poly[(k + 1) % poly.size()];
            const double nx = v.second - u.second, ny = u.first - v.first;
            double amin = 1e300, amax = -1e300, bmin = 1e300, bmax = -1e300;
            for (const Pt &q : a) amin = std::min(amin, nx * q.first + ny * q.second), amax = std::max(amax, nx * q.first + ny * q.second);
            for (const Pt &q : b) bmin = std::min(bmin, nx * q.first + ny * q.second), bmax = std::max(bmax, nx * q.first + ny * q.second);
            if (amax <= bmin || bmax <= amin) return false;
        }
    }
    return true;
}

inline bool insidePolygon(const std::vector<Pt> &poly, double x, double y) {
    bool in = false;
    for (size_t k = 0, m = poly.size() - 1; k < poly.size(); m = k++) {
        const Pt &a = poly[m], &b = poly[k];
        if ((a.second > y) != (b.second > y) && x < a.first + (y - a.second) / (b.second - a.second) * (b.first - a.first))
            in = !in;
    }
    return in;
}

inline bool segmentsCross(const Pt &a, const Pt &b, const Pt &c, const Pt &d) {
    auto side = [](const Pt &p, const Pt &q, const Pt &r) {
        return (q.first - p.first) * (r.second - p.second) - (q.second - p.second) * (r.first - p.first);
    };
    const double d1 = side(c, d, a), d2 = side(c, d, b), d3 = side(a, b, c), d4 = side(a, b, d);
    return ((d1 > 0) != (d2 > 0)) && ((d3 > 0) != (d4 > 0));
}

// A box against any polygon (convex or not): a corner of either inside the
// other, or sides crossing.
inline bool boxMeetsPolygon(const std::vector<Pt> &box, const std::vector<Pt> &poly) {
    if (poly.size() < 3) return false;
    for (const Pt &p : box)
        if (insidePolygon(poly, p.first, p.second)) return true;
    for (const Pt &p : poly)
        if (insidePolygon(box, p.first, p.second)) return true;
    for (size_t i = 0; i < box.size(); ++i)
        for (size_t k = 0, m = poly.size() - 1; k < poly.size(); m = k++)
            if (segmentsCross(box[i], box[(i + 1) % box.size()], poly[m], poly[k])) return true;
    return false;
}

inline double distanceToSegment(const Pt &p, const Pt &a, const Pt &b) {
    const double dx = b.first - a.first, dy = b.second - a.second, l2 = dx * dx + dy * dy;
    double t = l2 > 0 ? ((p.first - a.first) * dx + (p.second - a.second) * dy) / l2 : 0;
    t = std::clamp(t, 0.0, 1.0);
    return std::hypot(p.first - a.first - t * dx, p.second - a.second - t * dy);
}

// Every rule a placed label must keep, checked on the layout of the last
// drawing; text (may be null) holds every character drawn in the picture,
// the labels' own among them. Returns the faults found.
inline std::vector<std::string> checkLabelLayout(const kestrel::LabelLayout &l,
                                                 const std::vector<kestrel::PlacedChar> *text = nullptr) {
    std::vector<std::string> faults;
    char msg[300];
    auto name = [](const kestrel::PlacedLabelBox &b) {
        char s[100];
        std::snprintf(s, sizeof s, "label %g at (%.0f, %.0f) %.0f deg", static_cast<double>(b.level),
                      (b.px[0] + b.px[2]) / 2, (b.py[0] + b.py[2]) / 2, static_cast<double>(b.angle));
        return std::string(s);
    };
    size_t labelChars = 0;
    for (size_t i = 0; i < l.labels.size(); ++i) {
        const kestrel::PlacedLabelBox &b = l.labels[i];
        const std::vector<Pt> box = labelCorners(b);
        char t[64];
        labelChars += static_cast<size_t>(std::snprintf(t, sizeof t, "%g", static_cast<double>(b.level)));
        // Inside the frame, not touching its line.
        for (const Pt &p : box)
            if (p.first <= l.left + 1 || p.first >= l.right - 1 || p.second <= l.top + 1 || p.second >= l.bottom - 1) {
                std::snprintf(msg, sizeof msg, "%s leaves the frame (%.1f, %.1f)", name(b).c_str(), p.first, p.second);
                faults.push_back(msg);
                break;
            }
        // Upright: the text runs rightwards, or straight up.
        const double a = b.angle;
        if (!((a >= 0 && a <= 90) || (a > 270 && a < 360)))
            faults.push_back(name(b) + " is upside down");
        const double wx = box[1].first - box[0].first, wy = box[1].second - box[0].second;
        const double run = std::atan2(-wy, wx) * 57.29577951308232;  // on paper, counter-clockwise
        if (!(run > -90.01 && run < 90.01))
            faults.push_back(name(b) + ": its text box runs backwards");
        for (size_t k = 0; k < i; ++k)
            if (convexOverlap(box, labelCorners(l.labels[k])))
                faults.push_back(name(b) + " overlaps " + name(l.labels[k]));
        for (const auto &c : l.covers)
            if (boxMeetsPolygon(box, c)) {
                faults.push_back(name(b) + " lies under a later fill");
                break;
            }
        // On a line of its own level.
        const Pt centre{(box[0].first + box[2].first) / 2, (box[0].second + box[2].second) / 2};
        const double h = std::hypot(box[3].first - box[0].first, box[3].second - box[0].second);
        double nearest = 1e300;
        for (const kestrel::LabelledPath &p : l.paths)
            if (p.level == b.level)
                for (size_t k = 0; k + 1 < p.points.size(); ++k)
                    nearest = std::min(nearest, distanceToSegment(centre, p.points[k], p.points[k + 1]));
        if (nearest > 0.5 * h) {
            std::snprintf(msg, sizeof msg, "%s is %.1f pixels off its line", name(b).c_str(), nearest);
            faults.push_back(msg);
        }
    }
    // Other text: no character but the labels' own starts inside a label.
    if (text) {
        size_t inside = 0;
        for (const kestrel::PlacedChar &c : *text)
            for (const kestrel::PlacedLabelBox &b : l.labels)
                if (insidePolygon(labelCorners(b), c.x, c.y)) {
                    ++inside;
                    break;
                }
        if (inside != labelChars) {
            std::snprintf(msg, sizeof msg, "%zu characters start inside label boxes, the labels have %zu", inside, labelChars);
            faults.push_back(msg);
        }
    }
    return faults;
}

inline std::string joinFaults(const std::vector<std::string> &f) {
    std::string s;
    for (const std::string &x : f) s += x + "\n";
    return s;
}

}  // namespace kt

#endif

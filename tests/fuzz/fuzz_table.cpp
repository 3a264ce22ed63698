// libFuzzer target: the kestrel command's readers, a tab-separated table
// with a header line and a station list of "lon lat" lines, on one input;
// the row filters on its first columns, and the casts and scale lengths
// found in its first two columns.
#include "cli/section.h"
#include "grid/field.h"

#include <cmath>
#include <vector>
#include "tests/fuzz/fuzz_common.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string file = kfuzz::path(".tsv");
    if (!kfuzz::write(file, data, size)) return 0;
    Table t;
    if (readTable(file, &t))
        for (const auto &row : t.rows)
            if (row.size() != t.names.size()) __builtin_trap();
    if (t.names.size() >= 2) {
        Table f;
        const std::vector<Where> where = {{t.names[0], "-5/1e3"}, {t.names[1], t.names[0]}};
        if (readTable(file, &f, nullptr, &where) && f.rows.size() > t.rows.size()) __builtin_trap();
        std::vector<float> x, y;
        for (const auto &row : t.rows)
            if (std::isfinite(row[0]) && std::isfinite(row[1]) && std::fabs(row[0]) < 1e30 && std::fabs(row[1]) < 1e30) {
                x.push_back(static_cast<float>(row[0]));
                y.push_back(static_cast<float>(row[1]));
            }
        float x0 = 0, x1 = 1, y0 = 0, y1 = 1;
        for (size_t i = 0; i < x.size(); ++i) {
            x0 = i ? std::fmin(x0, x[i]) : x[i], x1 = i ? std::fmax(x1, x[i]) : x[i];
            y0 = i ? std::fmin(y0, y[i]) : y[i], y1 = i ? std::fmax(y1, y[i]) : y[i];
        }
        const kestrel::Casts c = kestrel::findCasts(x.data(), y.data(), static_cast<int32_t>(x.size()), x0, x1);
        float qx = 0, qy = 0;
        kestrel::samplingPercents(c, x0, x1, y0, y1, &qx, &qy);
        if (!(qx >= 0.2f && qx <= 10.0f && qy >= 0.2f && qy <= 10.0f)) __builtin_trap();
        if (!x.empty()) (void)c.floorAt(x[0]);
    }
    return 0;
}

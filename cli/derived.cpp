// Derived variables of a bottle table, and "kestrel gamma".
#include "cli/derived.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "kestrel/kestrel.h"

namespace {

const double kNaN = std::nan("");

struct Variable {
    const char *name, *column, *needs;
};

// The column each variable becomes (its unit in brackets, as table columns
// carry theirs) and what it is computed from.
const Variable kVariables[] = {
    {"theta", "Potential temperature [degC]", "temperature, salinity and pressure"},
    {"sigma0", "Potential density sigma0 [kg/m3]", "temperature, salinity and pressure"},
    {"gamma_n", "Neutral density gamma_n [kg/m3]", "temperature, salinity, pressure and position"},
    {"o2sat", "Oxygen saturation [umol/kg]", "temperature, salinity and pressure"},
    {"aou", "AOU [umol/kg]", "oxygen, temperature, salinity and pressure"},
};

const Variable *variable(const std::string &name) {
    for (const Variable &v : kVariables)
        if (name == v.name) return &v;
    return nullptr;
}

// The column asked for, else the first of the usual names the table has;
// -1 when neither (a message when one was asked for and is missing).
int locate(const Table &t, const std::string &asked, std::initializer_list<const char *> usual, const char *what,
           const std::string &tableName, bool *failed) {
    if (!asked.empty()) {
        const int c = findColumn(t, asked);
        if (c < 0) {
            std::fprintf(stderr, "kestrel: %s has no column '%s' for the %s\n", tableName.c_str(), asked.c_str(), what);
            *failed = true;
        }
        return c;
    }
    for (const char *n : usual) {
        const int c = findColumn(t, n);
        if (c >= 0) return c;
    }
    return -1;
}

struct Inputs {
    int t = -1, s = -1, p = -1, z = -1, lon = -1, lat = -1, o2 = -1, station = -1, cast = -1;
    bool its90 = false;  // temperatures on the 1990 scale, converted to the 1968 one the formulas use
};

bool findInputs(const Table &t, const DerivedOptions &o, const std::string &tableName, Inputs *in) {
    bool failed = false;
    in->t = locate(t, o.temperature, {"Temperature", "CTD Temperature", "CTDTMP", "Temp"}, "temperature", tableName,
                   &failed);
    in->s = locate(t, o.salinity, {"Salinity", "CTD Salinity", "Bottle Salinity", "CTDSAL", "SALNTY", "Sal"},
                   "salinity", tableName, &failed);
    in->p = locate(t, o.pressure, {"Pressure", "CTD Pressure", "CTDPRS", "Pres"}, "pressure", tableName, &failed);
    in->z = locate(t, o.depth, {"Depth", "DEPTH"}, "depth", tableName, &failed);
    in->lon = locate(t, o.longitude, {"Longitude", "LONGITUDE", "Lon"}, "longitude", tableName, &failed);
    in->lat = locate(t, o.latitude, {"Latitude", "LATITUDE", "Lat"}, "latitude", tableName, &failed);
    in->o2 = locate(t, o.oxygen, {"Oxygen", "CTD Oxygen", "OXYGEN", "O2"}, "oxygen", tableName, &failed);
    in->station = locate(t, o.station, {"Station", "STNNBR"}, "station", tableName, &failed);
    in->cast = locate(t, o.cast, {"Cast", "CASTNO"}, "cast", tableName, &failed);
    if (in->t >= 0) {
        const std::string &n = t.names[static_cast<size_t>(in->t)];
        in->its90 = n.find("ITS-90") != std::string::npos || n.find("ITS90") != std::string::npos;
    }
    return !failed;
}

double cell(const std::vector<double> &row, int c) { return c >= 0 ? row[static_cast<size_t>(c)] : kNaN; }

// One row's temperature (1968 scale), salinity and pressure; false when
// any is missing or outside the range of the equation of state.
bool tsp(const std::vector<double> &row, const Inputs &in, double *t, double *s, double *p) {
    *t = cell(row, in.t) * (in.its90 ? 1.00024 : 1.0);
    *s = cell(row, in.s);
    *p = cell(row, in.p);
    if (!std::isfinite(*p) && in.z >= 0) {
        const double z = cell(row, in.z), lat = cell(row, in.lat);
        if (std::isfinite(z) && z >= 0 && z < 12000)
            *p = calPress(static_cast<float>(z), static_cast<float>(std::isfinite(lat) ? lat : 45.0));
    }
    return *t >= -2.5 && *t <= 40 && *s >= 0 && *s <= 42 && *p >= 0 && *p <= 10000;
}

std::string missingInputs(const Inputs &in, const char *name) {
    std::vector<std::string> miss;
    if (in.t < 0) miss.emplace_back("temperature");
    if (in.s < 0) miss.emplace_back("salinity");
    if (in.p < 0 && in.z < 0) miss.emplace_back("pressure (or depth)");
    const std::string n = name;
    if (n == "gamma_n" && (in.lon < 0 || in.lat < 0)) miss.emplace_back("longitude and latitude");
    if (n == "aou" && in.o2 < 0) miss.emplace_back("oxygen");
    std::string out;
    for (size_t k = 0; k < miss.size(); ++k) out += (k ? ", " : "") + miss[k];
    return out;
}

// The neutral density reference data: the folder asked for, else
// $KESTREL_ND_DATA; with a path separator at the end.
std::string ndFolder(const DerivedOptions &o) {
    std::string d = o.ndData;
    if (d.empty())
        if (const char *env = std::getenv("KESTREL_ND_DATA")) d = env;
    if (!d.empty() && d.back() != '/' && d.back() != '\\') d += '/';
    return d;
}

}  // namespace

const char *const kDerivedUsage =
    "  derived variables (--value theta, sigma0, gamma_n, o2sat or aou), computed per row:\n"
    "    --temperature COL, --salinity COL, --pressure COL (or --depth COL), --longitude COL,\n"
    "    --latitude COL, --oxygen COL, --station COL, --cast COL\n"
    "                    the input columns (default: found by their usual names; temperatures in\n"
    "                    a column marked ITS-90 are converted to the 1968 scale of the formulas)\n"
    "    --nd-data DIR   folder with the neutral density reference files llp.fdt and stga.fdt\n"
    "                    (default $KESTREL_ND_DATA)\n";

bool isDerivedVariable(const std::string &name) { return variable(name) != nullptr; }

int parseDerivedOption(int argc, char **argv, int *i, DerivedOptions *o) {
    const std::string a = argv[*i];
    std::string *dst = a == "--temperature" ? &o->temperature
                       : a == "--salinity"  ? &o->salinity
                       : a == "--pressure"  ? &o->pressure
                       : a == "--depth"     ? &o->depth
                       : a == "--longitude" ? &o->longitude
                       : a == "--latitude"  ? &o->latitude
                       : a == "--oxygen"    ? &o->oxygen
                       : a == "--station"   ? &o->station
                       : a == "--cast"      ? &o->cast
                       : a == "--nd-data"   ? &o->ndData
                                            : nullptr;
    if (!dst) return 0;
    if (*i + 1 >= argc) return -1;
    *dst = argv[++*i];
    return 1;
}

int neutralDensityOfRows(const Table &table, const DerivedOptions &o, const std::string &tableName, bool quiet,
                         std::vector<double> *gamma, std::vector<double> *lower, std::vector<double> *upper) {
    Inputs in;
    if (!findInputs(table, o, tableName, &in)) return 2;
    const std::string miss = missingInputs(in, "gamma_n");
    if (!miss.empty()) {
        std::fprintf(stderr, "kestrel: %s has no %s column for gamma_n\n", tableName.c_str(), miss.c_str());
        return 2;
    }
    const std::string folder = ndFolder(o);
    if (folder.empty()) {
        std::fprintf(stderr, "kestrel: gamma_n needs the neutral density reference data: pass --nd-data DIR "
                             "(the folder with llp.fdt and stga.fdt) or set KESTREL_ND_DATA\n");
        return 2;
    }
    auto nd = std::make_unique<NDData>();
    NDinitialize(nd.get());
    if (NDopen(nd.get(), folder.c_str()) != 0) {
        std::fprintf(stderr, "kestrel: cannot read the neutral density reference data llp.fdt and stga.fdt in %s\n",
                     folder.c_str());
        return 1;
    }
    const size_t rows = table.rows.size();
    gamma->assign(rows, kNaN);
    lower->assign(rows, kNaN);
    upper->assign(rows, kNaN);
    // Casts: rows of one station and cast (or, without those columns, one
    // position) in the order they first appear.
    std::map<std::pair<double, double>, size_t> index;
    std::vector<std::vector<size_t>> casts;
    const bool byStation = in.station >= 0;
    for (size_t r = 0; r < rows; ++r) {
        const auto &row = table.rows[r];
        const std::pair<double, double> key =
            byStation ? std::make_pair(cell(row, in.station), in.cast >= 0 ? cell(row, in.cast) : 0.0)
                      : std::make_pair(cell(row, in.lon), cell(row, in.lat));
        if (std::isnan(key.first) || std::isnan(key.second)) continue;
        auto [it, fresh] = index.emplace(key, casts.size());
        if (fresh) casts.emplace_back();
        casts[it->second].push_back(r);
    }
    std::vector<double> s, t, p, g, lo, hi;
    std::vector<size_t> which;
    size_t done = 0, nextReport = rows / 10;
    for (const auto &cast : casts) {
        s.clear(), t.clear(), p.clear(), which.clear();
        double lon = kNaN, lat = kNaN;
        for (size_t r : cast) {
            const auto &row = table.rows[r];
            double tt, ss, pp;
            const double x = cell(row, in.lon), y = cell(row, in.lat);
            if (!tsp(row, in, &tt, &ss, &pp) || !std::isfinite(x) || !std::isfinite(y)) continue;
            if (std::isnan(lon)) lon = x, lat = y;
            s.push_back(ss), t.push_back(tt), p.push_back(pp), which.push_back(r);
        }
        done += cast.size();
        if (which.empty()) continue;
        g.assign(which.size(), kNaN), lo.assign(which.size(), kNaN), hi.assign(which.size(), kNaN);
        if (NDgamma_n(s.data(), t.data(), p.data(), static_cast<int32_t>(which.size()), lon, lat, g.data(), lo.data(),
                      hi.data(), kNaN, nd.get()) == 0)
            for (size_t k = 0; k < which.size(); ++k)
                (*gamma)[which[k]] = g[k], (*lower)[which[k]] = lo[k], (*upper)[which[k]] = hi[k];
        if (!quiet && rows >= 2000 && done >= nextReport) {
            std::fprintf(stderr, "kestrel: neutral density %zu of %zu rows\n", done, rows);
            nextReport += rows / 10;
        }
    }
    NDclose(nd.get());
    return 0;
}

int addDerivedColumn(Table *table, const std::string &name, const DerivedOptions &o, const std::string &tableName,
                     bool quiet, std::string *column) {
    const Variable *v = variable(name);
    if (!v) return 2;
    Inputs in;
    if (!findInputs(*table, o, tableName, &in)) return 2;
    const std::string miss = missingInputs(in, v->name);
    if (!miss.empty()) {
        std::fprintf(stderr, "kestrel: %s has no %s column for %s (name them with --temperature, --salinity, ...)\n",
                     tableName.c_str(), miss.c_str(), v->name);
        return 2;
    }
    const size_t rows = table->rows.size();
    std::vector<double> values(rows, kNaN);
    if (name == "gamma_n") {
        std::vector<double> lo, hi;
        const int status = neutralDensityOfRows(*table, o, tableName, quiet, &values, &lo, &hi);
        if (status) return status;
    } else {
        for (size_t r = 0; r < rows; ++r) {
            double t, s, p;
            if (!tsp(table->rows[r], in, &t, &s, &p)) continue;
            const double th = theta(static_cast<float>(p), static_cast<float>(t), static_cast<float>(s), 0.0f);
            if (name == "theta") values[r] = in.its90 ? th / 1.00024 : th;
            else if (name == "sigma0") values[r] = sigma(0.0f, static_cast<float>(th), static_cast<float>(s));
            else {
                const double sat = o2sat(static_cast<float>(th), static_cast<float>(s));
                if (name == "o2sat") values[r] = sat;
                else {
                    const double ox = cell(table->rows[r], in.o2);
                    if (std::isfinite(ox) && ox >= 0 && ox < 2000) values[r] = sat - ox;
                }
            }
        }
    }
    size_t left = 0;
    for (double x : values) left += !std::isfinite(x);
    if (left)
        std::fprintf(stderr, "kestrel: %zu of %zu rows left out of %s: %s missing or out of range\n", left, rows,
                     v->name, v->needs);
    table->names.emplace_back(v->column);
    for (size_t r = 0; r < rows; ++r) table->rows[r].push_back(values[r]);
    *column = v->column;
    return 0;
}

const char *const kGammaUsage =
    "       kestrel gamma TABLE.tsv -o OUT.tsv [options]\n"
    "  gamma   copy a bottle table with the neutral density of every row appended as the\n"
    "          columns gamma_n, gamma_n_err_lo and gamma_n_err_hi (empty where not computed)\n";

int gammaMain(int argc, char **argv) {
    DerivedOptions o;
    std::string data, out;
    bool quiet = false;
    for (int i = 0; i < argc; ++i) {
        const std::string a = argv[i];
        const int d = parseDerivedOption(argc, argv, &i, &o);
        if (d < 0 || (a == "-o" && i + 1 >= argc)) {
            std::fprintf(stderr, "kestrel: %s needs a value\n", a.c_str());
            return 2;
        }
        if (d > 0) continue;
        if (a == "--help" || a == "-h") {
            std::printf("%s%s", kGammaUsage, kDerivedUsage);
            return 0;
        } else if (a == "-o") {
            out = argv[++i];
        } else if (a == "-q" || a == "--quiet") {
            quiet = true;
        } else if (!a.empty() && a[0] != '-' && data.empty()) {
            data = a;
        } else {
            std::fprintf(stderr, "kestrel: unknown option '%s' (try kestrel gamma --help)\n", a.c_str());
            return 2;
        }
    }
    if (data.empty() || out.empty()) {
        std::fprintf(stderr, "kestrel: gamma needs a table and -o OUT.tsv (try kestrel gamma --help)\n");
        return 2;
    }
    std::string text;
    Table table;
    if (!readTextFile(data, &text) || !readTable(data, &table)) {
        std::fprintf(stderr, "kestrel: cannot read %s\n", data.c_str());
        return 1;
    }
    std::vector<double> g, lo, hi;
    const int status = neutralDensityOfRows(table, o, data, quiet, &g, &lo, &hi);
    if (status) return status;
    std::FILE *f = std::fopen(out.c_str(), "wb");
    if (!f) {
        std::fprintf(stderr, "kestrel: cannot write %s\n", out.c_str());
        return 1;
    }
    // The table as it was, line by line, with three fields appended; the
    // rows are those the table reader counts (empty lines are kept as they are).
    std::istringstream lines(text);
    std::string line;
    size_t row = 0, labelled = 0;
    bool header = true;
    while (std::getline(lines, line)) {
        const bool cr = !line.empty() && line.back() == '\r';
        if (cr) line.pop_back();
        if (header) {
            line += "\tgamma_n\tgamma_n_err_lo\tgamma_n_err_hi";
            header = false;
        } else if (!line.empty() && row < g.size()) {
            char extra[96] = "\t\t\t";
            if (std::isfinite(g[row])) {
                std::snprintf(extra, sizeof extra, "\t%.6f\t%.6f\t%.6f", g[row], lo[row], hi[row]);
                ++labelled;
            }
            line += extra;
            ++row;
        }
        if (cr) line += '\r';
        line += '\n';
        std::fwrite(line.data(), 1, line.size(), f);
    }
    const bool ok = std::fclose(f) == 0;
    if (!ok) {
        std::fprintf(stderr, "kestrel: cannot write %s\n", out.c_str());
        return 1;
    }
    if (!quiet) std::fprintf(stderr, "kestrel: %zu of %zu rows labelled, written to %s\n", labelled, row, out.c_str());
    return 0;
}

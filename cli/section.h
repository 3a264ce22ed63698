// kestrel section: options, the table it draws from, and the command.
#ifndef KESTREL_CLI_SECTION_H
#define KESTREL_CLI_SECTION_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "cli/output.h"
#include "kestrel/types.h"

// A table in memory: column names (units in square brackets, "Depth [m]")
// and rows of numbers, NaN where a field is empty or not a number.
struct Table {
    std::vector<std::string> names;
    std::vector<std::vector<double>> rows;
    std::vector<size_t> textCells;  // per column: fields that held text, not a number
};

// A row filter, --where COL=VALUE or COL=LO/HI: the field's text equals
// VALUE (or, both numbers, its number does), or its number lies in [LO, HI].
struct Where {
    std::string column, value;
};

// Reads a table with a header line, its fields separated by tabs, else by
// commas (double quotes keep a field whole), else by runs of blanks. False
// when the file cannot be read, has no header or is not text; *why (may be
// null) then says which, in words fit for the user.
// With where given, only the rows that pass every filter are kept (a filter
// naming no column of the table fails the read with *why saying so).
bool readTable(const std::string &path, Table *table, std::string *why = nullptr,
               const std::vector<Where> *where = nullptr);

// A column by its full name or by its name without the unit ("Depth"
// finds "Depth [m]"); -1 when there is none.
int findColumn(const Table &table, const std::string &name);

// The whole of a file as it was when opened (false when it cannot be read).
bool readTextFile(const std::string &path, std::string *text);

// Where the inputs of derived variables are: empty means "find it by its
// usual names".
struct DerivedOptions {
    std::string temperature, salinity, pressure, depth, longitude, latitude, oxygen, station, cast;
    std::string ndData;  // folder of the neutral density reference files (llp.fdt, stga.fdt)
};

struct SectionOptions {
    std::string data, x, y, value;
    std::string bottom;        // seafloor depth column; empty: found by name, "none": no seafloor
    std::string topo;          // topography grid for the seafloor along the track (overrides bottom)
    std::string name = "kestrel-section";
    std::string preamble, palette, title;
    bool reversePalette = false; // the colour scale turned end for end (--palette NAME_r)
    std::string barTitle;        // colour-bar title; empty: the value's unit
    std::vector<Where> where;    // row filters
    bool hasRegion = false;      // -R: the plot's x and y range, not the data's
    float regionX0 = 0, regionX1 = 0, regionY0 = 0, regionY1 = 0;
    int32_t width = 1000, height = 700;  // the picture in pixels, 40 to the centimetre
    bool samples = false;        // a dot at every sample
    int32_t columns = 120;     // grid columns at most
    float percent = 0;         // scale length at the densest node, % of the axis range; 0: from the sampling
    float factor = 1.0f;       // scale factor of the estimator
    float maxError = 0;        // erase where the mean squared data distance exceeds this; 0: below the casts
    int32_t lines = 20;        // about this many contour levels
    float interval = 0;        // contour step; 0: a 1-2-5 step giving about `lines` levels
    std::vector<float> levelList;  // the contour levels themselves, when given
    bool hasRange = false;     // the colour range (and the levels' span) given
    float rangeLo = 0, rangeHi = 0;
    int32_t labelEvery = 2;    // every n-th level labelled (and drawn thicker)
    bool autoStretch = true;   // contrast where the data are: steepest at their median
    float stretch0 = -1.5f, stretch1 = 1.5f;
    bool quiet = false;        // no progress on stderr
    DerivedOptions derived;    // inputs of --value theta, sigma0, gamma_n, o2sat, aou
    OutputOptions output;      // the files written
    // When set, the finished picture (hdcMem, with the plot's user system
    // current) goes to show instead of to files; its result is the exit
    // status (kestrel view).
    std::function<int(KDC picture)> show;
};

// Grids, shades, contours and erases column o.value of the table over o.x
// and o.y and writes o.name + ".png", ".gif" and ".ps". Returns the process
// exit status; every failure is one line on stderr.
int sectionCommand(const Table &table, const SectionOptions &options);

// Parses the options shared by "section" and "demo" (argv holds what follows
// the command word). The first word without a dash becomes options->data
// when acceptData is set. Returns -1 to go on, else the exit status (0 after
// --help, which prints help()).
int parseSectionOptions(int argc, char **argv, bool acceptData, SectionOptions *options, std::string *preamble,
                        const char *help);

// Resolves options->palette (a file, or a shipped palette by name beside
// options->preamble, NAME_r reversed); false after one line on stderr.
bool resolvePalette(SectionOptions *options);

// "kestrel section DATA.tsv --x COL --y COL --value COL [options] -o NAME";
// findPreamble maps the --preamble argument (may be empty) to the file to use.
// With show set the picture goes to it instead of to files (kestrel view).
int sectionMain(int argc, char **argv, const std::function<std::string(const std::string &)> &findPreamble,
                const std::function<int(KDC)> &show = {});

// "kestrel view DATA.tsv --x COL --y COL --value COL [options]": the section
// in a window, with the interactive tools on keys (view.cpp).
int viewMain(int argc, char **argv, const std::function<std::string(const std::string &)> &findPreamble);
extern const char *const kViewUsage;

// "kestrel demo [options] [-o NAME]": the section of a synthetic table.
int demoMain(int argc, char **argv, const std::function<std::string(const std::string &)> &findPreamble);

// The synthetic section of the demo (same seed, same table).
Table demoTable(uint32_t seed);

// The usage lines of the commands.
extern const char *const kSectionUsage;
extern const char *const kDemoUsage;

#endif

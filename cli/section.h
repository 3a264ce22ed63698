// kestrel section: options and the command.
#ifndef KESTREL_CLI_SECTION_H
#define KESTREL_CLI_SECTION_H

#include <cstdint>
#include <functional>
#include <string>

struct SectionOptions {
    std::string data, x, y, value;
    std::string name = "kestrel-section";
    std::string preamble, palette, title;
    int32_t columns = 120;     // grid columns at most
    float percent = 3.0f;      // scale length at the densest node, % of the axis range
    float factor = 1.0f;       // scale factor of the estimator
    float maxError = 16.0f;    // erase where the mean squared data distance exceeds this
    int32_t lines = 24;        // about this many contour levels
    bool autoStretch = true;   // contrast where the data are: steepest at their median
    float stretch0 = -1.5f, stretch1 = 1.5f;
};

// Returns the process exit status.
int sectionCommand(const SectionOptions &options);

// "kestrel section DATA.tsv --x COL --y COL --value COL [options] -o NAME":
// argv holds what follows the command word; findPreamble maps the
// --preamble argument (may be empty) to the file to use.
int sectionMain(int argc, char **argv, const std::function<std::string(const std::string &)> &findPreamble);

// The usage lines of the command.
extern const char *const kSectionUsage;

#endif

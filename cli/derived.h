// Derived variables of a bottle table: potential temperature, potential
// density, neutral density, oxygen saturation and apparent oxygen
// utilisation, computed per row from the table's own columns.
#ifndef KESTREL_CLI_DERIVED_H
#define KESTREL_CLI_DERIVED_H

#include <string>
#include <vector>

#include "cli/section.h"

// True for theta, sigma0, gamma_n, o2sat and aou.
bool isDerivedVariable(const std::string &name);

// Parses one of the derived-variable options at argv[*i] (advancing *i past
// its value); 1 when it was one, 0 when not, -1 when its value is missing.
int parseDerivedOption(int argc, char **argv, int *i, DerivedOptions *o);

// The usage lines of the options above.
extern const char *const kDerivedUsage;

// Appends the derived variable `name` to the table as a new column (NaN
// where a row's inputs are missing or out of range, counted in one line on
// stderr) and stores the new column's name in *column. Returns 0, or the
// exit status after a one-line message on stderr.
int addDerivedColumn(Table *table, const std::string &name, const DerivedOptions &o, const std::string &tableName,
                     bool quiet, std::string *column);

// The neutral density of every row: gamma, lower and upper error (NaN where
// not computed), calling the labelling once per cast (rows of one station and
// cast together). Returns 0 or an exit status after a message.
int neutralDensityOfRows(const Table &table, const DerivedOptions &o, const std::string &tableName, bool quiet,
                         std::vector<double> *gamma, std::vector<double> *lower, std::vector<double> *upper);

// "kestrel gamma TABLE.tsv -o OUT.tsv [options]".
int gammaMain(int argc, char **argv);
extern const char *const kGammaUsage;

#endif

// kestrel-view: the window of "kestrel view" (which starts this program
// with its own arguments), a program of its own so that the command does
// not load the window system for every picture it draws.
#include <string>

#include "cli/output.h"
#include "cli/section.h"
#include "kestrel/kestrel.h"

int main(int argc, char **argv) {
    initKestrel();  // linked statically: no load notification started the library
    return viewMain(argc - 1, argv + 1, [&](const std::string &asked) { return findPreamble(asked, argv[0]); });
}

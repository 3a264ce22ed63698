// kestrel: the command-line host.
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "kestrel/kestrel.h"
#include "section.h"
#include "cli/derived.h"
#include "cli/output.h"
#include "platform/platform.h"

#ifndef KESTREL_VERSION
#define KESTREL_VERSION "unknown"
#endif
#ifndef KESTREL_SOURCE_DIR
#define KESTREL_SOURCE_DIR "."
#endif

namespace {

namespace fs = std::filesystem;

int usage(std::FILE *to) {
    std::fprintf(to, "%s%s%s", kDemoUsage,
                 "       kestrel map [options] -o NAME\n"
                 "  map     draw a map with coastlines and stations as NAME.png, NAME.gif, NAME.ps\n"
                 "          (kestrel map --help for its options)\n"
                 "       kestrel --version   the version of this program\n",
                 kSectionUsage);
    std::fprintf(to, "%s%s%s%s", kOutputUsage, kGammaUsage, kDerivedUsage, kViewUsage);
    std::fprintf(to, "       kestrel grid3d TABLE.tsv --x COL --y COL --z COL --value COL [--slice DEPTH] -o NAME\n"
                     "  grid3d  grid a survey in three dimensions, write the field as a spreadsheet and draw a\n"
                     "          depth of it as a map (kestrel grid3d --help)\n");
    return to == stderr ? 2 : 0;
}

}  // namespace

namespace {

// kestrel view runs kestrel-view, the window program beside this one, with
// the same arguments, and ends as it ends.
int startView(int argc, char **argv) {
    std::error_code ec;
    const fs::path self = fs::absolute(fs::path(argv[0] ? argv[0] : ""), ec);
    const fs::path viewer = self.parent_path() / "kestrel-view";
    if (!fs::is_regular_file(viewer, ec)) {
        std::fprintf(stderr, "kestrel: this kestrel was built without a window system (GTK 3): view is not available\n");
        return 1;
    }
    std::vector<std::string> words{viewer.string()};
    for (int i = 2; i < argc; ++i) words.emplace_back(argv[i]);
    std::fflush(stdout);
    const int status = kestrel::plat::spawnProcess(nullptr, words, nullptr, true);
    if (status < 0) {
        std::fprintf(stderr, "kestrel: cannot start %s\n", viewer.string().c_str());
        return 1;
    }
    return status;
}

}  // namespace

int main(int argc, char **argv) {
    // The program links the library statically, so no load notification has
    // started it up: without this the stock pen and brush would be unset and
    // every pen a drawing routine restores would be lost.
    initKestrel();
    if (argc < 2) {
        std::fprintf(stderr, "kestrel: no command: kestrel demo, kestrel section DATA.tsv ..., or kestrel map ... (try kestrel --help)\n");
        return 2;
    }
    const std::string cmd = argv[1];
    if (cmd == "--help" || cmd == "-h" || cmd == "help") return usage(stdout);
    if (cmd == "--version" || cmd == "version") {
        std::printf("kestrel %s\n", KESTREL_VERSION);
        return 0;
    }
    if (cmd == "map") return mapCommand(argc - 2, argv + 2);
    if (cmd == "gamma") return gammaMain(argc - 2, argv + 2);
    if (cmd == "grid3d") return grid3dMain(argc - 2, argv + 2, findPreamble("", argv[0]));
    if (cmd == "section")
        return sectionMain(argc - 2, argv + 2, [&](const std::string &asked) { return findPreamble(asked, argv[0]); });
    if (cmd == "view") return startView(argc, argv);
    if (cmd == "demo")
        return demoMain(argc - 2, argv + 2, [&](const std::string &asked) { return findPreamble(asked, argv[0]); });
    std::fprintf(stderr, "kestrel: unknown command '%s' (try kestrel --help)\n", cmd.c_str());
    return 2;
}

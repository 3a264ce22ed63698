// The kestrel program run as a user runs it, from the tests of the command:
// in a folder, its exit status and what it said on stdout and stderr.
#ifndef KESTREL_TESTS_CLI_RUN_H
#define KESTREL_TESTS_CLI_RUN_H

#include <sys/wait.h>

#include <cstdlib>
#include <string>

#include "common/testing.h"

namespace kt {

struct CliRun {
    int status = -1;
    std::string out, err;
};

// "kestrel ARGS" in dir (args are passed to the shell as they stand).
inline CliRun runKestrel(const std::string &dir, const std::string &args) {
    const std::string cmd = "cd '" + dir + "' && '" KESTREL_CLI_PATH "' " + args + " >out.txt 2>err.txt";
    CliRun r;
    const int w = std::system(cmd.c_str());
    r.status = WIFEXITED(w) ? WEXITSTATUS(w) : -1;
    r.out = readFile(dir + "/out.txt");
    r.err = readFile(dir + "/err.txt");
    return r;
}

}  // namespace kt

#endif

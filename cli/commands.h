// The subcommands of the kestrel command-line host.
#ifndef KESTREL_CLI_COMMANDS_H
#define KESTREL_CLI_COMMANDS_H

// kestrel map [options] -o NAME; argv holds the options only.
int mapCommand(int argc, char **argv);

#endif

// The `leveler` program: the main job for a person at a terminal. The
// commands live in the lev_cli library (commands.h); this is only the door.
#include "commands.h"

int main(int argc, char** argv) { return cli::runLeveler(argc, argv); }

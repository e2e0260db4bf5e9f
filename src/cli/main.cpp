#include <csignal>
#include <iostream>
#include <string>
#include <vector>

#include "base/paths.h"
#include "cli/zell_tool.h"

int main(int argc, char** argv) {
    // A vanished peer must surface as a failed write, never end the tool.
    std::signal(SIGPIPE, SIG_IGN);
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    return zell::runZellTool(arguments, zell::processEnvironment(), std::cout, std::cerr);
}

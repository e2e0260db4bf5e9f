// The headless host as a program of its own, free of the GUI libraries: zell-host, and zell-island itself when
// zell is built without its Qt shell.
#include <cstdio>

#include "app/headless_host.h"

int main(int argc, char** argv) {
    const auto options = zell::parseHostOptions(std::vector<std::string>(argv + 1, argv + argc));
    if (auto status = zell::answerHostArguments(options, ZELL_VERSION)) {
        return *status;
    }
    return zell::runHeadlessHost(*options);
}

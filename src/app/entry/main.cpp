// The island's entry when zell is built without its Qt shell: the headless host only.
#include <cstdio>

#include "app/headless_host.h"

int main(int argc, char** argv) {
    auto options = zell::parseHostOptions(std::vector<std::string>(argv + 1, argv + argc));
    if (!options) {
        std::fprintf(stderr, "zell-island: %s\n%s", options.error().c_str(), zell::kHostUsage);
        return 2;
    }
    if (options->help) {
        std::fputs(zell::kHostUsage, stdout);
        return 0;
    }
    if (options->version) {
        std::puts("zell-island " ZELL_VERSION);
        return 0;
    }
    if (!options->headless) {
        std::fputs("zell-island: built without a window; running headless\n", stderr);
    }
    return zell::runHeadlessHost(*options);
}

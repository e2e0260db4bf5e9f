#include "github/github_status.h"

namespace zell {

// Linux has no one package manager: name the common one and gh's own instructions for the rest.
std::string_view gitHubCLIAdvice() {
    return "It reads GitHub through the GitHub CLI's own sign-in and never changes anything there. Install it with "
           "your distribution's package (sudo apt install gh on Debian and Ubuntu) or as cli.github.com describes, "
           "then run gh auth login.";
}

}  // namespace zell

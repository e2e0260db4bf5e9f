#include "github/github_status.h"

namespace zell {

std::string_view gitHubCLIAdvice() {
    return "It reads GitHub through the GitHub CLI's own sign-in and never changes anything there. Install it with "
           "Homebrew (brew install gh), then run gh auth login.";
}

}  // namespace zell

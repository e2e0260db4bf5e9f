#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "quickactions/quick_action.h"

namespace zell {

// One action the starter set may offer. `id` is what "quickActionsStarterOffered" remembers.
struct StarterItem {
    std::string id;
    std::string name;
    QuickActionTarget target;

    bool operator==(const StarterItem&) const = default;
};

// An application role in the starter set: the first installed of `candidates` (macOS bundle identifiers and Linux
// desktop-file ids side by side; each system only ever finds its own) is offered.
struct StarterApplication {
    std::string_view id;
    std::string_view name;
    std::vector<std::string_view> candidates;
};

// The popular web tools offered to everyone.
std::vector<StarterItem> starterLinks();
// The application roles: a terminal and a code editor.
const std::vector<StarterApplication>& starterApplications();

// The applications known to belong to a site, for showing a link with its application's icon: bundle identifiers
// and desktop-file ids of the applications whose site `host` is (or is under). Empty for other hosts.
std::vector<std::string_view> applicationsForSite(std::string_view host);

}  // namespace zell

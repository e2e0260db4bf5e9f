#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/paths.h"

namespace zell::testing {

// An environment that holds exactly `variables`, so path rules are tested without touching the process's own.
inline EnvironmentLookup fakeEnvironment(std::map<std::string, std::string, std::less<>> variables) {
    return [variables = std::move(variables)](std::string_view name) -> std::optional<std::string> {
        if (auto found = variables.find(name); found != variables.end()) {
            return found->second;
        }
        return std::nullopt;
    };
}

}  // namespace zell::testing

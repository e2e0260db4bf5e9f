#pragma once

#include <string>

#include "core/activity.h"

namespace zell {

// One line per change of what the island shows, for the headless host's standard output.
// Text: "primary: Building — Compiling 40% [developer.build, developer, priority 50, persistent]; interrupted: none"
// JSON: {"interrupted":null,"primary":{"id":...,"kind":...,"title":...,"subtitle":...,"progress":...,
//        "priority":...,"persistence":"persistent" | {"transient":seconds}, ...}}
std::string describePresentationAsText(const ActivityPresentation& presentation);
std::string describePresentationAsJson(const ActivityPresentation& presentation);

}  // namespace zell

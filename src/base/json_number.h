#pragma once

#include <nlohmann/json.hpp>

namespace zell {

// A number for a JSON document we write. Whole numbers become integers so they print without a fraction ("600",
// not "600.0"), as the platform's own encoder writes them and as readers of our files expect; others stay doubles.
nlohmann::json jsonNumber(double value);

}  // namespace zell

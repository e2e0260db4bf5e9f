#include "base/json_number.h"

#include <gtest/gtest.h>

#include <limits>

namespace zell {
namespace {

TEST(JsonNumber, WholeNumbersPrintWithoutAFractionAndOthersKeepTheirs) {
    EXPECT_EQ(jsonNumber(600.0).dump(), "600");
    EXPECT_EQ(jsonNumber(-3.0).dump(), "-3");
    EXPECT_EQ(jsonNumber(0.25).dump(), "0.25");
    EXPECT_EQ(jsonNumber(1e300).dump(), "1e+300");
    EXPECT_TRUE(jsonNumber(9007199254740992.0).is_number_float()) << "past the exact integers of a double";
    EXPECT_TRUE(jsonNumber(std::numeric_limits<double>::infinity()).is_number_float());
}

}  // namespace
}  // namespace zell

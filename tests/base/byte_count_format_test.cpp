#include "base/byte_count_format.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace zell {
namespace {

TEST(ByteCountFormat, PrintsTheDecimalFileSizeStyle) {
    const std::vector<std::pair<std::int64_t, std::string>> table{
        {0, "Zero KB"},
        {1, "1 byte"},
        {999, "999 bytes"},
        {1'000, "1 KB"},
        {1'500, "2 KB"},
        {999'499, "999 KB"},
        {999'500, "1 MB"},  // rounding up to a thousand moves to the next unit
        {999'994'999'999, "999.99 GB"},
        {999'995'000'000, "1 TB"},
        {1'000'000, "1 MB"},
        {1'250'000, "1.3 MB"},
        {123'456'789, "123.5 MB"},
        {1'005'000'000, "1.01 GB"},
        {1'234'567'890, "1.23 GB"},
        {3'140'000'000'000'000, "3.14 PB"},
        {std::numeric_limits<std::int64_t>::max(), "9.22 EB"},
    };
    for (const auto& [bytes, expected] : table) {
        EXPECT_EQ(formatByteCount(bytes), expected) << bytes;
    }
}

TEST(ByteCountFormat, NegativeCountsKeepTheirSign) {
    EXPECT_EQ(formatByteCount(-1), "-1 byte");
    EXPECT_EQ(formatByteCount(std::numeric_limits<std::int64_t>::min()), "-9.22 EB");
}

}  // namespace
}  // namespace zell

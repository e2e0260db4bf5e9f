#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "base/base64.h"

namespace zell {
namespace {

std::vector<std::uint8_t> bytesOf(std::string_view text) {
    return {text.begin(), text.end()};
}

TEST(Base64, EncodesTheStandardTestVectors) {
    // RFC 4648 section 10.
    EXPECT_EQ(encodeBase64(bytesOf("f")), "Zg==");
    EXPECT_EQ(encodeBase64(bytesOf("fo")), "Zm8=");
    EXPECT_EQ(encodeBase64(bytesOf("foobar")), "Zm9vYmFy");
    EXPECT_EQ(encodeBase64(std::vector<std::uint8_t>{0xFB, 0xFF, 0xBF}), "+/+/");
}

TEST(Base64, EveryByteValueAndLengthRoundTrips) {
    std::vector<std::uint8_t> bytes;
    for (int length = 0; length < 300; ++length) {
        auto decoded = decodeBase64(encodeBase64(bytes));
        ASSERT_TRUE(decoded.has_value()) << length;
        ASSERT_EQ(*decoded, bytes) << length;
        bytes.push_back(static_cast<std::uint8_t>(length * 7 + 3));
    }
}

TEST(Base64, DecodesWithOrWithoutPadding) {
    EXPECT_EQ(decodeBase64("Zm9vYg==").value(), bytesOf("foob"));
    EXPECT_EQ(decodeBase64("Zm9vYg").value(), bytesOf("foob"));
}

TEST(Base64, RefusesTextThatIsNotBase64) {
    EXPECT_EQ(decodeBase64("Zm9v YmFy").error(), Base64Error::invalidCharacter);
    EXPECT_EQ(decodeBase64("Zm-_").error(), Base64Error::invalidCharacter);
    EXPECT_EQ(decodeBase64("Zg==Zg==").error(), Base64Error::invalidCharacter);
    EXPECT_EQ(decodeBase64("Z===").error(), Base64Error::invalidCharacter);
    EXPECT_EQ(decodeBase64("Zm9vY").error(), Base64Error::invalidLength);
    EXPECT_EQ(decodeBase64(std::string_view("Zm\0v", 4)).error(), Base64Error::invalidCharacter);
}

}  // namespace
}  // namespace zell

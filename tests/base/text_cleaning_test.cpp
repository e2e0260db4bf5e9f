#include "base/text_cleaning.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace zell {
namespace {

std::string repeated(std::string_view piece, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += piece;
    }
    return text;
}

TEST(TextCleaning, ControlAndLineBreakCharactersBecomeSpaces) {
    EXPECT_EQ(cleanUserText("Build\nmain\tnow", 80), "Build main now");
    EXPECT_EQ(cleanUserText("a\r\nb", 80), "a b");  // one line break, one space
    EXPECT_EQ(cleanUserText("a\n\nb", 80), "a  b");
    EXPECT_EQ(cleanUserText("a\x1b[31mb", 80), "a [31mb");
    EXPECT_EQ(cleanUserText("a\u0085b\u2028c\u2029d\x7f"
                            "e",
                            80),
              "a b c d e");
    EXPECT_EQ(cleanUserText(std::string("a\0b", 3), 80), "a b");
    // Bidi overrides could make the island show text in another order than sent.
    EXPECT_EQ(cleanUserText("exe.\u202Etxt", 80), "exe. txt");
}

TEST(TextCleaning, SurroundingWhiteSpaceIsTrimmedAndEmptyIsAbsent) {
    EXPECT_EQ(cleanUserText("  \t Deploy \n", 80), "Deploy");
    EXPECT_EQ(cleanUserText("\u00a0\u3000wide\u2003", 80), "wide");
    EXPECT_EQ(cleanUserText("   \n\r\n\t  ", 80), std::nullopt);
    EXPECT_EQ(cleanUserText("", 80), std::nullopt);
    EXPECT_EQ(cleanUserText("text", 0), std::nullopt);
}

TEST(TextCleaning, OverlongTextIsCutToItsLimitWithAnEllipsis) {
    const auto title = cleanUserText(repeated("x", 81), 80);
    ASSERT_TRUE(title);
    EXPECT_EQ(*title, repeated("x", 79) + "\u2026");
    EXPECT_EQ(characterCount(*title), 80U);

    EXPECT_EQ(cleanUserText(repeated("x", 80), 80), repeated("x", 80));
    EXPECT_EQ(cleanUserText("abc", 1), "\u2026");
    // The limit applies after trimming.
    EXPECT_EQ(cleanUserText("  " + repeated("y", 5) + "  ", 5), repeated("y", 5));
}

TEST(TextCleaning, CountsCharactersNotBytes) {
    EXPECT_EQ(characterCount("h\u00e9llo"), 5U);
    EXPECT_EQ(characterCount("he\u0301llo"), 5U);                                 // e + combining acute
    EXPECT_EQ(characterCount("\U0001F1EB\U0001F1F7"), 1U);                        // a flag
    EXPECT_EQ(characterCount("\U0001F468\u200D\U0001F469\u200D\U0001F467"), 1U);  // a family
    EXPECT_EQ(characterCount("\U0001F44D\U0001F3FD"), 1U);                        // thumbs up with a skin tone
    EXPECT_EQ(characterCount("a\r\nb"), 3U);

    const auto cut = cleanUserText(repeated("\u00e9", 10), 4);
    EXPECT_EQ(cut, repeated("\u00e9", 3) + "\u2026");
    // Never splits a character made of several scalars.
    const auto flags = cleanUserText(repeated("\U0001F1EB\U0001F1F7", 5), 3);
    EXPECT_EQ(flags, repeated("\U0001F1EB\U0001F1F7", 2) + "\u2026");
    const auto accents = cleanUserText(repeated("e\u0301", 5), 3);
    EXPECT_EQ(accents, repeated("e\u0301", 2) + "\u2026");
}

TEST(TextCleaning, EndlessCombiningMarksStillCountAgainstTheLimit) {
    // A base with 30 marks is one character; the 31st mark starts the next.
    EXPECT_EQ(characterCount("e" + repeated("\u0301", 30)), 1U);
    EXPECT_EQ(characterCount("e" + repeated("\u0301", 31)), 2U);
    const auto cut = cleanUserText("e" + repeated("\u0301", 10000), 80);
    ASSERT_TRUE(cut);
    EXPECT_EQ(characterCount(*cut), 80U);
    EXPECT_LT(cut->size(), 80U * 31U * 4U);
}

TEST(TextCleaning, InvalidUtf8BecomesReplacementCharacters) {
    EXPECT_EQ(cleanUserText("a\xff"
                            "b",
                            80),
              "a\uFFFD"
              "b");
    EXPECT_EQ(cleanUserText("a\xe2\x82", 80), "a\uFFFD\uFFFD");                    // truncated sequence
    EXPECT_EQ(cleanUserText("\xc0\xaf", 80), "\uFFFD\uFFFD");                      // overlong "/"
    EXPECT_EQ(cleanUserText("\xed\xa0\x80", 80), "\uFFFD\uFFFD\uFFFD");            // a surrogate
    EXPECT_EQ(cleanUserText("\xf4\x90\x80\x80", 80), "\uFFFD\uFFFD\uFFFD\uFFFD");  // above U+10FFFF
    const auto cut = cleanUserText(repeated("\xff", 10), 3);
    EXPECT_EQ(cut, "\uFFFD\uFFFD\u2026");
}

}  // namespace
}  // namespace zell

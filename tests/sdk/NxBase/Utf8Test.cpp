#include <NxBase/Utf8.h>

#include <gtest/gtest.h>

using Utf8::Decode;

TEST(Utf8Test, EveryCharacterIsDecodedAsItWasEncoded) {
    // All of the first ones, then some.
    for (char32_t character = 0; character <= 0x10FFFF; character += character < 0x900 ? 1 : 251) {
        if (character >= 0xD800 && character <= 0xDFFF) {
            continue;
        }
        std::string text;
        Utf8::Append(text, character);
        const Utf8::Character decoded = Decode(text + "\x80");
        ASSERT_TRUE(decoded.value == character) << static_cast<std::uint32_t>(character);
        ASSERT_EQ(decoded.length, text.size());
        ASSERT_EQ(Decode(std::string_view(text).substr(0, text.size() - 1)).length, 0U);
    }
}

TEST(Utf8Test, EncodesWithAsFewBytesAsPossible) {
    std::string text;
    for (const char32_t character : {0x7F, 0x80, 0x7FF, 0x800, 0xFFFF, 0x10000, 0x10FFFF}) {
        Utf8::Append(text, character);
    }
    EXPECT_EQ(text,
              "\x7F"
              "\xC2\x80"
              "\xDF\xBF"
              "\xE0\xA0\x80"
              "\xEF\xBF\xBF"
              "\xF0\x90\x80\x80"
              "\xF4\x8F\xBF\xBF");
}

TEST(Utf8Test, EncodesWhatIsNotACharacterAsTheReplacementCharacter) {
    for (const char32_t number : {0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0x110000}) {
        std::string text;
        Utf8::Append(text, number);
        EXPECT_EQ(text, "\uFFFD") << static_cast<std::uint32_t>(number);
    }
}

TEST(Utf8Test, DecodesNothingThatIsNotUtf8) {
    for (const char* text :
         {"\x80", "\xBF", "\xC0\x80", "\xC1\xBF", "\xC2", "\xC2g", "\xE0\x9F\xBF", "\xE2\x84",
          "\xE2\x84g", "\xED\xA0\x80", "\xED\xBF\xBF", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80",
          "\xF5\x80\x80\x80", "\xFE", "\xFF"}) {
        EXPECT_EQ(Decode(text).length, 0U) << testing::PrintToString(text);
    }
    EXPECT_EQ(Decode("").length, 0U);
}

TEST(Utf8Test, PairsSurrogatesOfUtf16) {
    EXPECT_EQ(Utf8::FromUtf16(u"K\u00E4fer \u2122 \U0001F600 \U0010FFFF"),
              "K\u00E4fer \u2122 \U0001F600 \U0010FFFF");
    EXPECT_EQ(Utf8::FromUtf16(u""), "");
}

TEST(Utf8Test, ReplacesASurrogateWithoutItsOtherHalf) {
    const std::u16string high(1, char16_t{0xD83D});
    const std::u16string low(1, char16_t{0xDE00});
    EXPECT_EQ(Utf8::FromUtf16(high), "\uFFFD");
    EXPECT_EQ(Utf8::FromUtf16(high + u"x", U'?'), "?x");
    EXPECT_EQ(Utf8::FromUtf16(low + high, U'?'), "??");
    EXPECT_EQ(Utf8::FromUtf16(high + high + low, U'?'), "?\U0001F600");
}

TEST(Utf8Test, CutsBetweenCharacters) {
    EXPECT_EQ(Utf8::Cut("a\u20AC", 4), "a\u20AC");
    EXPECT_EQ(Utf8::Cut("a\u20AC", 3), "a");
    EXPECT_EQ(Utf8::Cut("a\u20AC", 2), "a");
    EXPECT_EQ(Utf8::Cut("a\u20AC", 1), "a");
    EXPECT_EQ(Utf8::Cut("\u20AC", 2), "");
    EXPECT_EQ(Utf8::Cut("", 2), "");
}

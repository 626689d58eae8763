#include <NxBase/Ascii.h>

#include <gtest/gtest.h>

TEST(AsciiTest, LowersLettersAndNothingElse) {
    EXPECT_EQ(Ascii::LowerCase("AZaz09@[`{ \xC4\xE4"), "azaz09@[`{ \xC4\xE4");
}

TEST(AsciiTest, ComparesTextsIgnoringTheCaseOfLetters) {
    EXPECT_TRUE(Ascii::IsSameIgnoringCase("Utf-8", "UTF-8"));
    EXPECT_TRUE(Ascii::IsSameIgnoringCase("", ""));
    EXPECT_FALSE(Ascii::IsSameIgnoringCase("utf-8", "utf-80"));
    EXPECT_FALSE(Ascii::IsSameIgnoringCase("@", "`"));
    EXPECT_FALSE(Ascii::IsSameIgnoringCase("\xC4", "\xE4"));
}

TEST(AsciiTest, NoControlCharacterAndNoByteAboveAsciiIsPrintable) {
    for (int byte = -128; byte < 128; ++byte) {
        const char character = static_cast<char>(byte);
        EXPECT_EQ(Ascii::IsPrintable(character), byte >= 0x20 && byte <= 0x7E) << byte;
        EXPECT_EQ(Ascii::IsGraphic({&character, 1}), byte > 0x20 && byte <= 0x7E) << byte;
    }
    EXPECT_FALSE(Ascii::IsGraphic("a b"));
    EXPECT_TRUE(Ascii::IsGraphic(""));
}

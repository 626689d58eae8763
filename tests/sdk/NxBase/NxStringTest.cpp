#include <gtest/gtest.h>

#include <NxBase/NxString.h>

TEST(NxStringTest, IsEmptyByDefaultAndFromNull) {
    EXPECT_EQ(NxString().GetLength(), 0U);
    EXPECT_STREQ(NxString(static_cast<const char*>(nullptr)).GetAscii(), "");
    EXPECT_STREQ(NxString(static_cast<const wchar_t*>(nullptr)).GetUnicode(), L"");
}

TEST(NxStringTest, CountsBytesNotCharacters) {
    EXPECT_EQ(NxString("é").GetLength(), 2U);
}

TEST(NxStringTest, ConvertsUtf8ToWideAndBack) {
    const NxString text("a é € 😀");
    EXPECT_STREQ(text.GetUnicode(), L"a é € 😀");
    EXPECT_STREQ(NxString(text.GetUnicode()).GetAscii(), "a é € 😀");
}

TEST(NxStringTest, KeepsEveryByteThatIsNotUtf8OnTheWayThroughWide) {
    const char* const texts[] = {
        "\xff\xfe",             // never valid
        "\xc3",                 // cut short
        "\xc3(",                // wrong continuation
        "\xc0\xaf",             // overlong
        "\xe0\x80\xaf",         // overlong
        "\xed\xb2\x80",         // an encoded surrogate, the very form used to escape
        "\xf4\x90\x80\x80",     // beyond Unicode
        "fw-\xe4\xf6\xfc.dfw",  // Latin-1
    };
    for (const char* text : texts) {
        EXPECT_STREQ(NxString(NxString(text).GetUnicode()).GetAscii(), text);
    }
}

TEST(NxStringTest, KeepsEverySingleByteValue) {
    for (int byte = 1; byte < 256; ++byte) {
        const std::string text(1, static_cast<char>(byte));
        EXPECT_EQ(NxString(NxString(text).GetUnicode()).GetAscii(), text) << byte;
    }
}

TEST(NxStringTest, ReplacesWideCharactersThatHaveNoUtf8Form) {
    const wchar_t text[] = {0xD800, L'a', 0};
    EXPECT_STREQ(NxString(text).GetAscii(),
                 "\xef\xbf\xbd"
                 "a");
}

TEST(NxStringTest, EndsAtTheFirstZeroByteInBothForms) {
    const NxString text(std::string("ab\0cd", 5));
    EXPECT_EQ(text.GetLength(), 2U);
    EXPECT_STREQ(text.GetUnicode(), L"ab");
}

TEST(NxStringTest, AppendsAndComparesBytes) {
    NxString text("Status error: ");
    text += NxString(L"busy");
    EXPECT_TRUE(text == "Status error: busy");
    EXPECT_TRUE(text != "status error: busy");
    EXPECT_TRUE(text == NxString("Status error: busy"));
    EXPECT_TRUE(text != NxString());
}

TEST(NxStringTest, JoinsTwoHalvesOfOneCharacter) {
    NxString text("\xc3");
    text += "\xa9";
    EXPECT_STREQ(text.GetUnicode(), L"é");
}

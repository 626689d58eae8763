#include <NxSystem/PrintableText.h>

#include <gtest/gtest.h>

TEST(PrintableTextTest, KeepsWhatCanBeShown) {
    for (const char* text :
         {"", "Camera 7", "K\u00e4fer \u00a0\u2122 \U0001f600", "caf\xe9", "\xff"}) {
        EXPECT_EQ(PrintableText(text), text);
    }
}

TEST(PrintableTextTest, ReplacesWhatSteersATerminal) {
    EXPECT_EQ(PrintableText("a\x1b[2Jb\r\n\x7f"), "a?[2Jb???");
    EXPECT_EQ(PrintableText(std::string_view("a\0b", 3)), "a?b");
    // CSI, as UTF-8 and as a single byte.
    EXPECT_EQ(PrintableText("a\u009b2Jb"), "a?2Jb");
    EXPECT_EQ(PrintableText("a\x9b"
                            "2Jb"),
              "a?2Jb");
    EXPECT_EQ(PrintableText("\u0080\u009f\u00a0"), "??\u00a0");
    // Longer than needed, or cut short.
    EXPECT_EQ(PrintableText("\xc0\x9b"), "\xc0?");
    EXPECT_EQ(PrintableText("\xe0\x80\x9b"), "\xe0??");
    EXPECT_EQ(PrintableText("\xf0\x80\x80\x9b"), "\xf0???");
    EXPECT_EQ(PrintableText("\xe2\x84"), "\xe2?");
    EXPECT_EQ(PrintableText("\xc2"), "\xc2");
}

#include <NxBase/PrintableText.h>

#include <string>

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

TEST(PrintableTextTest, ReplacesWhatEndsALineOrTurnsItAround) {
    for (const char* text :
         {"\u0085", "\u2028", "\u2029", "\u061c", "\u200e", "\u200f", "\u202a", "\u202b", "\u202c",
          "\u202d", "\u202e", "\u2066", "\u2067", "\u2068", "\u2069"}) {
        EXPECT_EQ(PrintableText(std::string("a") + text + "b"), "a?b") << text;
    }
    // Their neighbours.
    for (const char* text : {"\u061b", "\u061d", "\u200d", "\u2010", "\u2027", "\u202f", "\u2065",
                             "\u206a", "\U000f202e"}) {
        EXPECT_EQ(PrintableText(text), text);
    }
}

TEST(PrintableTextTest, CutsALongTextBetweenCharacters) {
    EXPECT_EQ(PrintableText(std::string(200, 'x')), std::string(200, 'x'));
    EXPECT_EQ(PrintableText(std::string(201, 'x')), std::string(200, 'x') + "...");
    EXPECT_EQ(PrintableText("\u20ac\u20ac\u20ac", 2), "\u20ac\u20ac...");
    EXPECT_EQ(PrintableText("\u20ac\u20ac", 2), "\u20ac\u20ac");
    EXPECT_EQ(PrintableText("a", 0), "...");
    EXPECT_EQ(PrintableText("", 0), "");
}

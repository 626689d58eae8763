#include "xml_location/DescriptionText.h"

#include <string>

#include <gtest/gtest.h>

using namespace std::string_literals;

TEST(DescriptionTextTest, EndsWithTheRootElement) {
    for (const std::string& xml :
         {"<A/>"s, "<A></A >"s, "<A><A/><B></B></A>"s,
          "<?xml version=\"1.0\"?><!-- <X> --><A>x</A>"s, "<A b=\"</A>\" c='>'>x</A>"s,
          "<A><!-- </A> --><![CDATA[</A>]]><?p </A>?></A>"s, "<!DOCTYPE A><A></A>"s,
          "\xEF\xBB\xBF<A></A>"s}) {
        for (const std::string& rest : {""s, "\0"s, "\0\0</A>"s, "</B></A>"s, "\xFF\xFF"s, "\n "s,
                                        "<A>older</A>"s, "\0\xFF<A/>"s}) {
            EXPECT_EQ(FindDocument(xml + rest), xml) << xml << " and " << rest;
        }
    }
}

TEST(DescriptionTextTest, BeginsWithItsFirstCharacter) {
    EXPECT_EQ(FindDocument(" \r\n<A/>"), "<A/>");
    EXPECT_EQ(FindDocument(" \r\n"), "");
    EXPECT_EQ(FindDocument(""), "");
}

TEST(DescriptionTextTest, LeavesToTheReaderWhatDoesNotEnd) {
    for (const std::string& xml :
         {"<A><B></A>"s, "<A"s, "<A b='"s, "<A b='>"s, "<!--"s, "<![CDATA["s, "<?"s, "<!"s, "text"s,
          "<A><!--</A>"s, "<"s, "<A></A"s}) {
        EXPECT_EQ(FindDocument(xml + "\0</A>"s), xml);
    }
}

TEST(DescriptionTextTest, TakesUtf16WithoutItsPadding) {
    const std::string little = "\xFF\xFE<\0A\0/\0>\0"s;
    const std::string big = "\xFE\xFF\0<\0A\0/\0>"s;
    EXPECT_EQ(FindDocument(little + "\0\0\0"s), little);
    EXPECT_EQ(FindDocument(big + "\0\0"s), big);
    EXPECT_TRUE(LooksLikeXml(little));
    EXPECT_TRUE(LooksLikeXml(big));
}

TEST(DescriptionTextTest, TellsXmlFromOtherBytes) {
    EXPECT_TRUE(LooksLikeXml("<A/>"));
    EXPECT_TRUE(LooksLikeXml("\xEF\xBB\xBF<A/>"));
    for (const char* other : {"", "\xFF\xFF\xFF\xFF", "text", "PK\x05\x06"}) {
        EXPECT_FALSE(LooksLikeXml(other)) << other;
    }
}

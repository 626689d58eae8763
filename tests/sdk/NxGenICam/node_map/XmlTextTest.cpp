#include "node_map/XmlText.h"

#include <gtest/gtest.h>

using namespace std::string_literals;

namespace {

std::string Attributes(int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += " a" + std::to_string(i) + (i % 2 == 0 ? "='\">'" : "=\"'x'\"");
    }
    return text;
}

TEST(XmlTextTest, RecognisesUtf16ByItsMarkOrItsFirstTag) {
    for (const std::string& text : {"\xFF\xFE"s, "\xFE\xFF"s, "<\0"s, "\0<"s}) {
        EXPECT_TRUE(IsUtf16(text));
        EXPECT_FALSE(IsUtf16(" " + text));
    }
    for (const std::string& text : {""s, "<"s, "\0a"s, "<a>"s, "\xEF\xBB\xBF<"s, "\xFE"s}) {
        EXPECT_FALSE(IsUtf16(text));
    }
}

TEST(XmlTextTest, MakesUtf8OfUtf16) {
    EXPECT_EQ(FromUtf16("<\0\xFC\0"s), "<\u00FC");
    EXPECT_EQ(FromUtf16("\0<\0\xFC"s), "<\u00FC");
    EXPECT_EQ(FromUtf16("\xFF\xFE<\0"s), "<");
    EXPECT_EQ(FromUtf16("\xFE\xFF\x20\xAC\xD8\x3D\xDE\x00"s), "\u20AC\U0001F600");
    EXPECT_EQ(FromUtf16("<\0>"s), "<");  // half of a character is none
    EXPECT_EQ(FromUtf16("\xFE\xFF"s), "");
    // U+FFFF is not allowed in XML.
    EXPECT_EQ(FromUtf16("\0<\xD8\x3D"s), "<\uFFFF");
}

TEST(XmlTextTest, BearsAHundredAttributes) {
    EXPECT_FALSE(HasUnbearableTag("<a/><x" + Attributes(100) + "/>"));
    EXPECT_TRUE(HasUnbearableTag("<a/><x" + Attributes(101) + "/>"));
    EXPECT_TRUE(HasUnbearableTag("<x" + Attributes(101)));
    EXPECT_TRUE(HasUnbearableTag("<x a='' b='>'" + Attributes(101) + "/>"));
    // Each tag has its own.
    EXPECT_FALSE(HasUnbearableTag("<x" + Attributes(60) + "><y" + Attributes(60) + "/></x>"));
    EXPECT_FALSE(HasUnbearableTag("'\"'"s + Attributes(200)));
}

TEST(XmlTextTest, BearsTagsOfOneMebibyte) {
    const std::string text(1U << 20U, 'x');
    EXPECT_FALSE(HasUnbearableTag("<" + text.substr(1) + ">"));
    EXPECT_TRUE(HasUnbearableTag("<" + text + ">"));
    EXPECT_FALSE(HasUnbearableTag("<" + text.substr(1)));
    EXPECT_TRUE(HasUnbearableTag("<" + text));
    EXPECT_TRUE(HasUnbearableTag("<a b='" + text));
    EXPECT_FALSE(HasUnbearableTag("<" + text.substr(9) + "><" + text.substr(9) + ">" + text));
    EXPECT_FALSE(HasUnbearableTag("text" + text));
}

TEST(XmlTextTest, LooksForTagsOutsideOfCommentsAndTheLikeOnly) {
    const std::string attributes = Attributes(101);
    for (const std::string& nothing :
         {"<!--<x" + attributes + "-->", "<!--><x" + attributes + "-->",
          "<!---><x" + attributes + "-->", "<![CDATA[<x" + attributes + "]]>",
          "<?x" + attributes + "?>"}) {
        EXPECT_FALSE(HasUnbearableTag("<a>" + nothing + "</a>")) << nothing;
        EXPECT_TRUE(HasUnbearableTag("<a>" + nothing + "<x" + attributes + "/></a>")) << nothing;
    }
    for (const std::string& end : {"<!---->"s, "<![CDATA[]]>"s, "<?x?>"s}) {
        EXPECT_TRUE(HasUnbearableTag(end + "<x" + attributes + "/><!-- ]]>?>-->")) << end;
    }
    for (const std::string& open : {"<!--"s, "<![CDATA["s, "<?"s}) {
        EXPECT_FALSE(HasUnbearableTag(open + "<x" + attributes + "/>")) << open;
    }
}

}  // namespace

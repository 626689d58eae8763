#include <gtest/gtest.h>

#include <NyUtilsLib/NyString.h>
#include <NyUtilsLib/Result.h>

TEST(NyStringTest, HoldsItsBytes) {
    EXPECT_STREQ(NyString("/tmp/xml-Ab3dE9").GetAscii(), "/tmp/xml-Ab3dE9");
    EXPECT_EQ(NyString("dfw").GetLength(), 3U);
    EXPECT_EQ(NyString(nullptr).GetLength(), 0U);
    EXPECT_EQ(NyString(std::string("a")), NyString("a"));
}

TEST(NyResultTest, IsSuccessByDefault) {
    EXPECT_EQ(NyUtilsLib::Result().GetCode(), 0U);
    EXPECT_EQ(NyUtilsLib::Result().GetMessage(), "");
}

TEST(NyResultTest, CarriesCodeAndMessage) {
    const NyUtilsLib::Result result(25, "no such node");
    EXPECT_EQ(result.GetCode(), 25U);
    EXPECT_EQ(result.GetMessage(), "no such node");
}

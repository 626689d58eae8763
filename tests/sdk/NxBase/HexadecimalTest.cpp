#include <NxBase/Hexadecimal.h>

#include <gtest/gtest.h>

TEST(HexadecimalTest, WritesAtLeastTheDigitsAskedFor) {
    EXPECT_EQ(Hexadecimal(0), "0x0");
    EXPECT_EQ(Hexadecimal(0xA0B), "0xa0b");
    EXPECT_EQ(Hexadecimal(0xA0B, 8), "0x00000a0b");
    EXPECT_EQ(Hexadecimal(0x12345, 4), "0x12345");
    EXPECT_EQ(Hexadecimal(UINT64_MAX), "0xffffffffffffffff");
}

TEST(HexadecimalTest, LeavesThePrefixOutOfDigits) {
    EXPECT_EQ(HexDigits(0, 2), "00");
    EXPECT_EQ(HexDigits(0xD5ECD7C4, 8), "d5ecd7c4");
}

#include "registers/RegisterFormat.h"

#include <array>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Bytes = std::vector<std::byte>;

Bytes Make(std::initializer_list<int> numbers) {
    Bytes bytes;
    for (const int number : numbers) {
        bytes.push_back(static_cast<std::byte>(number));
    }
    return bytes;
}

constexpr RegisterFormat kBig{.isBigEndian = true};
constexpr RegisterFormat kLittle{};

RegisterFormat Field(bool isBigEndian, unsigned int lsb, unsigned int msb, bool isSigned = false) {
    return {
        .isBigEndian = isBigEndian, .isSigned = isSigned, .isField = true, .lsb = lsb, .msb = msb};
}

TEST(RegisterFormatTest, ReadsNumbersOfEitherByteOrder) {
    EXPECT_EQ(kBig.Decode(Make({1, 2, 3, 4})), 0x01020304);
    EXPECT_EQ(kLittle.Decode(Make({1, 2, 3, 4})), 0x04030201);
    EXPECT_EQ(kBig.Decode(Make({0xFF})), 255);
    EXPECT_EQ(kBig.Decode(Make({0xFF, 0xFE, 0xFD})), 0xFFFEFD);
    EXPECT_EQ(kBig.Decode(Bytes(8, std::byte{0xFF})), -1);
}

TEST(RegisterFormatTest, ReadsSignedNumbersOfAnySize) {
    const RegisterFormat format{.isBigEndian = true, .isSigned = true};
    EXPECT_EQ(format.Decode(Make({0xFE})), -2);
    EXPECT_EQ(format.Decode(Make({0x80, 0, 0})), -0x800000);
    EXPECT_EQ(format.Decode(Make({0x7F, 0xFF})), 0x7FFF);
    EXPECT_EQ(format.Decode(Make({0x80, 0, 0, 0, 0, 0, 0, 0})), INT64_MIN);
}

TEST(RegisterFormatTest, CountsBitsFromTheTopWhereTheRegisterIsBigEndian) {
    const Bytes bytes = Make({0xAB, 0xCD, 0xEF, 0x01});
    EXPECT_EQ(Field(true, 7, 0).Decode(bytes), 0xAB);
    EXPECT_EQ(Field(true, 31, 24).Decode(bytes), 0x01);
    EXPECT_EQ(Field(true, 0, 7).Decode(bytes), 0xAB);
    EXPECT_EQ(Field(true, 31, 31).Decode(bytes), 1);
    EXPECT_EQ(Field(false, 0, 7).Decode(bytes), 0xAB);
    EXPECT_EQ(Field(false, 24, 31).Decode(bytes), 0x01);
    EXPECT_EQ(Field(false, 4, 11).Decode(bytes), 0xDA);
    EXPECT_EQ(Field(false, 11, 4).Decode(bytes), 0xDA);
    EXPECT_EQ(Field(true, 31, 0).Decode(bytes), 0xABCDEF01);
}

TEST(RegisterFormatTest, ExtendsTheSignOfAField) {
    EXPECT_EQ(Field(true, 31, 28, true).Decode(Make({0, 0, 0, 0x0F})), -1);
    EXPECT_EQ(Field(true, 31, 28, true).Decode(Make({0, 0, 0, 0xF7})), 7);
    EXPECT_EQ(Field(true, 31, 31, true).Decode(Make({0, 0, 0, 1})), -1);
}

TEST(RegisterFormatTest, ChangesOnlyTheFieldsBits) {
    Bytes bytes = Make({0xAB, 0xCD, 0xEF, 0x01});
    EXPECT_TRUE(Field(true, 15, 8).Encode(0x12, bytes));
    EXPECT_EQ(bytes, Make({0xAB, 0x12, 0xEF, 0x01}));
    EXPECT_TRUE(Field(false, 4, 11).Encode(0xFF, bytes));
    EXPECT_EQ(bytes, Make({0xFB, 0x1F, 0xEF, 0x01}));
    EXPECT_TRUE(kLittle.Encode(0x01020304, bytes));
    EXPECT_EQ(bytes, Make({4, 3, 2, 1}));
}

TEST(RegisterFormatTest, TakesAValueOnlyWhereThereIsRoom) {
    Bytes bytes = Make({1, 2});
    EXPECT_FALSE(kBig.Encode(0x10000, bytes));
    EXPECT_FALSE(kBig.Encode(-0x8001, bytes));
    EXPECT_FALSE(Field(true, 15, 12).Encode(16, bytes));
    EXPECT_FALSE(Field(true, 15, 12).Encode(INT64_MIN, bytes));
    EXPECT_EQ(bytes, Make({1, 2}));
    EXPECT_TRUE(kBig.Encode(-1, bytes));
    EXPECT_EQ(bytes, Make({0xFF, 0xFF}));
    EXPECT_TRUE(kBig.Encode(-0x8000, bytes));
    EXPECT_EQ(bytes, Make({0x80, 0}));
    Bytes wide(8);
    EXPECT_TRUE(kBig.Encode(INT64_MIN, wide));
    EXPECT_EQ(kBig.Decode(wide), INT64_MIN);
}

TEST(RegisterFormatTest, KnowsWhetherItFits) {
    EXPECT_TRUE(kBig.Fits(1));
    EXPECT_TRUE(kBig.Fits(8));
    EXPECT_FALSE(kBig.Fits(0));
    EXPECT_FALSE(kBig.Fits(9));
    EXPECT_TRUE(Field(true, 31, 0).Fits(4));
    EXPECT_FALSE(Field(true, 32, 0).Fits(4));
    EXPECT_FALSE(Field(false, 0, 63).Fits(4));
    EXPECT_TRUE(Field(false, 0, 31).IsWhole(4));
    EXPECT_FALSE(Field(false, 0, 30).IsWhole(4));
    EXPECT_TRUE(kLittle.IsWhole(4));
}

TEST(RegisterFormatTest, KnowsTheLargestValue) {
    EXPECT_EQ(kBig.Largest(4), 0xFFFFFFFF);
    EXPECT_EQ(kBig.Largest(8), INT64_MAX);
    EXPECT_EQ((RegisterFormat{.isSigned = true}.Largest(2)), 0x7FFF);
    EXPECT_EQ(Field(true, 31, 28).Largest(4), 15);
    EXPECT_EQ(Field(true, 31, 31, true).Largest(4), 0);
}

}  // namespace

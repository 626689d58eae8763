#include <gtest/gtest.h>

#include <cstring>

#include <NxBase/NxResult.h>
#include <NxBase/NxResultCodes.h>

TEST(NxResultTest, IsOkByDefault) {
    EXPECT_TRUE(NxResult().IsOK());
    EXPECT_EQ(NxResult().GetCode(), 0U);
}

TEST(NxResultTest, IsNotOkWithAnyOtherCode) {
    EXPECT_FALSE(NxResult(0x605).IsOK());
    EXPECT_EQ(NxResult(0x605).GetCode(), 0x605U);
}

TEST(NxResultTest, CarriesItsOwnDescription) {
    EXPECT_TRUE(NxResult(kNxTimeout, "no answer").GetDescription() == "no answer");
}

TEST(NxResultTest, KeepsADescriptionToOneBoundedLineThatSteersNoTerminal) {
    const NxResult result(kNxDeviceError, "no\nFirmware upload complete.\x1b[2J\u009b\u202e!");
    EXPECT_STREQ(result.GetDescription().GetAscii(), "no?Firmware upload complete.?[2J\?\?!");
    const NxResult endless(kNxDeviceError, std::string(5'000'000, 'x'));
    EXPECT_LT(endless.GetDescription().GetLength(), 20'000U);
}

TEST(NxResultTest, DescribesEveryCodeInOneLine) {
    for (unsigned int code = 1; code <= 0x4001; ++code) {
        const NxResult result(code);
        const char* text = result.GetDescription().GetAscii();
        EXPECT_GT(std::strlen(text), 0U) << code;
        EXPECT_EQ(std::strchr(text, '\n'), nullptr) << code;
    }
}

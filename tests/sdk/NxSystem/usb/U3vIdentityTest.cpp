#include <internal/NxSystem/U3vIdentity.h>

#include <chrono>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>

#include "FakeUsb.h"

namespace {

using std::chrono::milliseconds;

class U3vIdentityTest : public testing::Test {
  protected:
    U3vIdentityTest() {
        mDescriptor.guid = 1;
        mDescriptor.vendor = 2;
        mDescriptor.model = 3;
        mDescriptor.version = 4;
        mDescriptor.serial = 5;
        mDescriptor.userName = 6;
    }

    NxResult Read() {
        return U3vIdentity::Read(&mDevice, mDescriptor, milliseconds(500), mIdentity);
    }

    FakeUsb mUsb;
    libusb_device mDevice;
    U3vDescriptor mDescriptor;
    U3vIdentity mIdentity;
};

}  // namespace

TEST_F(U3vIdentityTest, ReadsTheDevicesTexts) {
    ASSERT_TRUE(Read().IsOK());
    EXPECT_EQ(mIdentity.guid, "123456789ABC");
    EXPECT_EQ(mIdentity.vendor, "Maker");
    EXPECT_EQ(mIdentity.model, "Model");
    EXPECT_EQ(mIdentity.version, "1.0");
    EXPECT_EQ(mIdentity.serial, "7");
    EXPECT_EQ(mIdentity.userName, "Left");
    EXPECT_EQ(mIdentity.place, "250-3");
}

TEST_F(U3vIdentityTest, ShowsNoControlCharacters) {
    mDevice.texts[3] = u"Mo\u001bdel\u009b2J\r";
    ASSERT_TRUE(Read().IsOK());
    EXPECT_EQ(mIdentity.model, "Mo?del?2J?");
}

TEST_F(U3vIdentityTest, GivesASlowDeviceItsTimeForAllOfItsTexts) {
    mDevice.delay = milliseconds(200);
    const NxResult result = Read();
    EXPECT_EQ(result.GetCode(), kNxTimeout);
    EXPECT_EQ(mIdentity.guid, "123456789ABC");
    // Of six texts.
    EXPECT_THAT(mUsb.timeouts,
                testing::ElementsAre(milliseconds(500), milliseconds(300), milliseconds(100)));
    EXPECT_EQ(mUsb.clock.GetPassed(), milliseconds(500));
}

TEST_F(U3vIdentityTest, WaitsHalfASecondForAText) {
    mDevice.delay = milliseconds(480);
    EXPECT_EQ(Read().GetCode(), kNxTimeout);
    EXPECT_EQ(mIdentity.guid, "123456789ABC");
}

TEST_F(U3vIdentityTest, ReadsTheGuidAloneToTellTheDeviceFromOthers) {
    mDevice.delay = milliseconds(480);
    EXPECT_TRUE(U3vIdentity::ReadGuid(&mDevice, mDescriptor, milliseconds(500), mIdentity).IsOK());
    EXPECT_EQ(mIdentity.guid, "123456789ABC");
    EXPECT_THAT(mUsb.timeouts, testing::SizeIs(1));
}

TEST_F(U3vIdentityTest, AsksForTheLanguageOnlyWhereEnglishIsRefused) {
    mDevice.language = 0x0407;
    ASSERT_TRUE(Read().IsOK());
    EXPECT_EQ(mIdentity.guid, "123456789ABC");
    EXPECT_EQ(mIdentity.userName, "Left");
    // English, the languages, and six texts.
    EXPECT_THAT(mUsb.timeouts, testing::SizeIs(8));
}

TEST_F(U3vIdentityTest, DoesNotWaitTwiceForADeviceThatDoesNotAnswer) {
    mDevice.delay = milliseconds(100000);
    EXPECT_EQ(Read().GetCode(), kNxTimeout);
    EXPECT_THAT(mUsb.timeouts, testing::SizeIs(1));
    EXPECT_EQ(mIdentity.GetName(), "@250-3");
}

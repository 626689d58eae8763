#include <NxSystem/U3vIdentity.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libusb.h>

#include <NxBase/NxResultCodes.h>

namespace {

using std::chrono::milliseconds;

/// What the device answers to requests for its texts.
struct FakeDevice {
    std::map<std::uint8_t, std::u16string> texts;
    milliseconds delay{0};  ///< of every answer; one that is too late is none
    std::vector<unsigned int> timeouts;
};

FakeDevice* fake = nullptr;

class U3vIdentityTest : public testing::Test {
  protected:
    U3vIdentityTest() {
        fake = &mDevice;
        mDescriptor.guid = 1;
        mDescriptor.vendor = 2;
        mDescriptor.model = 3;
        mDescriptor.version = 4;
        mDescriptor.serial = 5;
        mDescriptor.userName = 6;
        mDevice.texts = {{1, u"123456789ABC"}, {2, u"Maker"}, {3, u"Model"},
                         {4, u"1.0"},          {5, u"7"},     {6, u"Left"}};
    }
    ~U3vIdentityTest() override { fake = nullptr; }

    NxResult Read() { return U3vIdentity::Read(nullptr, mDescriptor, mIdentity); }

    FakeDevice mDevice;
    U3vDescriptor mDescriptor;
    U3vIdentity mIdentity;
};

}  // namespace

// In the place of libusb's own, which the library would call otherwise.
extern "C" {
[[gnu::visibility("default")]] std::uint8_t LIBUSB_CALL
libusb_get_bus_number(libusb_device* /*device*/) {
    return 250;
}
[[gnu::visibility("default")]] int LIBUSB_CALL libusb_get_port_numbers(libusb_device* /*device*/,
                                                                       std::uint8_t* ports,
                                                                       int /*count*/) {
    ports[0] = 3;
    return 1;
}
[[gnu::visibility("default")]] int LIBUSB_CALL libusb_open(libusb_device* /*device*/,
                                                           libusb_device_handle** /*handle*/) {
    return LIBUSB_SUCCESS;
}
[[gnu::visibility("default")]] void LIBUSB_CALL libusb_close(libusb_device_handle* /*handle*/) {}
[[gnu::visibility("default")]] int LIBUSB_CALL
libusb_control_transfer(libusb_device_handle* /*handle*/, std::uint8_t /*type*/,
                        std::uint8_t /*request*/, std::uint16_t value, std::uint16_t /*index*/,
                        unsigned char* data, std::uint16_t length, unsigned int timeout) {
    fake->timeouts.push_back(timeout);
    std::this_thread::sleep_for(std::min(fake->delay, milliseconds(timeout)));
    if (fake->delay >= milliseconds(timeout)) {
        return LIBUSB_ERROR_TIMEOUT;
    }
    const auto number = static_cast<std::uint8_t>(value & 0xFF);
    const std::u16string text = number == 0 ? u"\u0409" : fake->texts[number];
    std::vector<unsigned char> bytes{static_cast<unsigned char>(2 + 2 * text.size()),
                                     LIBUSB_DT_STRING};
    for (const char16_t unit : text) {
        bytes.push_back(static_cast<unsigned char>(unit & 0xFF));
        bytes.push_back(static_cast<unsigned char>(unit >> 8));
    }
    const std::size_t count = std::min<std::size_t>(bytes.size(), length);
    std::copy_n(bytes.begin(), count, data);
    return static_cast<int>(count);
}
}

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

TEST_F(U3vIdentityTest, GivesASlowDeviceHalfASecondForAllOfItsTexts) {
    mDevice.delay = milliseconds(200);
    const NxResult result = Read();
    EXPECT_EQ(result.GetCode(), kNxTimeout);
    EXPECT_EQ(mIdentity.guid, "123456789ABC");
    // Of seven texts.
    EXPECT_LE(mDevice.timeouts.size(), 3U);
}

TEST_F(U3vIdentityTest, DoesNotWaitTwiceForADeviceThatDoesNotAnswer) {
    mDevice.delay = milliseconds(100000);
    EXPECT_EQ(Read().GetCode(), kNxTimeout);
    EXPECT_THAT(mDevice.timeouts, testing::SizeIs(1));
    EXPECT_EQ(mIdentity.GetName(), "@250-3");
}

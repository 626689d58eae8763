#include "usb/UsbDiscovery.h"

#include <chrono>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>

#include "FakeUsb.h"
#include "u3v/U3vPort.h"

namespace {

using std::chrono::milliseconds;

// For which the network is listened to (1 second) while the devices are asked, with a reserve.
constexpr milliseconds kWindow{900};

class UsbDiscoveryTest : public testing::Test {
  protected:
    void PlugIn(int devices, milliseconds delay) {
        for (int i = 0; i < devices; ++i) {
            libusb_device device;
            device.delay = delay;
            device.port = static_cast<std::uint8_t>(mUsb.devices.size() + 1);
            device.texts[1] =
                u"GUID" + std::u16string(1, static_cast<char16_t>(u'0' + device.port));
            mUsb.devices.push_back(device);
        }
    }

    static std::vector<std::string> FindNames() {
        std::vector<std::string> names;
        for (const UsbController& controller : ListUsbControllers()) {
            for (const U3vIdentity& identity : controller.devices) {
                names.push_back(identity.GetName());
            }
        }
        return names;
    }

    FakeUsb mUsb;
};

}  // namespace

TEST_F(UsbDiscoveryTest, ListsSlowDevicesWithinTheTimeForWhichTheNetworkIsListenedTo) {
    PlugIn(3, milliseconds(110));
    EXPECT_THAT(FindNames(), testing::ElementsAre("GUID1", "GUID2", "GUID3"));
    EXPECT_LE(mUsb.clock.GetPassed(), kWindow);
}

TEST_F(UsbDiscoveryTest, GivesADeviceItsTimeBehindOthersThatDoNotAnswer) {
    PlugIn(8, milliseconds(100000));
    PlugIn(1, milliseconds(10));
    EXPECT_THAT(FindNames(), testing::ElementsAre("@250-1", "@250-2", "@250-3", "@250-4", "@250-5",
                                                  "@250-6", "@250-7", "@250-8", "GUID9"));
    EXPECT_LE(mUsb.clock.GetPassed(), kWindow);
}

TEST_F(UsbDiscoveryTest, GivesADeviceTheTimeThatTheOthersDoNotNeed) {
    PlugIn(8, milliseconds(0));
    PlugIn(1, milliseconds(200));
    EXPECT_THAT(FindNames(), testing::Contains("GUID9"));
}

TEST_F(UsbDiscoveryTest, AsksAgainForTextsThatCameTooLate) {
    PlugIn(2, milliseconds(5));
    mUsb.devices[0].late = 1;
    const std::vector<UsbController> once = ListUsbControllers();
    ASSERT_EQ(once.size(), 1U);
    EXPECT_EQ(once[0].devices[0].GetName(), "@250-1");
    EXPECT_THAT(once[0].access, testing::IsEmpty());

    mUsb.devices[0].late = 1;
    const std::vector<UsbController> tried = ListAndTryUsbControllers();
    ASSERT_EQ(tried.size(), 1U);
    ASSERT_EQ(tried[0].devices.size(), 2U);
    EXPECT_EQ(tried[0].devices[0].GetName(), "GUID1");
    EXPECT_EQ(tried[0].devices[0].version, "1.0");
    EXPECT_EQ(tried[0].devices[1].GetName(), "GUID2");
    ASSERT_EQ(tried[0].access.size(), 2U);
    EXPECT_THAT(tried[0].access[0].GetDescription().GetAscii(),
                testing::HasSubstr("another program holds its control interface"));
}

TEST_F(UsbDiscoveryTest, SaysOfADeviceThatStaysSilentThatItDoesNotRespond) {
    PlugIn(9, milliseconds(100000));
    const std::vector<UsbController> tried = ListAndTryUsbControllers();
    ASSERT_EQ(tried.size(), 1U);
    ASSERT_EQ(tried[0].access.size(), 9U);
    for (const NxResult& access : tried[0].access) {
        EXPECT_EQ(access.GetCode(), kNxTimeout);
    }
    EXPECT_LE(mUsb.clock.GetPassed(), kWindow + milliseconds(5000));
}

TEST_F(UsbDiscoveryTest, ConnectsWithinFiveSecondsBehindDevicesThatDoNotAnswer) {
    PlugIn(8, milliseconds(100000));
    PlugIn(1, milliseconds(10));
    std::shared_ptr<DevicePort> port;
    const NxResult result = OpenU3vPort("GUID9", port);
    EXPECT_EQ(result.GetCode(), kNxAccessDenied) << "found; another program holds it";
    // 1.5 seconds for the device's limits and 2.5 for its description are to come.
    EXPECT_LE(mUsb.clock.GetPassed(), kWindow);
}

TEST_F(UsbDiscoveryTest, ConnectsToADeviceThatTakesHalfASecondForItsGuid) {
    PlugIn(1, milliseconds(490));
    std::shared_ptr<DevicePort> port;
    EXPECT_EQ(OpenU3vPort("GUID1", port).GetCode(), kNxAccessDenied) << "found; it is held";
    EXPECT_THAT(mUsb.timeouts, testing::SizeIs(1)) << "the GUID alone";
}

TEST_F(UsbDiscoveryTest, AsksOnceMoreForAGuidThatWasLate) {
    PlugIn(2, milliseconds(5));
    mUsb.devices[0].late = 1;
    std::shared_ptr<DevicePort> port;
    EXPECT_EQ(OpenU3vPort("GUID1", port).GetCode(), kNxAccessDenied) << "found; it is held";
    EXPECT_THAT(mUsb.timeouts, testing::SizeIs(3)) << "the other one is not asked again";

    mUsb.timeouts.clear();
    mUsb.devices[0].late = 2;
    const NxResult silent = OpenU3vPort("GUID1", port);
    EXPECT_EQ(silent.GetCode(), kNxTimeout);
    EXPECT_THAT(silent.GetDescription().GetAscii(),
                testing::HasSubstr("at USB port 250-1: it does not respond"));
    EXPECT_THAT(mUsb.timeouts, testing::SizeIs(3));
}

TEST_F(UsbDiscoveryTest, ConnectsToAUsbPortWithoutAskingForTexts) {
    PlugIn(2, milliseconds(100000));
    std::shared_ptr<DevicePort> port;
    EXPECT_EQ(OpenU3vPort("@250-2", port).GetCode(), kNxAccessDenied) << "found; it is held";
    EXPECT_THAT(mUsb.timeouts, testing::IsEmpty());
}

#include <algorithm>

#include <gmock/gmock.h>

#include <NxSystem/NxDeviceInfo.h>

#include "MirskoFirmwareUpdater.h"
#include "UpdaterRun.h"

namespace {

class DeviceSelectionTest : public testing::Test {
  protected:
    std::string SelectGEV(const char* mac) { return IdOf(mApplication.AutoSelectGEV(mac)); }
    std::string SelectU3V() { return IdOf(mApplication.AutoSelectU3V()); }

    Script script;

  private:
    static std::string IdOf(const NxDeviceInfo* device) {
        return device != nullptr ? device->GetConnectionID().GetAscii() : "none";
    }

    MirskoFirmwareUpdaterApp mApplication;
};

std::string Normalized(std::string mac) {
    MirskoFirmwareUpdaterApp::NormalizeMACAddress(mac);
    return mac;
}

InterfaceRecord NullInterface() {
    return {InterfaceRecord::Kind::kNull, "", {}};
}

DeviceRecord NullDevice() {
    return {DeviceRecord::Kind::kNull, "", ""};
}

}  // namespace

TEST_F(DeviceSelectionTest, AMacAddressIsLowercasedAndLosesDashesAndColons) {
    EXPECT_EQ(Normalized("00:11:22:AB:CD:EF"), "001122abcdef");
    EXPECT_EQ(Normalized("00-11-22-ab-cd-ef"), "001122abcdef");
    EXPECT_EQ(Normalized("--::-:"), "");
    EXPECT_EQ(Normalized("0011.22AB.cdef zz"), "0011.22ab.cdef zz");
    EXPECT_EQ(Normalized(""), "");
}

TEST_F(DeviceSelectionTest, EverySpellingOfAMacAddressSelectsTheSameAdapter) {
    script.interfaces = {Network("00:11:22:Ab:cD:ef", {Camera("A", "a")})};
    EXPECT_EQ(SelectGEV("00:11:22:AB:CD:EF"), "a");
    EXPECT_EQ(SelectGEV("00-11-22-ab-cd-ef"), "a");
    EXPECT_EQ(SelectGEV("001122abcdef"), "a");
}

TEST_F(DeviceSelectionTest, OtherSeparatorsMatchNoAdapter) {
    script.interfaces = {Network("00:11:22:ab:cd:ef", {Camera("A", "a")})};
    EXPECT_EQ(SelectGEV("0011.22ab.cdef"), "none");
    EXPECT_EQ(SelectGEV("00:11:22:ab:cd:e"), "none");
    EXPECT_EQ(SelectGEV("nonsense"), "none");
}

TEST_F(DeviceSelectionTest, TheFirstListedOfTwoDevicesIsReturned) {
    script.interfaces = {Network("1", {Camera("A", "first"), Camera("B", "second")})};
    EXPECT_EQ(SelectGEV("1"), "first");
}

TEST_F(DeviceSelectionTest, ADeviceInItsBootLoaderIsSelectedToo) {
    script.interfaces = {Network("1", {Loader("A", "loader"), Camera("B", "second")})};
    EXPECT_EQ(SelectGEV("1"), "loader");
}

TEST_F(DeviceSelectionTest, ANamedAdapterWithoutDevicesGivesNothingThoughAnotherHasSome) {
    script.interfaces = {Network("1"), Network("2", {Camera("A", "a")})};
    EXPECT_EQ(SelectGEV("1"), "none");
}

TEST_F(DeviceSelectionTest, U3vNeverConsidersGigEVisionDevices) {
    script.interfaces = {Network("1", {Camera("A", "gev")}),
                         Usb({Camera("odd", "gev on usb"), UsbCamera("B", "usb")})};
    EXPECT_EQ(SelectU3V(), "usb");
    script.interfaces = {Network("1", {Camera("A", "gev"), UsbCamera("odd", "u3v on network")})};
    MirskoFirmwareUpdaterApp another;
    EXPECT_EQ(another.AutoSelectU3V(), nullptr);
}

TEST_F(DeviceSelectionTest, GigEVisionNeverConsidersUsbDevices) {
    script.interfaces = {Network("1", {UsbCamera("B", "usb")}), Usb({Camera("A", "a")})};
    EXPECT_EQ(SelectGEV("1"), "none");
    EXPECT_EQ(SelectGEV(""), "none");
}

TEST_F(DeviceSelectionTest, NoInterfacesAtAllGiveNothingWithoutADeviceLoop) {
    EXPECT_EQ(SelectGEV("1"), "none");
    EXPECT_EQ(SelectU3V(), "none");
    for (const std::string& call : script.Log()) {
        EXPECT_EQ(call.find("NxInterface"), std::string::npos) << call;
    }
}

TEST_F(DeviceSelectionTest, EmptyPlacesInTheListsAreSkipped) {
    script.interfaces = {NullInterface(), Network("1", {NullDevice(), Camera("A", "a")}),
                         Usb({NullDevice(), UsbCamera("B", "b")})};
    EXPECT_EQ(SelectGEV("1"), "a");
    EXPECT_EQ(SelectU3V(), "b");
}

TEST_F(DeviceSelectionTest, ALaterInterfaceWithTheSameAddressIsSearchedToo) {
    script.interfaces = {Network("1", {UsbCamera("odd", "x")}), Network("1", {Camera("A", "a")})};
    EXPECT_EQ(SelectGEV("1"), "a");
}

TEST_F(DeviceSelectionTest, ALaterUsbControllerIsSearchedToo) {
    script.interfaces = {Usb(), Usb({UsbCamera("A", "a"), UsbCamera("B", "b")})};
    EXPECT_EQ(SelectU3V(), "a");
}

TEST_F(DeviceSelectionTest, TheResultOfDiscoveryIsNotExamined) {
    script.findResult = NxResult(0x102);
    script.interfaces = {Network("1", {Camera("A", "a")}), Usb({UsbCamera("B", "b")})};
    EXPECT_EQ(SelectGEV("1"), "a");
    EXPECT_EQ(SelectU3V(), "b");
}

TEST_F(DeviceSelectionTest, TheCountsAreAskedAgainBeforeEveryStep) {
    script.interfaces = {Network("1", {NullDevice(), NullDevice()}), Network("2"), Usb()};
    EXPECT_EQ(SelectGEV("1"), "none");
    EXPECT_EQ(script.CountOf("NxSystem::GetInterfaceCount"), 4U);
    EXPECT_EQ(script.CountOf("NxInterface::GetDeviceCount 1"), 3U);
    EXPECT_EQ(script.CountOf("NxInterface::GetDeviceCount 2"), 0U);
}

TEST_F(DeviceSelectionTest, TheCountsOfUsbControllersAreAskedAgainBeforeEveryStep) {
    script.interfaces = {Usb({NullDevice(), Camera("A", "a"), NullDevice()}), Network("1"), Usb()};
    EXPECT_EQ(SelectU3V(), "none");
    EXPECT_EQ(script.CountOf("NxSystem::GetInterfaceCount"), 4U);
    // Four times for the first controller, once for the empty one.
    EXPECT_EQ(script.CountOf("NxInterface::GetDeviceCount "), 5U);
    EXPECT_EQ(script.CountOf("NxInterface::GetDeviceCount 1"), 0U);
}

TEST_F(DeviceSelectionTest, TheRecordStaysValidAcrossALaterSelection) {
    script.interfaces = {Network("1", {Camera("A", "a")}), Usb({UsbCamera("B", "b")})};
    MirskoFirmwareUpdaterApp application;
    const NxDeviceInfo* const camera = application.AutoSelectGEV("1");
    ASSERT_NE(application.AutoSelectU3V(), nullptr);
    EXPECT_STREQ(camera->GetConnectionID().GetAscii(), "a");
}

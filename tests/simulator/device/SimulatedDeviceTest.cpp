#include "simulator/device/SimulatedDevice.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "GvcpClient.h"
#include "Hex.h"
#include "Payload.h"
#include "Process.h"
#include "TemporaryFolder.h"
#include "simulator/registers/FeatureAddresses.h"

using simulator::FaultOptions;
using simulator::FirmwareVersion;
using simulator::Profile;
using simulator::SimulatedDevice;
using testing::HasSubstr;
using testing::SizeIs;

namespace features = simulator::features;

namespace {

constexpr const char* kDiscovery = "420100020000ffff";

void Start(SimulatedDevice& device) {
    std::string why;
    ASSERT_TRUE(device.Start(why)) << why;
}

SimulatedDevice::Builder GvcpOnly() {
    return SimulatedDevice::Builder().serveTftp(false);
}

std::string StoredBytes(SimulatedDevice& device) {
    return ReadFile(device.Firmware().Folder() / "firmware.bin");
}

/// All answers to one discovery broadcast.
std::vector<std::string> Discover(GvcpClient& client, const std::string& address) {
    client.SendTo(address, kDiscovery);
    std::vector<std::string> answers;
    while (const auto answer = client.Receive(300)) {
        answers.push_back(*answer);
    }
    return answers;
}

}  // namespace

TEST(SimulatedDeviceTest, AnswersDiscoveryByUnicastAndBothBroadcasts) {
    const auto device = SimulatedDevice::Builder().model("M").build();
    Start(*device);
    EXPECT_TRUE(device->IsServing());
    GvcpClient client;
    for (const char* address : {"127.0.0.1", "255.255.255.255", "127.255.255.255"}) {
        EXPECT_THAT(Discover(client, address), SizeIs(1)) << address;
    }
    device->Stop();
    EXPECT_FALSE(device->IsServing());
    EXPECT_THAT(Discover(client, "255.255.255.255"), SizeIs(0));
}

TEST(SimulatedDeviceTest, TakesAForcedAddressUntilItIsSwitchedOff) {
    const auto device = SimulatedDevice::Builder().serveTftp(false).build();
    Start(*device);
    GvcpClient client;
    const std::string zeros(24, '0');
    const auto force = [&zeros](const std::string& address) {
        return "4201000400380007"
               "0000024d53000001" +
               zeros + address + zeros + "ff000000" + zeros + "00000000";
    };
    client.SendTo("255.255.255.255", force("7f000009"));
    EXPECT_EQ(client.Receive(), "0000000500000007");
    EXPECT_THAT(Discover(client, "127.0.0.1"), SizeIs(0));
    EXPECT_THAT(Discover(client, "127.0.0.9"), SizeIs(1));
    EXPECT_EQ(GvcpClient("127.0.0.9").Read(0x24), 0x7f000009U);
    // An address that this host cannot have.
    client.SendTo("255.255.255.255", force("00000009"));
    EXPECT_TRUE(WaitUntil([&] { return device->Events().Count("address_refused") == 1; }));
    EXPECT_TRUE(WaitUntil([&] { return device->IsServing(); }));
    EXPECT_THAT(Discover(client, "127.0.0.9"), SizeIs(1));
    device->Stop();
    Start(*device);
    EXPECT_THAT(Discover(client, "127.0.0.1"), SizeIs(1));
}

TEST(SimulatedDeviceTest, StartsWithItsPersistentAddress) {
    const TemporaryFolder folder;
    const auto device =
        SimulatedDevice::Builder().serveTftp(false).stateFolder(folder.Path()).build();
    Start(*device);
    {
        GvcpClient client;
        for (const auto& [address, value] :
             {std::pair{0xa00U, 2U}, {0x64cU, 0x7f000008U}, {0x65cU, 0xff000000U}, {0x14U, 5U}}) {
            ASSERT_EQ(client.Write(address, value), 0U);
        }
    }
    device->Stop();
    Start(*device);
    EXPECT_EQ(GvcpClient("127.0.0.8").Read(0x24), 0x7f000008U);
}

TEST(SimulatedDeviceTest, TakesNothingButDiscoveryFromABroadcast) {
    const auto device = SimulatedDevice::Builder().build();
    Start(*device);
    GvcpClient client;
    client.SendTo("255.255.255.255",
                  "4201008000040001"
                  "00000024");
    EXPECT_THAT(Discover(client, "255.255.255.255"), SizeIs(1));
    EXPECT_EQ(device->GvcpCounts().count("READREG"), 0U);
}

TEST(SimulatedDeviceTest, SharesAnInterfaceWithOtherDevices) {
    const auto first = SimulatedDevice::Builder().model("First").build();
    const auto second = SimulatedDevice::Builder().model("Second").address("127.0.0.2").build();
    Start(*first);
    Start(*second);
    GvcpClient client;
    EXPECT_THAT(Discover(client, "255.255.255.255"), SizeIs(2));
    GvcpClient toSecond("127.0.0.2");
    EXPECT_EQ(toSecond.Read(0x24), 0x7f000002U);
    EXPECT_EQ(toSecond.Write(0xa00, 2), 0);
    EXPECT_EQ(client.Write(0xa00, 2), 0);
}

TEST(SimulatedDeviceTest, KeepsToItsInterface) {
    ASSERT_EQ(Process::Run({"ip", "link", "add", "left", "type", "veth", "peer", "name", "right"})
                  .exitStatus,
              0);
    for (const char* name : {"left", "right"}) {
        ASSERT_EQ(Process::Run({"ip", "link", "set", name, "up"}).exitStatus, 0);
    }
    ASSERT_EQ(Process::Run({"ip", "addr", "add", "10.9.0.1/24", "dev", "left"}).exitStatus, 0);
    const auto onLoopback = SimulatedDevice::Builder().build();
    const auto onLeft =
        SimulatedDevice::Builder().address("10.9.0.1").interfaceName("left").build();
    Start(*onLoopback);
    Start(*onLeft);
    GvcpClient client;
    EXPECT_THAT(Discover(client, "255.255.255.255"), SizeIs(1));
    EXPECT_EQ(onLeft->GvcpCounts().count("DISCOVERY"), 0U);
}

TEST(SimulatedDeviceTest, SaysWhyItCannotStart) {
    const auto first = GvcpOnly().build();
    Start(*first);
    std::string why;
    EXPECT_FALSE(GvcpOnly().build()->Start(why));
    EXPECT_EQ(why, "cannot bind 127.0.0.1:3956 on lo: Address already in use");
    EXPECT_FALSE(GvcpOnly().address("10.1.2.3").build()->Start(why));
    EXPECT_EQ(why, "cannot bind 10.1.2.3:3956 on lo: Cannot assign requested address");
    EXPECT_FALSE(GvcpOnly().interfaceName("none").build()->Start(why));
    EXPECT_THAT(why, HasSubstr("cannot use the interface for 127.0.0.1:3956 on none"));
    EXPECT_FALSE(GvcpOnly().address("host").build()->Start(why));
    EXPECT_EQ(why, "\"host\" is not an IPv4 address");
    EXPECT_FALSE(GvcpOnly().mac("02:00").build()->Start(why));
    EXPECT_FALSE(GvcpOnly().bufferSize(510).build()->Start(why));
    EXPECT_FALSE(GvcpOnly().model("a\n").build()->Start(why));
    EXPECT_FALSE(GvcpOnly().model(std::string(32, 'M')).build()->Start(why));
    EXPECT_EQ(why,
              "the model name has 32 bytes; a GigE Vision device reports at most 31 (with --u3v: "
              "63)");
    EXPECT_FALSE(GvcpOnly().family("").build()->Start(why));
    FaultOptions faults;
    faults.sent.lossPercent = 101;
    EXPECT_FALSE(GvcpOnly().faults(faults).build()->Start(why));
    EXPECT_FALSE(first->Start(why));
    EXPECT_EQ(why, "the device is already on");
}

TEST(SimulatedDeviceTest, TakesFirmwareByFileAccessAndRunsItAfterTheNextStart) {
    const auto device = SimulatedDevice::Builder().bufferSize(1000).build();
    Start(*device);
    const std::string body = RandomBytes(10'001, 3);
    {
        GvcpClient client;
        ASSERT_TRUE(client.Upload(Payload{.body = body}.Encode(), 1000));
    }
    EXPECT_EQ(device->Firmware().State().lastStatus, "Firmware applied: MirskoSim 2.1");
    EXPECT_EQ(StoredBytes(*device), body);
    EXPECT_EQ(device->Firmware().State().running, (FirmwareVersion{1, 0}));
    device->Stop();
    Start(*device);
    EXPECT_EQ(device->Firmware().State().running, (FirmwareVersion{2, 1}));
}

TEST(SimulatedDeviceTest, RebootsOnDeviceResetAndComesBackWithNewFirmware) {
    const auto device = SimulatedDevice::Builder().rebootTime(std::chrono::seconds(1)).build();
    Start(*device);
    GvcpClient client;
    ASSERT_TRUE(client.Upload(Payload{.body = "new"}.Encode(), 4096));
    EXPECT_EQ(client.Write(features::kReset, 1), 0) << "answered before it goes";
    ASSERT_TRUE(WaitUntil([&] { return !device->IsServing(); }));
    EXPECT_FALSE(client.Read(0x24, 0));
    ASSERT_TRUE(WaitUntil([&] { return device->IsServing(); }));
    EXPECT_EQ(device->Firmware().State().running, (FirmwareVersion{2, 1}));
    EXPECT_EQ(device->Firmware().State().resets, 1U);
    EXPECT_EQ(client.Read(0xa00), 0U) << "control does not outlive a reset";
    EXPECT_THAT(client.Ask("0084", "0000008800000008"), HasSubstr("322e3100"));
}

TEST(SimulatedDeviceTest, RebootsOnAResetRecord) {
    const auto device =
        SimulatedDevice::Builder().rebootTime(std::chrono::milliseconds(50)).build();
    Start(*device);
    GvcpClient client;
    ASSERT_TRUE(client.Upload(Payload{.kind = 2, .body = "right"}.Encode(), 4096));
    ASSERT_TRUE(client.Upload(Payload{.kind = 3}.Encode(), 4096));
    ASSERT_TRUE(WaitUntil([&] { return device->Events().Count("power_on") == 2; }));
    ASSERT_TRUE(WaitUntil([&] { return device->IsServing(); }));
    EXPECT_EQ(device->Firmware().State().deviceId, "right");
    EXPECT_THAT(Discover(client, "127.0.0.1").at(0), HasSubstr(ToHex({'r', 'i', 'g', 'h', 't'})));
}

TEST(SimulatedDeviceTest, EndsControlOfAnApplicationThatFallsSilent) {
    const auto device = SimulatedDevice::Builder().build();
    Start(*device);
    GvcpClient silent;
    EXPECT_EQ(silent.Write(0xa00, 2), 0);
    EXPECT_EQ(silent.Write(0x938, 500), 0);
    GvcpClient other;
    EXPECT_EQ(other.Write(0xa00, 2), 0x8006);
    ASSERT_TRUE(WaitUntil([&] { return device->Events().Count("control_ended") == 1; }));
    EXPECT_EQ(other.Write(0xa00, 2), 0);
}

TEST(SimulatedDeviceTest, GivesItsControllerTheHeartbeatsTimeAfterAnOperationLongerThanThat) {
    using std::chrono::milliseconds;
    const auto device = GvcpOnly().executeLatency(milliseconds(900)).build();
    Start(*device);
    GvcpClient client;
    ASSERT_EQ(client.Write(0xa00, 2), 0);
    ASSERT_EQ(client.Write(0x938, 500), 0);
    ASSERT_EQ(client.Write(features::kPlainBlock + features::kOpenMode, 1), 0);
    const auto start = std::chrono::steady_clock::now();
    client.Send("4201008200080101" + Hex32(features::kPlainBlock + features::kExecute) + Hex32(1));
    EXPECT_THAT(client.Receive().value_or("nothing"), testing::StartsWith("00000083"));
    ASSERT_TRUE(WaitUntil([&] { return device->Events().Count("control_ended") == 1; }));
    EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(900 + 500));
}

TEST(SimulatedDeviceTest, FallsMuteAtTheByteAsAFault) {
    FaultOptions faults;
    faults.muteAtByte = 2000;
    const auto device = SimulatedDevice::Builder().bufferSize(512).faults(faults).build();
    Start(*device);
    GvcpClient client;
    EXPECT_FALSE(client.Upload(Payload{.body = std::string(5000, 'x')}.Encode(), 512));
    EXPECT_TRUE(device->IsServing());
    EXPECT_EQ(device->Events().Count("fault"), 1U);
    EXPECT_THAT(Discover(client, "127.0.0.1"), SizeIs(0));
    device->Stop();
    EXPECT_EQ(device->Firmware().State().lastStatus, "Transfer incomplete: 2048 bytes received");
    Start(*device);
    EXPECT_TRUE(client.Upload(Payload{.body = std::string(5000, 'x')}.Encode(), 512))
        << "a fault strikes once";
}

TEST(SimulatedDeviceTest, FallsMuteAfterSoManyCommandsAsAFault) {
    FaultOptions faults;
    faults.muteAfterCommands = 2;
    const auto device = GvcpOnly().faults(faults).build();
    Start(*device);
    GvcpClient client;
    EXPECT_THAT(Discover(client, "127.0.0.1"), SizeIs(1));
    EXPECT_EQ(client.Write(0x0a00, 2), 0U);
    EXPECT_EQ(client.Read(0x0a00), 2U);
    EXPECT_FALSE(client.Read(0x0a00, 2).has_value());
    EXPECT_EQ(device->Events().Count("fault"), 1U);
}

TEST(SimulatedDeviceTest, GivesControlToAnotherApplicationAtTheByteAsAFault) {
    FaultOptions faults;
    faults.loseControlAtByte = 2000;
    const auto device = GvcpOnly().bufferSize(512).faults(faults).build();
    Start(*device);
    GvcpClient client;
    EXPECT_FALSE(client.Upload(Payload{.body = std::string(5000, 'x')}.Encode(), 512));
    EXPECT_EQ(client.Read(0x0a00), 2U) << "still controlled";
    EXPECT_EQ(client.Write(0x0a00, 2), 0x8006U);
    EXPECT_EQ(device->Firmware().State().lastStatus, "Transfer incomplete: 2048 bytes received");
    device->Stop();
    Start(*device);
    EXPECT_TRUE(client.Upload(Payload{.body = std::string(5000, 'x')}.Encode(), 512))
        << "a fault strikes once";
}

TEST(SimulatedDeviceTest, AnswersDiscoveryLateOrNotAtFirstAsAFault) {
    FaultOptions faults;
    faults.discoveriesLost = 2;
    faults.discoveryDelay = std::chrono::milliseconds(300);
    const auto device = GvcpOnly().faults(faults).build();
    Start(*device);
    GvcpClient client;
    client.Send(kDiscovery);
    client.Send(kDiscovery);
    EXPECT_FALSE(client.Receive(600).has_value());
    const auto asked = std::chrono::steady_clock::now();
    client.Send(kDiscovery);
    EXPECT_TRUE(client.Receive().has_value());
    EXPECT_GE(std::chrono::steady_clock::now() - asked, faults.discoveryDelay);
}

TEST(SimulatedDeviceTest, RebootsAtTheByteAsAFault) {
    FaultOptions faults;
    faults.rebootAtByte = 1;
    const auto device =
        SimulatedDevice::Builder().rebootTime(std::chrono::milliseconds(50)).faults(faults).build();
    Start(*device);
    GvcpClient client;
    EXPECT_FALSE(client.Upload(Payload{.body = "x"}.Encode(), 4096));
    ASSERT_TRUE(WaitUntil([&] { return device->Events().Count("power_on") == 2; }));
    EXPECT_EQ(device->Firmware().State().resets, 1U);
}

TEST(SimulatedDeviceTest, VanishesAtTheByteAsAFaultUntilPluggedInAgain) {
    FaultOptions faults;
    faults.vanishAtByte = 1;
    const auto device =
        SimulatedDevice::Builder().rebootTime(std::chrono::milliseconds(0)).faults(faults).build();
    Start(*device);
    GvcpClient client;
    EXPECT_FALSE(client.Upload(Payload{.body = "x"}.Encode(), 4096));
    ASSERT_TRUE(WaitUntil([&] { return device->Events().Count("unplugged") == 1; }));
    EXPECT_FALSE(device->IsServing());
    device->Reboot();  // by a record that had arrived with the last byte
    EXPECT_FALSE(WaitUntil([&] { return device->IsServing(); }, std::chrono::milliseconds(200)));
    EXPECT_EQ(device->Firmware().State().resets, 0U);
    device->Stop();
    Start(*device);
    EXPECT_THAT(Discover(client, "127.0.0.1"), SizeIs(1));
}

TEST(SimulatedDeviceTest, ArrivesByteIdenticalOverABadNetworkWithAPatientClient) {
    FaultOptions faults;
    faults.received.lossPercent = 5;
    faults.received.duplicatePercent = 5;
    faults.received.reorderPercent = 5;
    faults.sent = faults.received;
    const auto device = SimulatedDevice::Builder().faults(faults).build();
    Start(*device);
    GvcpClient client;
    const std::string body = RandomBytes(20'000, 4);
    ASSERT_TRUE(client.Upload(Payload{.body = body}.Encode(), 4096));
    EXPECT_EQ(StoredBytes(*device), body);
    EXPECT_GT(device->GvcpCounts()["REPEATED"], 0U);
}

TEST(SimulatedDeviceTest, StopsAtOnceWhileItIsSlow) {
    const auto device = SimulatedDevice::Builder().latency(std::chrono::seconds(30)).build();
    Start(*device);
    GvcpClient client;
    client.Send(
        "4201008000040001"
        "00000024");
    ASSERT_TRUE(WaitUntil([&] { return device->GvcpCounts()["READREG"] == 1; }));
    const auto begin = std::chrono::steady_clock::now();
    device->Stop();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

TEST(SimulatedDeviceTest, IsALoaderThatAnswersDiscoveryOnly) {
    const auto device = SimulatedDevice::Builder().profile(Profile::kLoader).build();
    Start(*device);
    GvcpClient client;
    EXPECT_THAT(Discover(client, "127.0.0.1"), SizeIs(1));
    EXPECT_EQ(client.Ask("0080", "00000024", 1), "");
}

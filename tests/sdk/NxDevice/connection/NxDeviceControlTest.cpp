#include <NxDevice/NxDevice.h>

#include <array>
#include <chrono>
#include <span>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>
#include <NxDevice/NxDfwPayload.h>
#include <NxDevice/NxTftpClient.h>
#include <NxGenICam/NxGenParameterArray.h>
#include <internal/NxSystem/UdpSocket.h>

#include "GvcpClient.h"
#include "NxDeviceFixture.h"
#include "Process.h"
#include "simulator/device/SimulatedDevice.h"

using simulator::FaultOptions;
using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::StrEq;

namespace {

/// Taking, sharing, keeping and losing the control of a device.
class NxDeviceControlTest : public NxDeviceTest {};

TEST_F(NxDeviceControlTest, SaysThatAnotherApplicationControlsTheDevice) {
    FaultOptions faults;
    faults.refuseControl = true;
    StartDevice(Builder().faults(faults));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Connect(), nullptr);
    EXPECT_LT(std::chrono::steady_clock::now() - start, milliseconds(5000));
    EXPECT_EQ(result.GetCode(), kNxAccessDenied);
    EXPECT_THAT(result.GetDescription().GetAscii(),
                StrEq("Cannot control 127.0.0.1 on lo: another application has control (GVCP "
                      "ACCESS_DENIED 0x8006)"));
}

TEST_F(NxDeviceControlTest, SaysWithinFiveSecondsThatNothingAnswers) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Connect(), nullptr);
    EXPECT_LT(std::chrono::steady_clock::now() - start, milliseconds(5500));
    EXPECT_EQ(result.GetCode(), kNxTimeout);
    EXPECT_THAT(result.GetDescription().GetAscii(), HasSubstr("127.0.0.1 on lo does not respond"));
}

TEST_F(NxDeviceControlTest, RefusesConnectionIdsAndInterfacesThatDoNotExist) {
    EXPECT_EQ(Connect("nonsense"), nullptr);
    EXPECT_EQ(result.GetCode(), kNxInvalidArgument);
    EXPECT_EQ(Connect("127.0.0.1%nowhere"), nullptr);
    EXPECT_EQ(result.GetCode(), kNxSocket);
    EXPECT_EQ(NxDevice::CreateAndConnect(nullptr, &result), nullptr);
    EXPECT_EQ(result.GetCode(), kNxInvalidArgument);
    NxDevice::Free(nullptr);
}

TEST_F(NxDeviceControlTest, EndsAWriteToADeviceThatGoesMuteWithAClearLine) {
    FaultOptions faults;
    faults.muteAtByte = 500000;
    StartAndConnect(Builder().faults(faults));
    const NxResult written = FailingUpdate();
    EXPECT_EQ(written.GetCode(), kNxTimeout);
    EXPECT_THAT(written.GetDescription().GetAscii(),
                testing::MatchesRegex("Cannot write the device's file RemoteUpdateDfw at byte "
                                      "[0-9]+ of 1048640: 127.0.0.1 on lo does not respond .*"));
}

TEST_F(NxDeviceControlTest, EndsAWriteToADeviceThatRebootsWithAClearLine) {
    FaultOptions faults;
    faults.rebootAtByte = 500000;
    StartAndConnect(Builder().faults(faults).rebootTime(milliseconds(300)));
    const NxResult written = FailingUpdate();
    EXPECT_EQ(written.GetCode(), kNxControlLost);
    EXPECT_THAT(written.GetDescription().GetAscii(),
                HasSubstr("Lost control of 127.0.0.1 on lo: the device restarted"));
}

TEST_F(NxDeviceControlTest, EndsAWriteToADeviceThatIsUnpluggedWithAClearLine) {
    FaultOptions faults;
    faults.vanishAtByte = 500000;
    StartAndConnect(Builder().faults(faults));
    const NxResult written = FailingUpdate();
    EXPECT_THAT(written.GetDescription().GetAscii(), HasSubstr("does not respond"));
}

TEST_F(NxDeviceControlTest, EndsAWriteToADeviceThatAnotherApplicationTookOver) {
    FaultOptions faults;
    faults.loseControlAtByte = 500000;
    StartAndConnect(Builder().faults(faults));
    const NxResult written = FailingUpdate();
    EXPECT_EQ(written.GetCode(), kNxControlLost);
    EXPECT_THAT(written.GetDescription().GetAscii(),
                testing::MatchesRegex("Cannot write the device's file RemoteUpdateDfw at byte "
                                      "[0-9]+ of 1048640: Lost control of 127.0.0.1 on lo: another "
                                      "application took control \\(GVCP ACCESS_DENIED 0x8006\\)"));
    EXPECT_EQ(simulated->Firmware().State().lastStatus.find("Firmware applied"), std::string::npos);
}

TEST_F(NxDeviceControlTest, SaysWithinFiveSecondsThatTheDeviceFellMuteWhileConnecting) {
    StartAndConnect(Builder());
    const std::uint64_t wholeConnection = Commands();
    NxDevice::Free(device);
    device = nullptr;
    simulated.reset();
    ASSERT_GT(wholeConnection, 10U);
    // Before control, right after it, at the description's address, in the middle of it, at its
    // end.
    for (const std::uint64_t commands : {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{2},
                                         wholeConnection / 2, wholeConnection - 2}) {
        SCOPED_TRACE(commands);
        FaultOptions faults;
        faults.muteAfterCommands = commands;
        StartDevice(Builder().faults(faults));
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(Connect(), nullptr);
        EXPECT_LT(std::chrono::steady_clock::now() - start, milliseconds(5500));
        EXPECT_EQ(result.GetCode(), kNxTimeout);
        EXPECT_THAT(result.GetDescription().GetAscii(),
                    HasSubstr("127.0.0.1 on lo does not respond"));
        EXPECT_EQ(simulated->Events().Count("fault"), 1U);
        simulated.reset();
    }
}

TEST_F(NxDeviceControlTest, SharesControlBetweenConnectionsOfOneProcess) {
    StartAndConnect(Builder());
    const std::uint64_t commands = Commands();
    NxDevice* second = Connect("127.0.0.1");
    ASSERT_NE(second, nullptr) << result.GetDescription().GetAscii();
    // Neither control nor the description is asked for again.
    EXPECT_LT(Commands() - commands, 5U);
    EXPECT_NE(second->GetParameters(), device->GetParameters());
    NxDevice::Free(device);
    device = second;
    ExpectOK(Update(10000));
    ExpectUpdated();
}

TEST_F(NxDeviceControlTest, GivesControlUpWithTheLastConnection) {
    StartAndConnect(Builder());
    NxDevice::Free(device);
    const auto start = std::chrono::steady_clock::now();
    device = Connect();
    EXPECT_NE(device, nullptr) << result.GetDescription().GetAscii();
    EXPECT_LT(std::chrono::steady_clock::now() - start, milliseconds(1500));
}

TEST_F(NxDeviceControlTest, DownloadsTheDescriptionOnce) {
    StartAndConnect(Builder());
    const std::uint64_t whole = simulated->GvcpCounts()["READMEM"];
    ASSERT_GT(whole, 15U);
    NxDevice::Free(device);
    device = Connect();
    ASSERT_NE(device, nullptr) << result.GetDescription().GetAscii();
    EXPECT_LE(simulated->GvcpCounts()["READMEM"], whole + 6);
    ExpectOK(Update(10000));
    ExpectUpdated();
}

TEST_F(NxDeviceControlTest, DownloadsTheDescriptionOfAnotherVersionOfTheDevice) {
    const auto connect = [this](const simulator::FirmwareVersion& version) {
        StartDeviceAgain(Builder().serial("SIM-OTHER").version(version));
        device = Connect();
        ASSERT_NE(device, nullptr) << result.GetDescription().GetAscii();
    };
    connect({1, 0});
    const std::uint64_t whole = simulated->GvcpCounts()["READMEM"];
    NxDevice::Free(device);
    simulated.reset();
    connect({1, 1});
    EXPECT_GE(simulated->GvcpCounts()["READMEM"], whole);
}

TEST_F(NxDeviceControlTest, DownloadsTheDescriptionAgainAfterTheDeviceWasRestarted) {
    StartAndConnect(Builder().rebootTime(milliseconds(50)));
    const std::uint64_t whole = simulated->GvcpCounts()["READMEM"];
    simulated->Reboot();
    EXPECT_TRUE(WaitUntil([this] { return simulated->Events().Count("power_on") == 2; }));
    EXPECT_TRUE(WaitUntil([this] { return simulated->IsServing(); }));
    NxDevice::Free(device);
    device = Connect();
    ASSERT_NE(device, nullptr) << result.GetDescription().GetAscii();
    EXPECT_GE(simulated->GvcpCounts()["READMEM"], 2 * whole);
}

TEST_F(NxDeviceControlTest, TakesControlAgainOfADeviceThatThisProcessReset) {
    StartAndConnect(Builder().rebootTime(milliseconds(700)));
    const NxGenParameterArray* const before = device->GetParameters();
    EXPECT_EQ(device->GetParameters(), before);
    const std::uint64_t whole = simulated->GvcpCounts()["READMEM"];

    std::array<unsigned char, 4096> record{};
    unsigned int length = 0;
    const std::string payload = folder.Write("payload.dfw", Payload().Encode());
    ExpectOK(NxDfwPayload::GetResetRecord(NxString(payload), record.data(), 4096, length));
    NxTftpClient client;
    ExpectOK(client.Init(NxString(kId), "RemoteUpdateDfw"));
    ExpectOK(client.SendData(record.data(), length));
    // The device still answers, for 100 ms.
    NxString model;
    ExpectOK(device->GetParameters()->GetStringValue("DeviceModelName", model));
    EXPECT_NE(device->GetParameters(), before);
    EXPECT_GE(simulated->GvcpCounts()["READMEM"], 2 * whole);
    ExpectOK(Update(10000));
    ExpectUpdated();
}

TEST_F(NxDeviceControlTest, LetsAFailureOfTftpSayWhyFileAccessWasNotPossible) {
    FaultOptions faults;
    faults.refuseControl = true;
    StartDevice(Builder().faults(faults));
    EXPECT_EQ(Connect(), nullptr);
    NxTftpClient client;
    ExpectOK(client.Init(NxString(kId), "nonsense"));
    const auto read = [&client] {
        std::array<unsigned char, 64> buffer{};
        const NxResult outcome = client.GetData(buffer.data(), 64, nullptr);
        EXPECT_EQ(outcome.GetCode(), kNxTftpError);
        return std::string(outcome.GetDescription().GetAscii());
    };
    const std::string why =
        "; GenICam file access was not possible: Cannot control 127.0.0.1 on lo: another "
        "application has control (GVCP ACCESS_DENIED 0x8006)";
    const std::string both = read();
    EXPECT_TRUE(both.starts_with("Cannot read nonsense from 127.0.0.1 on lo: its TFTP server "));
    EXPECT_TRUE(both.ends_with(why)) << both;
    EXPECT_EQ(std::string(client.SendFile("/nowhere").GetDescription().GetAscii()).find(why),
              std::string::npos);

    simulated.reset();
    StartAndConnect(Builder());
    EXPECT_EQ(read() + why, both);
}

TEST_F(NxDeviceControlTest, LeavesTheDevicesConfigurationAsItWas) {
    constexpr std::uint32_t kConfiguration = 0x954;
    GvcpClient other;
    StartAndConnect(Builder());
    EXPECT_EQ(other.Read(kConfiguration), 2U) << "PENDING_ACK enabled";
    NxDevice::Free(device);
    device = nullptr;
    EXPECT_EQ(other.Read(kConfiguration), 0U);
}

TEST_F(NxDeviceControlTest, KeepsControlWhileNothingIsDone) {
    simulator::DeviceOptions options;
    options.heartbeatTimeout = 400;
    StartAndConnect(Builder().options(options));
    EXPECT_TRUE(WaitUntil([this] { return simulated->GvcpCounts()["HEARTBEAT"] >= 12; }));
    ExpectOK(Update(10000));
    ExpectUpdated();
}

TEST_F(NxDeviceControlTest, SendsThreeHeartbeatsPerTimeoutWhileIdle) {
    simulator::DeviceOptions options;
    options.heartbeatTimeout = 600;
    StartAndConnect(Builder().options(options));
    const std::uint64_t others = Commands();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(WaitUntil([this] { return simulated->GvcpCounts()["HEARTBEAT"] >= 10; }));
    EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(9 * 200));
    EXPECT_EQ(Commands(), others);
    ExpectOK(Update(10000));
    ExpectUpdated();
}

TEST_F(NxDeviceControlTest, SendsNoMoreHeartbeatsWhileTheDeviceTakesItsTime) {
    simulator::DeviceOptions options;
    options.heartbeatTimeout = 600;
    options.operationTime = milliseconds(1000);
    StartAndConnect(Builder().options(options));
    const auto start = std::chrono::steady_clock::now();
    ExpectOK(Update(5000));
    const auto heartbeats = static_cast<std::int64_t>(simulated->GvcpCounts()["HEARTBEAT"]);
    EXPECT_LE(heartbeats, (std::chrono::steady_clock::now() - start) / milliseconds(200) + 1);
    ExpectUpdated();
}

TEST_F(NxDeviceControlTest, NoticesWhileIdleThatTheDeviceWasRestarted) {
    simulator::DeviceOptions options;
    options.heartbeatTimeout = 400;
    options.rebootTime = milliseconds(50);
    StartAndConnect(Builder().options(options));
    simulated->Reboot();
    EXPECT_TRUE(WaitUntil([this] {
        NxString text;
        return device->GetParameters()->GetStringValue("DeviceModelName", text).GetCode() ==
               kNxControlLost;
    }));
    // A new connection takes control again.
    NxDevice* second = Connect();
    ASSERT_NE(second, nullptr) << result.GetDescription().GetAscii();
    NxDevice::Free(second);
}

class NxDeviceTakeOverTest : public NxDeviceControlTest,
                             public testing::WithParamInterface<std::uint32_t> {};

TEST_P(NxDeviceTakeOverTest, TakesOverFromAProgramThatDiedAsSoonAsTheDeviceLetsGo) {
    simulator::DeviceOptions options;
    options.heartbeatTimeout = GetParam();
    StartDevice(Builder().options(options));
    // Takes control (WRITEREG 2 to 0x0A00) and is not heard of again.
    UdpSocket dead;
    ASSERT_TRUE(dead.Open("lo", 0).IsOK());
    const std::string command("\x42\x01\x00\x82\x00\x08\x00\x01\x00\x00\x0A\x00\x00\x00\x00\x02",
                              16);
    ASSERT_TRUE(dead.Send({0x7F000001, 3956}, std::as_bytes(std::span(command))).IsOK());
    std::array<std::byte, 64> answer{};
    std::size_t length = 0;
    Endpoint from;
    bool timedOut = false;
    ASSERT_TRUE(
        dead.Receive(answer, UdpSocket::Clock::now() + milliseconds(5000), length, from, timedOut)
            .IsOK());
    ASSERT_EQ(length, 12U);
    ASSERT_EQ(answer[0], std::byte{0});
    // Its control ends with the heartbeat timeout.
    device = Connect();
    EXPECT_NE(device, nullptr) << result.GetDescription().GetAscii();
}

INSTANTIATE_TEST_SUITE_P(HeartbeatTimeouts, NxDeviceTakeOverTest, testing::Values(3000U, 10000U));

TEST_F(NxDeviceControlTest, DoesNotConnectToADeviceInItsBootLoader) {
    StartDevice(Builder().profile(simulator::Profile::kLoader));
    EXPECT_EQ(Connect(), nullptr);
    EXPECT_THAT(result.GetDescription().GetAscii(), HasSubstr("127.0.0.1 on lo"));
}

}  // namespace

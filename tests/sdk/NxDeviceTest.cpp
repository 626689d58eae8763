#include <NxDevice/NxDevice.h>

#include <array>
#include <chrono>
#include <span>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>
#include <NxGenICam/NxGenEnum.h>
#include <NxGenICam/NxGenEnumEntry.h>
#include <NxGenICam/NxGenFile.h>
#include <NxGenICam/NxGenParameterArray.h>
#include <NxSystem/UdpSocket.h>

#include "../simulator/Payload.h"
#include "Process.h"
#include "TemporaryFolder.h"
#include "simulator/SimulatedDevice.h"

using simulator::DatagramFaults;
using simulator::FaultOptions;
using simulator::SimulatedDevice;
using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::StrEq;

namespace {

constexpr const char* kId = "127.0.0.1%lo";

class NxDeviceTest : public testing::Test {
  protected:
    using Builder = SimulatedDevice::Builder;

    ~NxDeviceTest() override { NxDevice::Free(device); }

    void StartDevice(const Builder& builder) {
        simulated = builder.build();
        std::string why;
        ASSERT_TRUE(simulated->Start(why)) << why;
    }
    void StartAndConnect(const Builder& builder) {
        StartDevice(builder);
        device = Connect();
        ASSERT_NE(device, nullptr) << result.GetDescription().GetAscii();
    }
    NxDevice* Connect(const char* id = kId) {
        return NxDevice::CreateAndConnect(NxString(id), &result);
    }
    // Writes a payload with a body of that many bytes into RemoteUpdateDfw and closes it.
    NxResult Update(std::size_t bodySize) {
        Payload payload;
        payload.body = RandomBytes(bodySize, 11);
        body = payload.body;
        const std::string path = folder.Write("payload.dfw", payload.Encode());
        NxGenFile file;
        NxResult written =
            file.Open(device->GetParameters(), "RemoteUpdateDfw", NxGenOpenMode::kWrite);
        if (written.IsOK()) {
            written = file.WriteFrom(path);
            const NxResult closed = file.Close();
            if (written.IsOK()) {
                written = closed;
            }
        }
        return written;
    }
    void ExpectUpdated() {
        EXPECT_TRUE(WaitUntil([this] { return !simulated->Firmware().IsFlashing(); }));
        EXPECT_TRUE(ReadFile(simulated->Firmware().Folder() / "firmware.bin") == body)
            << simulated->Firmware().Status();
    }
    std::uint64_t Commands() {
        std::uint64_t sum = 0;
        for (const auto& [kind, count] : simulated->GvcpCounts()) {
            // A busy machine answers some commands late; they are sent again then.
            sum += kind != "HEARTBEAT" && kind != "REPEATED" ? count : 0;
        }
        return sum;
    }
    // Runs an update that must fail, and its clean-up, within 15 seconds.
    NxResult FailingUpdate() {
        const auto start = std::chrono::steady_clock::now();
        const NxResult written = Update(1 << 20U);
        NxDevice::Free(device);
        device = nullptr;
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15));
        EXPECT_FALSE(written.IsOK());
        return written;
    }

    TemporaryFolder folder;
    std::unique_ptr<SimulatedDevice> simulated;
    NxDevice* device = nullptr;
    NxResult result;
    std::string body;
};

void ExpectOK(const NxResult& result) {
    EXPECT_TRUE(result.IsOK()) << result.GetDescription().GetAscii();
}

TEST_F(NxDeviceTest, ReadsTextsAndEnumerations) {
    StartAndConnect(Builder().model("Model 7"));
    NxString text;
    ExpectOK(device->GetParameters()->GetStringValue("DeviceModelName", text));
    EXPECT_THAT(text.GetAscii(), StrEq("Model 7"));
    NxGenEnum* files = device->GetParameters()->GetEnum("FileSelector");
    ASSERT_NE(files, nullptr);
    NxGenEnumEntry entry;
    ExpectOK(files->GetEntryByName("RemoteUpdateDfw", entry));
    EXPECT_EQ(device->GetParameters()->GetEnum("Nonsense"), nullptr);
    EXPECT_TRUE(NxGenFile::IsSupported(device->GetParameters()));
}

TEST_F(NxDeviceTest, ConnectsWithoutAnInterface) {
    StartDevice(Builder());
    device = Connect("127.0.0.1");
    ASSERT_NE(device, nullptr) << result.GetDescription().GetAscii();
}

TEST_F(NxDeviceTest, ReadsAZippedDescription) {
    StartAndConnect(Builder().zippedXml(true));
    EXPECT_TRUE(NxGenFile::IsSupported(device->GetParameters()));
}

TEST_F(NxDeviceTest, ReadsTheDescriptionThatTheSecondUrlNames) {
    simulator::DeviceOptions options;
    options.secondUrlOnly = true;
    StartAndConnect(Builder().options(options));
    EXPECT_TRUE(NxGenFile::IsSupported(device->GetParameters()));
}

TEST_F(NxDeviceTest, WritesSixteenMebibytesThroughBuffersOfBothSizes) {
    for (const std::uint32_t bufferSize : {4096U, 65536U}) {
        StartAndConnect(Builder().bufferSize(bufferSize));
        ExpectOK(Update(std::size_t{16} << 20U));
        ExpectUpdated();
        NxDevice::Free(device);
        device = nullptr;
    }
}

struct ChunkCost {
    std::uint32_t bufferSize;
    bool concatenation;
    simulator::RegisterLayout layout;
    std::uint64_t commands;
};

class NxDeviceChunkTest : public NxDeviceTest, public testing::WithParamInterface<ChunkCost> {};

// The difference between a long and a short update is nothing but whole chunks.
TEST_P(NxDeviceChunkTest, TakesTheFewestCommands) {
    const ChunkCost& cost = GetParam();
    StartAndConnect(Builder()
                        .bufferSize(cost.bufferSize)
                        .concatenation(cost.concatenation)
                        .layout(cost.layout));
    const std::size_t first = 4 * std::size_t{cost.bufferSize};
    const std::uint64_t start = Commands();
    ExpectOK(Update(first - 64));
    const std::uint64_t middle = Commands();
    ExpectUpdated();
    ExpectOK(Update(first + 8 * cost.bufferSize - 64));
    const std::uint64_t end = Commands();
    ExpectUpdated();
    EXPECT_EQ((end - middle) - (middle - start), 8 * cost.commands);
}

constexpr auto kPlain = simulator::RegisterLayout::kPlain;
constexpr auto kDependent = simulator::RegisterLayout::kSelectorDependent;

INSTANTIATE_TEST_SUITE_P(
    Buffers, NxDeviceChunkTest,
    testing::Values(ChunkCost{512, true, kPlain, 3}, ChunkCost{4096, true, kPlain, 10},
                    ChunkCost{65536, true, kPlain, 125}, ChunkCost{512, false, kPlain, 6},
                    ChunkCost{4096, false, kPlain, 13}, ChunkCost{65536, false, kPlain, 128},
                    ChunkCost{4096, true, kDependent, 10}, ChunkCost{512, false, kDependent, 6}),
    [](const auto& cost) {
        return std::to_string(cost.param.bufferSize) + "Bytes" +
               (cost.param.concatenation ? "Combined" : "Single") +
               (cost.param.layout == kPlain ? "Plain" : "SelectorDependent");
    });

TEST_F(NxDeviceTest, GoesOnAfterShortWrites) {
    StartAndConnect(Builder().shortWriteEvery(3));
    ExpectOK(Update(100000));
    ExpectUpdated();
}

TEST_F(NxDeviceTest, WaitsForAnOperationThatTakesTime) {
    StartAndConnect(Builder().operationTime(milliseconds(20)));
    ExpectOK(Update(40000));
    ExpectUpdated();
}

TEST_F(NxDeviceTest, WaitsWhenTheDeviceAsksForTime) {
    StartAndConnect(Builder().executeLatency(milliseconds(700)));
    ExpectOK(Update(5000));
    ExpectUpdated();
    EXPECT_GT(simulated->GvcpCounts()["PENDING_ACK"], 0U);
}

struct Disturbance {
    const char* name;
    DatagramFaults faults;
};

class NxDeviceDisturbanceTest : public NxDeviceTest,
                                public testing::WithParamInterface<Disturbance> {};

TEST_P(NxDeviceDisturbanceTest, WritesIdenticalBytes) {
    for (const std::uint32_t seed : {1U, 2U}) {
        FaultOptions faults;
        faults.seed = seed;
        faults.received = GetParam().faults;
        faults.sent = GetParam().faults;
        faults.staleAckPercent = 2;
        faults.busyPercent = 2;
        StartAndConnect(Builder().faults(faults).bufferSize(16384));
        ExpectOK(Update(120000));
        ExpectUpdated();
        NxDevice::Free(device);
        device = nullptr;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Faults, NxDeviceDisturbanceTest,
    testing::Values(Disturbance{"Loss1", {.lossPercent = 1}},
                    Disturbance{"Loss20", {.lossPercent = 20}},
                    Disturbance{"Duplicates20", {.duplicatePercent = 20}},
                    Disturbance{"Reordering20", {.reorderPercent = 20}},
                    Disturbance{"Delay20", {.delayPercent = 20, .delay = milliseconds(60)}},
                    Disturbance{"AllOfThem",
                                {.lossPercent = 10, .duplicatePercent = 10, .reorderPercent = 10}}),
    [](const auto& disturbance) { return disturbance.param.name; });

TEST_F(NxDeviceTest, SaysThatAnotherApplicationControlsTheDevice) {
    FaultOptions faults;
    faults.refuseControl = true;
    StartDevice(Builder().faults(faults));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Connect(), nullptr);
    EXPECT_LT(std::chrono::steady_clock::now() - start, milliseconds(5000));
    EXPECT_EQ(result.GetCode(), kNxAccessDenied);
    EXPECT_THAT(result.GetDescription().GetAscii(),
                StrEq("Cannot control 127.0.0.1 on lo: another application controls it (GVCP "
                      "ACCESS_DENIED 0x8006)"));
}

TEST_F(NxDeviceTest, SaysWithinFiveSecondsThatNothingAnswers) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Connect(), nullptr);
    EXPECT_LT(std::chrono::steady_clock::now() - start, milliseconds(5500));
    EXPECT_EQ(result.GetCode(), kNxTimeout);
    EXPECT_THAT(result.GetDescription().GetAscii(), HasSubstr("127.0.0.1 on lo does not answer"));
}

TEST_F(NxDeviceTest, RefusesConnectionIdsAndInterfacesThatDoNotExist) {
    EXPECT_EQ(Connect("nonsense"), nullptr);
    EXPECT_EQ(result.GetCode(), kNxInvalidArgument);
    EXPECT_EQ(Connect("127.0.0.1%nowhere"), nullptr);
    EXPECT_EQ(result.GetCode(), kNxSocket);
    EXPECT_EQ(NxDevice::CreateAndConnect(nullptr, &result), nullptr);
    EXPECT_EQ(result.GetCode(), kNxInvalidArgument);
    NxDevice::Free(nullptr);
}

TEST_F(NxDeviceTest, EndsAWriteToADeviceThatGoesMuteWithAClearLine) {
    FaultOptions faults;
    faults.muteAtByte = 500000;
    StartAndConnect(Builder().faults(faults));
    const NxResult written = FailingUpdate();
    EXPECT_EQ(written.GetCode(), kNxTimeout);
    EXPECT_THAT(written.GetDescription().GetAscii(),
                testing::MatchesRegex("Cannot write the device's file RemoteUpdateDfw at byte "
                                      "[0-9]+ of 1048640: 127.0.0.1 on lo does not answer .*"));
}

TEST_F(NxDeviceTest, EndsAWriteToADeviceThatRebootsWithAClearLine) {
    FaultOptions faults;
    faults.rebootAtByte = 500000;
    StartAndConnect(Builder().faults(faults).rebootTime(milliseconds(300)));
    const NxResult written = FailingUpdate();
    EXPECT_EQ(written.GetCode(), kNxControlLost);
    EXPECT_THAT(written.GetDescription().GetAscii(),
                HasSubstr("Lost control of 127.0.0.1 on lo: the device was restarted"));
}

TEST_F(NxDeviceTest, EndsAWriteToADeviceThatIsUnpluggedWithAClearLine) {
    FaultOptions faults;
    faults.vanishAtByte = 500000;
    StartAndConnect(Builder().faults(faults));
    const NxResult written = FailingUpdate();
    EXPECT_THAT(written.GetDescription().GetAscii(), HasSubstr("does not answer"));
}

TEST_F(NxDeviceTest, SharesControlBetweenConnectionsOfOneProcess) {
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

TEST_F(NxDeviceTest, LetsOtherThreadsAskForProgressAndUseTheDeviceMeanwhile) {
    StartAndConnect(Builder());
    NxDevice* second = Connect();
    ASSERT_NE(second, nullptr) << result.GetDescription().GetAscii();
    const std::string path = folder.Write("payload.dfw", RandomBytes(200000, 3));
    NxGenFile file;
    ExpectOK(file.Open(device->GetParameters(), "RemoteUpdateDfw", NxGenOpenMode::kWrite));
    std::thread writer([&] { ExpectOK(file.WriteFrom(path)); });
    long done = 0;
    long total = 0;
    EXPECT_TRUE(WaitUntil([&] {
        const long before = done;
        ExpectOK(file.GetProgress(done, total));
        EXPECT_GE(done, before);
        NxString model;
        ExpectOK(second->GetParameters()->GetStringValue("DeviceModelName", model));
        return done == 200000;
    }));
    EXPECT_EQ(total, 200000);
    writer.join();
    ExpectOK(file.Close());
    NxDevice::Free(second);
}

TEST_F(NxDeviceTest, GivesControlUpWithTheLastConnection) {
    StartAndConnect(Builder());
    NxDevice::Free(device);
    const auto start = std::chrono::steady_clock::now();
    device = Connect();
    EXPECT_NE(device, nullptr) << result.GetDescription().GetAscii();
    EXPECT_LT(std::chrono::steady_clock::now() - start, milliseconds(1500));
}

TEST_F(NxDeviceTest, KeepsControlWhileNothingIsDone) {
    simulator::DeviceOptions options;
    options.heartbeatTimeout = 400;
    StartAndConnect(Builder().options(options));
    EXPECT_TRUE(WaitUntil([this] { return simulated->GvcpCounts()["HEARTBEAT"] >= 12; }));
    ExpectOK(Update(10000));
    ExpectUpdated();
}

TEST_F(NxDeviceTest, NoticesWhileIdleThatTheDeviceWasRestarted) {
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

TEST_F(NxDeviceTest, TakesOverFromAProgramThatDiedAsSoonAsTheDeviceLetsGo) {
    StartDevice(Builder());
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
    // Its control ends with the heartbeat timeout of 3 seconds.
    device = Connect();
    EXPECT_NE(device, nullptr) << result.GetDescription().GetAscii();
}

TEST_F(NxDeviceTest, DoesNotConnectToADeviceInItsBootLoader) {
    StartDevice(Builder().profile(simulator::Profile::kLoader));
    EXPECT_EQ(Connect(), nullptr);
    EXPECT_THAT(result.GetDescription().GetAscii(), HasSubstr("127.0.0.1 on lo"));
}

}  // namespace

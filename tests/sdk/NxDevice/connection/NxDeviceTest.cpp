#include <NxDevice/NxDevice.h>

#include <chrono>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <NxGenICam/NxGenEnum.h>
#include <NxGenICam/NxGenEnumEntry.h>
#include <NxGenICam/NxGenFile.h>
#include <NxGenICam/NxGenParameterArray.h>

#include "NxDeviceFixture.h"
#include "Payload.h"
#include "Process.h"
#include "TemporaryFolder.h"
#include "simulator/device/SimulatedDevice.h"

using simulator::DatagramFaults;
using simulator::FaultOptions;
using std::chrono::milliseconds;
using testing::StrEq;

namespace {

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
    // What is found out once per connection is found out here.
    ExpectOK(Update(first));
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

}  // namespace

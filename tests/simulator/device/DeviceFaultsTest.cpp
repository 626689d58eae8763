#include "simulator/device/DeviceFaults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "GvcpClient.h"
#include "Payload.h"
#include "Process.h"
#include "simulator/device/SimulatedDevice.h"
#include "simulator/registers/FeatureAddresses.h"

using simulator::DeviceFault;
using simulator::DeviceFaults;
using simulator::EventLog;
using simulator::FaultMoment;
using simulator::FaultOptions;
using simulator::PlannedFault;
using simulator::SimulatedDevice;
using testing::ElementsAre;
using testing::IsEmpty;

namespace features = simulator::features;

namespace {

FaultOptions Planned(const std::string& text) {
    FaultOptions faults;
    faults.planned.push_back(PlannedFault::Parse(text).value());
    return faults;
}

std::unique_ptr<SimulatedDevice> StartWith(const std::string& fault) {
    auto device = SimulatedDevice::Builder()
                      .serveTftp(false)
                      .bufferSize(512)
                      .rebootTime(std::chrono::milliseconds(0))
                      .faults(Planned(fault))
                      .build();
    std::string why;
    EXPECT_TRUE(device->Start(why)) << why;
    return device;
}

const std::string kPayload = Payload{.body = std::string(5000, 'x')}.Encode();

}  // namespace

TEST(DeviceFaultsTest, StrikesOnceWhenSoMuchHasBeenCounted) {
    EventLog events;
    FaultOptions options = Planned("reboot@command=3");
    options.planned.push_back(PlannedFault::Parse("mute@byte=100").value());
    DeviceFaults faults(options, events);
    EXPECT_THAT(faults.StrikeAt(FaultMoment::kCommand), IsEmpty());
    EXPECT_THAT(faults.StrikeAt(FaultMoment::kCommand), IsEmpty());
    EXPECT_THAT(faults.StrikeAt(FaultMoment::kStatus), IsEmpty());
    EXPECT_THAT(faults.StrikeAtByte(99), IsEmpty());
    EXPECT_THAT(faults.StrikeAt(FaultMoment::kCommand), ElementsAre(DeviceFault::kReboot));
    EXPECT_THAT(faults.StrikeAt(FaultMoment::kCommand), IsEmpty());
    EXPECT_THAT(faults.StrikeAtByte(512), ElementsAre(DeviceFault::kMute));
    EXPECT_THAT(faults.StrikeAtByte(1024), IsEmpty());
    const auto all = events.All();
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[0]["kind"], "reboot");
    EXPECT_EQ(all[0]["moment"], "command");
    EXPECT_EQ(all[0]["commands"], 3);
    EXPECT_EQ(all[1]["kind"], "mute");
    EXPECT_EQ(all[1]["bytes"], 512);
}

TEST(DeviceFaultsTest, ReadsAFaultOnlyAsItIsDocumented) {
    const auto fault = PlannedFault::Parse("lose-control@device-id");
    ASSERT_TRUE(fault);
    EXPECT_EQ(fault->kind, DeviceFault::kLoseControl);
    EXPECT_EQ(fault->moment, FaultMoment::kDeviceId);
    EXPECT_EQ(fault->number, 1U);
    EXPECT_EQ(PlannedFault::Parse("pause@byte=4000")->number, 4000U);
    for (const char* const text :
         {"", "mute", "mute@", "@status", "mute@never", "die@status", "mute@byte=", "mute@byte=0",
          "mute@byte=1x", "mute@byte=-1", "mute@byte=99999999999999999999"}) {
        EXPECT_FALSE(PlannedFault::Parse(text)) << text;
    }
}

TEST(DeviceFaultsTest, DiesAfterTheCommandWasAnswered) {
    const auto device = StartWith("vanish@command=2");
    GvcpClient client;
    EXPECT_EQ(client.Write(0x0a00, 2), 0U);
    EXPECT_EQ(client.Read(0x0a00), 2U) << "answered, then gone";
    EXPECT_TRUE(WaitUntil([&] { return device->Events().Count("unplugged") == 1; }));
    EXPECT_FALSE(device->IsServing());
}

TEST(DeviceFaultsTest, DoesNotAnswerWhoAsksForTheStatus) {
    const auto device = StartWith("mute@status");
    GvcpClient client;
    EXPECT_TRUE(client.Upload(kPayload, 512));
    EXPECT_EQ(client.Write(features::kFileSelector, 1), 0U);
    EXPECT_EQ(client.Write(features::kOperationSelector, 0), 0U);
    EXPECT_EQ(client.Write(features::kPlainBlock + features::kOpenMode, 0), 0U);
    EXPECT_EQ(device->Events().Count("fault"), 0U);
    EXPECT_EQ(client.Write(features::kPlainBlock + features::kExecute, 1, 1), 0xffffU);
    EXPECT_EQ(device->Events().Count("fault"), 1U);
}

TEST(DeviceFaultsTest, LosesARecordThatHasArrivedWithItsPower) {
    const auto device = StartWith("reboot@device-id");
    GvcpClient client;
    EXPECT_TRUE(client.Upload(kPayload, 512));
    EXPECT_FALSE(client.Upload(Payload{.kind = 2, .body = "new-id"}.Encode(), 512));
    EXPECT_TRUE(WaitUntil([&] { return device->Events().Count("power_on") == 2; }));
    EXPECT_EQ(device->Firmware().State().deviceId, "");
    EXPECT_EQ(device->Firmware().State().lastStatus.rfind("Transfer incomplete: ", 0), 0U);
}

TEST(DeviceFaultsTest, AnswersTwoSecondsLaterAfterAPause) {
    const auto device = StartWith("pause@byte=1");
    GvcpClient client;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(client.Upload(kPayload, 512));
    EXPECT_GE(std::chrono::steady_clock::now() - start, simulator::kFaultPause);
    EXPECT_EQ(device->Firmware().State().lastStatus, "Firmware applied: MirskoSim 2.1");
}

TEST(DeviceFaultsTest, EndsAPauseWhenTheDeviceIsSwitchedOff) {
    const auto device = StartWith("pause@command=1");
    GvcpClient client;
    EXPECT_EQ(client.Write(0x0a00, 2), 0U);
    EXPECT_TRUE(WaitUntil([&] { return device->Events().Count("fault") == 1; }));
    const auto start = std::chrono::steady_clock::now();
    device->Stop();
    EXPECT_LT(std::chrono::steady_clock::now() - start, simulator::kFaultPause);
}

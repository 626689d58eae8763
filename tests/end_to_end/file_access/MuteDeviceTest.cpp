// The real binary with devices that answer no more while they are being connected to.
#include <algorithm>

#include <gtest/gtest.h>

#include "SimulatedCamera.h"
#include "TemporaryFolder.h"
#include "Updater.h"

namespace {

std::vector<std::string> MuteAfter(const std::string& commands) {
    return {"--mute-after", commands, "--profile", "file-access", "--no-tftp"};
}

// Such a device has no working control channel, so TFTP is tried.
void ExpectGivenUp(const ProcessResult& result, const std::string& stages) {
    EXPECT_FALSE(result.timedOut);
    EXPECT_LT(result.duration, kSoon);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(WithoutLabels(result.out), "Starting update...\n\n" + stages + "Update failed.\n");
    EXPECT_TRUE(
        result.err.starts_with("Cannot send RemoteUpdateDfw to 127.0.0.1 on lo: its TFTP server"))
        << result.err;
    EXPECT_TRUE(result.err.ends_with("\nWriting payload file to device failed!\n")) << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 2) << result.err;
}

}  // namespace

TEST(MuteDeviceTest, EndsSoonWhenTheDeviceFallsMuteWhileItIsConnected) {
    for (const char* commands : {"1", "20"}) {
        SCOPED_TRACE(commands);
        SimulatedCamera camera(MuteAfter(commands));
        const TemporaryFolder folder;
        ExpectGivenUp(RunUpdater({kLoopback, folder.Write("c.dfw", MakePayload("body"))}), "");
        EXPECT_EQ(camera.Events("fault").size(), 1U);
    }
}

TEST(MuteDeviceTest, EndsSoonWithANewIdWhenTheDeviceFallsMuteWhileItsDescriptionIsRead) {
    SimulatedCamera camera(MuteAfter("20"));
    const TemporaryFolder folder;
    ExpectGivenUp(
        RunUpdater({kLoopback, "--deviceid=new", folder.Write("c.dfw", MakePayload("body"))}),
        "Setting new device ID\n");
    EXPECT_EQ(camera.Events("fault").size(), 1U);
    // The description was begun, and nothing came after it.
    const nlohmann::json commands = camera.Events("control_ended").at(0)["commands"];
    EXPECT_GT(commands["READMEM"], 10) << commands;
    EXPECT_FALSE(commands.contains("WRITEMEM")) << commands;
    EXPECT_EQ(camera.State()["device_id"], "");
}

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "Updater.h"
#include "UsbCamera.h"

namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

std::string SomePayload() {
    return MakePayload(RandomBytes(300000, 7));
}

/// The transfer began, failed with one line that says why, and nothing hung.
void ExpectFailedTransfer(const ProcessResult& result, const std::string& reason,
                          const std::string& stages = "") {
    EXPECT_FALSE(result.timedOut);
    EXPECT_LT(result.duration, kSoon);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(WithoutLabels(result.out), "Starting update...\n\n" + stages + "Update failed.\n");
    EXPECT_THAT(result.err, AllOf(HasSubstr(reason), HasSubstr(" of 300064: USB3 Vision device"),
                                  EndsWith("\nWriting payload file to device failed!\n")));
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 2) << result.err;
}

/// Package mode reports why a device cannot be connected to; direct mode only that it failed.
std::string PackageOf(UsbCamera& camera) {
    const std::string manifest = camera.Write(
        "Manifest.xml",
        "<FirmwareUpdate SchemaMajorVersion=\"1\" SchemaMinorVersion=\"0\">\n"
        "<Procedure Id=\"p\"><FileUpload "
        "Transport=\"GenICam\"><FileName>camera.dfw</FileName></FileUpload>"
        "</Procedure>\n<Update ProcedureId=\"p\">"
        "<Info Name=\"Description\">Test</Info><Info Name=\"Version\">2.1</Info>"
        "<Condition Feature=\"DeviceModelName\">.*</Condition></Update>\n</FirmwareUpdate>\n");
    const std::string payload = camera.Write("camera.dfw", SomePayload());
    const std::string package = payload.substr(0, payload.rfind('.')) + ".zip";
    EXPECT_EQ(Process::Run({"zip", "-q", "-j", package, manifest, payload}).exitStatus, 0);
    return package;
}

}  // namespace

TEST(UsbFailureTest, SaysThatTheCameraWasUnpluggedInTheMiddle) {
    UsbCamera camera({"--vanish-at", "150000"});
    const ProcessResult result =
        camera.Update({"--u3v", camera.Write("camera.dfw", SomePayload())});
    ExpectFailedTransfer(result, "was unplugged");
    EXPECT_LT(result.duration, kSoon / 2);
    EXPECT_EQ(camera.Firmware(), "");
}

TEST(UsbFailureTest, SaysThatTheCameraRestartedInTheMiddle) {
    // Back at once: the bed ends with the updater, which may notice and end soon after.
    UsbCamera camera({"--reboot-at", "150000", "--reboot-time", "0"});
    const ProcessResult result =
        camera.Update({"--u3v", camera.Write("camera.dfw", SomePayload())});
    ExpectFailedTransfer(result, "was unplugged");
    EXPECT_EQ(camera.Events("usb_plugged_in").size(), 2U);
}

TEST(UsbFailureTest, SaysThatTheCameraStalledInTheMiddle) {
    UsbCamera camera({"--stall-at", "150000"});
    ExpectFailedTransfer(camera.Update({"--u3v", camera.Write("camera.dfw", SomePayload())}),
                         "stalled");
    EXPECT_FALSE(camera.Events("usb_stall_cleared").empty());
}

TEST(UsbFailureTest, ClearsStallsOfCommandsOnTheWay) {
    UsbCamera camera({"--stall-every", "7"});
    const std::string body = RandomBytes(100000, 10);
    const ProcessResult result =
        camera.Update({"--u3v", camera.Write("camera.dfw", MakePayload(body))});
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(result.out, EndsWith("Firmware upload complete.\n"));
    EXPECT_EQ(camera.Firmware(), body);
    EXPECT_GT(camera.Events("usb_stalled").size(), 5U);
}

// Each short write that is hit costs the timeout of its ack.
TEST(UsbFailureTest, SendsAgainWhatAProtocolErrorDidNotLetThrough) {
    UsbCamera camera({"--protocol-error-every", "23", "--buffer-size", "65536"});
    const std::string body = RandomBytes(200000, 11);
    const ProcessResult result =
        camera.Update({"--u3v", camera.Write("camera.dfw", MakePayload(body))});
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(result.out, EndsWith("Firmware upload complete.\n"));
    EXPECT_EQ(camera.Firmware(), body);
    EXPECT_GT(camera.Events("usb_protocol_error").size(), 1U);
    EXPECT_TRUE(camera.Events("u3v_command_repeated").empty());
}

TEST(UsbFailureTest, SurvivesACameraThatStallsForGood) {
    UsbCamera camera({"--stall-at", "150000", "--stall-for-good"});
    ExpectFailedTransfer(
        camera.Update({"--u3v", "--deviceid=new", camera.Write("camera.dfw", SomePayload())}),
        "stalled", "Setting new device ID\n");
}

TEST(UsbFailureTest, SaysThatTheCameraFellMuteInTheMiddle) {
    UsbCamera camera({"--mute-at", "150000"});
    ExpectFailedTransfer(camera.Update({"--u3v", camera.Write("camera.dfw", SomePayload())}),
                         "timed out replying to a command");
}

TEST(UsbFailureTest, ExecutesNoCommandTwiceWhenAcknowledgesAreLate) {
    UsbCamera camera({"--late-every", "25", "--late-by", "400"});
    const std::string body = RandomBytes(40000, 8);
    const ProcessResult result =
        camera.Update({"--u3v", camera.Write("camera.dfw", MakePayload(body))});
    EXPECT_THAT(result.out, EndsWith("Firmware upload complete.\n"));
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(camera.Firmware(), body);
    EXPECT_FALSE(camera.Events("u3v_late_ack").empty());
    EXPECT_TRUE(camera.Events("u3v_command_repeated").empty());
}

TEST(UsbFailureTest, DirectModeEndsWhenAnotherProgramHoldsTheCamera) {
    UsbCamera camera({"--interface-busy"});
    const ProcessResult result =
        camera.Update({"--u3v", camera.Write("camera.dfw", SomePayload())});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "Writing payload file to device failed!\n");
    EXPECT_LT(result.duration, kSoon);
}

TEST(UsbFailureTest, PackageModeSaysThatAnotherProgramHoldsTheCamera) {
    UsbCamera camera({"--interface-busy"});
    const ProcessResult result = camera.Update({"--u3v", PackageOf(camera)});
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err,
                AllOf(StartsWith("Cannot control USB3 Vision device Simulated Camera"),
                      HasSubstr("another program holds its control interface"), EndsWith("\n")));
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1);
}

TEST(UsbFailureTest, LeavesTheCameraToTheProgramThatHoldsItAndUpdatesItLater) {
    UsbCamera camera;
    // Not by a shell: a sanitizer's runtime has to be the first library of every program.
    const auto updateWhileHeld = [&camera](const std::string& firmware) {
        return camera.Run({MIRSKO_BUILD_FOLDER "/tests/hold_usb_interface",
                           Program("MirskoFirmwareUpdater"), "--u3v", firmware});
    };
    const ProcessResult held = updateWhileHeld(PackageOf(camera));
    EXPECT_EQ(held.exitStatus, 0);
    EXPECT_EQ(held.out, "");
    EXPECT_THAT(held.err,
                AllOf(StartsWith("Cannot control USB3 Vision device Simulated Camera"),
                      HasSubstr("another program holds its control interface"), EndsWith("\n")));
    EXPECT_EQ(std::count(held.err.begin(), held.err.end(), '\n'), 1);
    EXPECT_LT(held.duration, kSoon);

    const std::string payload = camera.Write("camera.dfw", SomePayload());
    const ProcessResult direct = updateWhileHeld(payload);
    EXPECT_EQ(direct.exitStatus, 0);
    EXPECT_EQ(direct.err, "Writing payload file to device failed!\n");
    EXPECT_EQ(direct.out, "");
    EXPECT_EQ(camera.State()["transfers"], 0);

    const ProcessResult later = camera.Update({"--u3v", payload});
    EXPECT_EQ(later.err, "");
    EXPECT_THAT(later.out, EndsWith("\nFirmware upload complete.\n"));
    EXPECT_EQ(camera.State()["stored_version"], "2.1");
    EXPECT_EQ(camera.State()["transfers"], 1);
}

TEST(UsbFailureTest, DirectModeEndsWhenAccessIsDenied) {
    UsbCamera camera({"--access-denied"});
    const ProcessResult result =
        camera.Update({"--u3v", camera.Write("camera.dfw", SomePayload())});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "Writing payload file to device failed!\n");
    EXPECT_LT(result.duration, kSoon);
}

TEST(UsbFailureTest, PackageModeNamesTheUdevRuleWhenAccessIsDenied) {
    UsbCamera camera({"--access-denied"});
    const ProcessResult result = camera.Update({"--u3v", PackageOf(camera)});
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, AllOf(StartsWith("Cannot open USB3 Vision device Simulated Camera"),
                                  HasSubstr("70-mirsko-u3v.rules"), EndsWith("\n")));
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1);
}

TEST(UsbFailureTest, UpdatesByAPackageOnceTheCameraIsFree) {
    UsbCamera camera;
    const ProcessResult result = camera.Update({"--u3v", PackageOf(camera)});
    EXPECT_THAT(result.out, EndsWith("Firmware upload complete.\n"));
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(camera.State()["stored_version"], "2.1");
}

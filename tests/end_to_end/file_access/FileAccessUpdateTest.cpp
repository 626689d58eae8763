// The real binary and a simulated GigE Vision camera that offers GenICam file access.
#include <csignal>

#include <gmock/gmock.h>

#include "SimulatedCamera.h"
#include "TemporaryFolder.h"
#include "Updater.h"

namespace {

const std::string kSuccess =
    "Starting update...\n"
    "\n"
    "Validating update... Please wait...\n"
    "Update is valid.\n"
    "Resetting device\n"
    "Firmware upload complete.\n";

void ExpectEnd(const ProcessResult& result, const std::string& out = kSuccess,
               const std::string& err = "") {
    EXPECT_EQ(WithoutLabels(result.out), out);
    EXPECT_EQ(result.err, err);
    EXPECT_EQ(result.exitStatus, 0);
}

}  // namespace

TEST(FileAccessUpdateTest, WritesTheFirmwareAndSaysSoStageByStage) {
    SimulatedCamera camera({"--profile", "file-access"});
    const TemporaryFolder folder;
    const std::string body = RandomBytes(300000, 1);
    const ProcessResult result =
        RunUpdater({kLoopback, folder.Write("camera.dfw", MakePayload(body))});
    ExpectEnd(result);
    EXPECT_TRUE(camera.Firmware() == body);

    EXPECT_EQ(DeviceField("version"), "1.0");  // file access cannot reset the device
    camera.PowerCycle();
    EXPECT_EQ(DeviceField("version"), "2.1");
}

TEST(FileAccessUpdateTest, ClaimsNoSuccessForAPayloadThatWasReplacedMeanwhile) {
    SimulatedCamera camera({"--profile", "file-access", "--latency", "4000"});
    const TemporaryFolder folder;
    const std::string file = folder.Write("camera.dfw", MakePayload(RandomBytes(300000, 1)));
    Process updater({Program("MirskoFirmwareUpdater"), kLoopback, file});
    ASSERT_TRUE(
        WaitUntil([&] { return updater.OutputSoFar().find("transferred") != std::string::npos; }));
    (void)folder.Write("camera.dfw", MakePayload(RandomBytes(300000, 2)));
    const ProcessResult result = updater.Wait(std::chrono::seconds(60));
    EXPECT_EQ(WithoutLabels(result.out), "Starting update...\n\nUpdate failed.\n");
    EXPECT_THAT(result.err,
                testing::MatchesRegex(
                    "Cannot write the device's file RemoteUpdateDfw at byte [0-9]+ of 300064: "
                    "Cannot send [^ ]*camera.dfw: it was changed or replaced while it was being "
                    "sent\nWriting payload file to device failed!\n"));
    EXPECT_EQ(camera.Firmware(), "");
}

TEST(FileAccessUpdateTest, SelectsTheInterfaceInEverySpellingOfItsMac) {
    for (const char* mac : {"00-00-00-00-00-00", "000000000000", "00:00-00:00-00:00"}) {
        SimulatedCamera camera({"--profile", "file-access"});
        const TemporaryFolder folder;
        const ProcessResult result = RunUpdater(
            {"--LocalInterface=" + std::string(mac), folder.Write("c.dfw", MakePayload("body"))});
        SCOPED_TRACE(mac);
        ExpectEnd(result);
        EXPECT_EQ(camera.Firmware(), "body") << mac;
    }
}

TEST(FileAccessUpdateTest, DoesNotSpeakOfAResetThatIsNotWanted) {
    SimulatedCamera camera({"--profile", "file-access"});
    const TemporaryFolder folder;
    const ProcessResult result =
        RunUpdater({kLoopback, "--noreset", folder.Write("c.dfw", MakePayload("body"))});
    ExpectEnd(result,
              "Starting update...\n\nValidating update... Please wait...\nUpdate is valid.\n"
              "Firmware upload complete.\n");
    EXPECT_EQ(camera.Firmware(), "body");
}

TEST(FileAccessUpdateTest, GivesTheDeviceTheLowercasedId) {
    SimulatedCamera camera({"--profile", "file-access"});
    const TemporaryFolder folder;
    const ProcessResult result =
        RunUpdater({kLoopback, "--deviceid=Cam-A", folder.Write("c.dfw", MakePayload("body"))});
    ExpectEnd(result,
              "Starting update...\n\nValidating update... Please wait...\nUpdate is valid.\n"
              "Setting new device ID\nResetting device\nFirmware upload complete.\n");
    EXPECT_EQ(DeviceField("deviceId"), "cam-a");
    EXPECT_EQ(camera.Firmware(), "body");
}

TEST(FileAccessUpdateTest, PrintsTheDevicesOwnWordsWhenItRefusesThePayload) {
    SimulatedCamera camera({"--profile", "file-access"});
    const TemporaryFolder folder;
    std::string damaged = MakePayload(RandomBytes(5000, 2));
    damaged[3000] = static_cast<char>(damaged[3000] + 1);
    const ProcessResult result = RunUpdater({kLoopback, folder.Write("c.dfw", damaged)});
    const std::string words = camera.State().value("last_status", "?");
    ExpectEnd(result, "Starting update...\n\nValidating update... Please wait...\nUpdate failed.\n",
              "Status error: " + words + "\nWriting payload file to device failed!\n");
    EXPECT_EQ(camera.Firmware(), "");
    EXPECT_EQ(DeviceField("version"), "1.0");
}

TEST(FileAccessUpdateTest, StillSendsTheNewIdAfterARefusedPayload) {
    SimulatedCamera camera({"--profile", "file-access", "--fail-flash"});
    const TemporaryFolder folder;
    const ProcessResult result =
        RunUpdater({kLoopback, "--deviceid=spare", folder.Write("c.dfw", MakePayload("body"))});
    ExpectEnd(result,
              "Starting update...\n\nValidating update... Please wait...\n"
              "Setting new device ID\nUpdate failed.\n",
              "Status error: Flash write failed: verification error, firmware 1.0 kept\n"
              "Writing payload file to device failed!\n");
    EXPECT_EQ(DeviceField("deviceId"), "spare");
}

TEST(FileAccessUpdateTest, ReadsTheStatusSixtyTimesMoreOnceItWasBusy) {
    SimulatedCamera camera({"--profile", "file-access", "--flash-time", "3000"});
    const TemporaryFolder folder;
    const ProcessResult result = RunUpdater({kLoopback, folder.Write("c.dfw", MakePayload("body"))},
                                            std::chrono::seconds(100));
    ExpectEnd(result);
    EXPECT_EQ(camera.Firmware(), "body");
    EXPECT_GE(result.duration, std::chrono::seconds(60));
}

TEST(FileAccessUpdateTest, WritesSixteenMebibytesThroughSmallAndLargeBuffers) {
    const TemporaryFolder folder;
    const std::string body = RandomBytes(16U << 20U, 3);
    const std::string file = folder.Write("c.dfw", MakePayload(body));
    for (const char* buffer : {"4096", "65536"}) {
        SimulatedCamera camera({"--profile", "file-access", "--buffer-size", buffer});
        const ProcessResult result = RunUpdater({kLoopback, file}, std::chrono::seconds(100));
        SCOPED_TRACE(buffer);
        ExpectEnd(result);
        EXPECT_TRUE(camera.Firmware() == body) << buffer;
    }
}

TEST(FileAccessUpdateTest, WaitsForACameraThatAKilledUpdaterStillControls) {
    SimulatedCamera camera({"--profile", "file-access", "--no-tftp", "--heartbeat-timeout", "10000",
                            "--latency", "5000"});
    const TemporaryFolder folder;
    const std::string body = RandomBytes(100000, 4);
    const std::string file = folder.Write("c.dfw", MakePayload(body));
    Process killed({Program("MirskoFirmwareUpdater"), kLoopback, file});
    EXPECT_TRUE(WaitUntil(
        [&] { return killed.OutputSoFar().find("KBs transferred") != std::string::npos; }));
    killed.Signal(SIGKILL);
    EXPECT_EQ(killed.Wait(std::chrono::seconds(10)).signal, SIGKILL);
    ExpectEnd(RunUpdater({kLoopback, file}, std::chrono::seconds(60)));
    EXPECT_TRUE(camera.Firmware() == body);
}

TEST(FileAccessUpdateTest, SaysWhyTftpWasTriedWhenThatFailsToo) {
    const SimulatedCamera camera({"--profile", "file-access", "--no-tftp", "--refuse-control"});
    const TemporaryFolder folder;
    ExpectEnd(
        RunUpdater({kLoopback, folder.Write("c.dfw", MakePayload("body"))}),
        "Starting update...\n\nUpdate failed.\n",
        "Cannot send RemoteUpdateDfw to 127.0.0.1 on lo: its TFTP server has not responded for "
        "7 s; check cable, power and address; GenICam file access was not possible: Cannot "
        "control 127.0.0.1 on lo: another application has control (GVCP ACCESS_DENIED "
        "0x8006)\nWriting payload file to device failed!\n");
}

TEST(FileAccessUpdateTest, FlushesEachStage) {
    SimulatedCamera camera({"--profile", "file-access", "--latency", "20000"});
    const TemporaryFolder folder;
    Process updater({Program("MirskoFirmwareUpdater"), kLoopback,
                     folder.Write("c.dfw", MakePayload(RandomBytes(100000, 4)))});
    EXPECT_TRUE(WaitUntil(
        [&] { return updater.OutputSoFar().find("KBs transferred") != std::string::npos; }));
    EXPECT_TRUE(updater.IsRunning());
    const std::string early = updater.OutputSoFar();
    EXPECT_TRUE(early.starts_with("Starting update...\n")) << early;
    ExpectEnd(updater.Wait(std::chrono::seconds(60)));
}

TEST(FileAccessUpdateTest, FindsTheDeviceBehindTheSecondOfTwoInterfacesOfOneSubnet) {
    const NetworkPair network(
        {{"169.254.0.1/16", "169.254.10.1/16"}, {"169.254.0.2/16", "169.254.10.2/16"}});
    SimulatedCamera camera(
        {"--profile", "file-access", "--interface", "far1", "--address", "169.254.10.2"}, &network);
    const TemporaryFolder folder;
    const std::string file = folder.Write("c.dfw", MakePayload("body"));
    EXPECT_EQ(RunUpdater({"--localinterface=" + NetworkPair::NearMac(0), file}).exitStatus, 100);
    const ProcessResult result = RunUpdater({"--localinterface=" + NetworkPair::NearMac(1), file});
    ExpectEnd(result);
    EXPECT_EQ(camera.Firmware(), "body");
}

TEST(FileAccessUpdateTest, RefusesAPayloadForAnotherModelWithoutAWord) {
    SimulatedCamera camera({"--profile", "file-access", "--model", "Another"});
    const TemporaryFolder folder;
    for (const char* name : {"zelka_qrm_lanx_fk02_tc3mn03_128kd_1.0.dfw", "zelka_qrm_h_fk02.dfw"}) {
        const ProcessResult result = RunUpdater({kLoopback, folder.Write(name, MakePayload("b"))});
        EXPECT_EQ(result.out + result.err, "");
        EXPECT_EQ(result.exitStatus, 103);
    }
    EXPECT_EQ(camera.Firmware(), "");
}

TEST(FileAccessUpdateTest, SaysNothingAboutAFileThatCannotBeOpened) {
    SimulatedCamera camera({"--profile", "file-access"});
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{kLoopback}, {kLoopback, "/nowhere/fw.dfw"}}) {
        const ProcessResult result = RunUpdater(arguments);
        EXPECT_EQ(result.out + result.err, "");
        EXPECT_EQ(result.exitStatus, 101);
    }
}

TEST(FileAccessUpdateTest, AFileNamedByABareExtensionEndsTheProcessAbnormally) {
    const SimulatedCamera camera({"--profile", "file-access"});
    const TemporaryFolder folder;
    for (const std::string name : {"dfw", "zip"}) {
        SCOPED_TRACE(name);
        folder.Write(name, "x");
        const ProcessResult result =
            Process::Run({"env", "--chdir=" + folder.Path().string(),
                          Program("MirskoFirmwareUpdater"), kLoopback, name});
        EXPECT_EQ(result.signal, SIGABRT);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.err, testing::HasSubstr("basic_string::substr"));
    }
    EXPECT_EQ(camera.State()["transfers"], 0);
}

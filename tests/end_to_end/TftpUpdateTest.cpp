#include <gmock/gmock.h>

#include "NetworkPair.h"
#include "SimulatedCamera.h"
#include "TemporaryFolder.h"
#include "Updater.h"

namespace {

using std::chrono::seconds;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

const std::string kStart = "Starting update...\n\n";
const std::string kValid =
    "Validating update... Please wait...\n"
    "Update is valid.\n";
const std::string kComplete = "Firmware upload complete.\n";
const std::string kFailed = "Update failed.\n";
const std::string kWritingFailed = "Writing payload file to device failed!\n";

constexpr seconds kLongestFailure{15};

class TftpUpdateTest : public testing::Test {
  protected:
    std::string Payload(unsigned int seed = 1, std::size_t size = 300000) {
        body = RandomBytes(size, seed);
        return folder.Write("camera-2.1.dfw", MakePayload(body));
    }

    static void ExpectUpdated(const ProcessResult& result) {
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(WithoutLabels(result.out), kStart + kValid + kComplete);
        EXPECT_EQ(result.err, "");
    }

    static void ExpectTransferFailed(const ProcessResult& result, const std::string& why) {
        EXPECT_FALSE(result.timedOut);
        EXPECT_LT(result.duration, kLongestFailure);
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(WithoutLabels(result.out), kStart + kFailed);
        EXPECT_THAT(result.err, AllOf(StartsWith("Cannot send RemoteUpdateDfw to "), HasSubstr(why),
                                      EndsWith("\n" + kWritingFailed)));
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 2) << result.err;
    }

    /// The transfers of RemoteUpdateDfw that came to the device's end, in bytes.
    static std::vector<std::uint64_t> Written(const SimulatedCamera& camera) {
        std::vector<std::uint64_t> sizes;
        for (const auto& event : camera.Events("tftp")) {
            if (event["operation"] == "write" && event["complete"] == true) {
                sizes.push_back(event["bytes"]);
            }
        }
        return sizes;
    }

    TemporaryFolder folder;
    std::string body;
};

// A device that the updater is to reach by TFTP, and why.
struct Fallback {
    std::string name;
    std::vector<std::string> options;
};

void PrintTo(const Fallback& fallback, std::ostream* stream) {
    *stream << fallback.name;
}

class TftpFallbackTest : public TftpUpdateTest, public testing::WithParamInterface<Fallback> {};

TEST_P(TftpFallbackTest, UpdatesNamesAndResetsTheDevice) {
    std::vector<std::string> options = GetParam().options;
    options.insert(options.end(), {"--flash-time", "200", "--reboot-time", "300"});
    SimulatedCamera camera(options);
    const ProcessResult result = RunUpdater({kLoopback, "--deviceid=left camera", Payload()});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(WithoutLabels(result.out), kStart + kValid +
                                             "Setting new device ID\n"
                                             "Resetting device\n" +
                                             kComplete);
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(camera.Firmware() == body);
    // The payload, the device-ID record and the reset record.
    EXPECT_EQ(Written(camera), (std::vector<std::uint64_t>{body.size() + 64, 64 + 11, 64}));

    ASSERT_TRUE(WaitUntil([&] { return camera.Events("power_on").size() == 2; }));
    EXPECT_EQ(DeviceField("deviceId"), "left camera");
    EXPECT_EQ(DeviceField("version"), "2.1");
    EXPECT_EQ(camera.State()["resets"], 1);
}

INSTANTIATE_TEST_SUITE_P(
    Devices, TftpFallbackTest,
    testing::Values(Fallback{"NoFileAccess", {"--profile", "no-file-access"}},
                    Fallback{"BackupLoadOnly", {"--profile", "backup-load"}},
                    Fallback{"FileSelectorWithoutRemoteUpdateDfw",
                             {"--profile", "selector-without-dfw"}},
                    Fallback{"Loader", {"--profile", "loader"}},
                    Fallback{"ControlRefused", {"--profile", "file-access", "--refuse-control"}}),
    [](const auto& fallback) { return fallback.param.name; });

TEST_F(TftpUpdateTest, TakesNoDeviceThatOffersFileAccess) {
    for (const char* profile : {"file-access", "main-load", "single-file"}) {
        SimulatedCamera camera({"--profile", profile});
        ExpectUpdated(RunUpdater({kLoopback, "--noreset", Payload()}));
        EXPECT_FALSE(camera.HasEvent("tftp")) << profile;
    }
}

TEST_F(TftpUpdateTest, LeavesTheDeviceRunningWithNoReset) {
    SimulatedCamera camera({"--profile", "no-file-access"});
    ExpectUpdated(RunUpdater({kLoopback, "--noreset", Payload()}));
    EXPECT_TRUE(camera.Firmware() == body);
    EXPECT_EQ(camera.State()["running_version"], "1.0");
    EXPECT_EQ(camera.State()["stored_version"], "2.1");
    EXPECT_EQ(camera.State()["resets"], 0);
    EXPECT_EQ(DeviceField("version"), "1.0");
    camera.PowerCycle();
    EXPECT_EQ(DeviceField("version"), "2.1");
}

TEST_F(TftpUpdateTest, AcceptsTheOtherWordingOfSuccess) {
    SimulatedCamera camera({"--profile", "no-file-access", "--non-volatile-wording"});
    ExpectUpdated(RunUpdater({kLoopback, "--noreset", Payload()}));
}

TEST_F(TftpUpdateTest, PrintsTheDevicesOwnWordsWhenItRejectsThePayload) {
    SimulatedCamera camera({"--profile", "no-file-access", "--family", "OtherCam"});
    const ProcessResult result = RunUpdater({kLoopback, "--deviceid=left", Payload()});
    EXPECT_EQ(WithoutLabels(result.out), kStart + "Validating update... Please wait...\n" +
                                             "Setting new device ID\n" + kFailed);
    EXPECT_THAT(result.err, AllOf(StartsWith("Status error: Payload rejected: "),
                                  EndsWith("\n" + kWritingFailed)));
    EXPECT_EQ(camera.State()["resets"], 0);
    EXPECT_EQ(camera.Firmware(), "");
}

TEST_F(TftpUpdateTest, FailsWhenTheFlashFails) {
    SimulatedCamera camera({"--profile", "loader", "--fail-flash", "--flash-time", "100"});
    const ProcessResult result = RunUpdater({kLoopback, Payload()});
    EXPECT_THAT(result.err, StartsWith("Status error: Flash write failed"));
    EXPECT_EQ(camera.State()["stored_version"], "1.0");
}

TEST_F(TftpUpdateTest, ReadsTheStatusOnceOnly) {
    SimulatedCamera camera(
        {"--profile", "no-file-access", "--flash-time", "60000", "--tftp-busy-status"});
    const ProcessResult result = RunUpdater({kLoopback, Payload()});
    EXPECT_EQ(result.err,
              "Status error: Flash currently being written in background\n" + kWritingFailed);
    EXPECT_EQ(camera.Events("tftp").size(), 2U);
}

TEST_F(TftpUpdateTest, SendsAFileWithoutHeaderAsItStands) {
    SimulatedCamera camera({"--profile", "no-file-access"});
    for (const std::size_t size : {0U, 1U, 512U, 1468U, 65464U, 130928U}) {
        const std::string file = folder.Write("odd.dfw", std::string(size, 'x'));
        const ProcessResult result = RunUpdater({kLoopback, file});
        EXPECT_EQ(WithoutLabels(result.out),
                  kStart + "Validating update... Please wait...\n" + kFailed);
        EXPECT_THAT(result.err, StartsWith("Status error: Payload rejected: ")) << size;
        ASSERT_TRUE(WaitUntil([&] { return !Written(camera).empty(); }));
        EXPECT_EQ(Written(camera).back(), size);
    }
}

TEST_F(TftpUpdateTest, SendsPayloadsOfExactMultiplesOfTheBlockSize) {
    for (const char* blockSize : {"512", "1024", "1428"}) {
        SimulatedCamera camera({"--profile", "loader", "--tftp-max-blksize", blockSize});
        const std::size_t total = std::stoul(blockSize) * 100;
        ExpectUpdated(RunUpdater({kLoopback, "--noreset", Payload(2, total - 64)}));
        EXPECT_TRUE(camera.Firmware() == body) << blockSize;
    }
}

TEST_F(TftpUpdateTest, SendsOver65535BlocksWhereverTheirNumbersWrapTo) {
    for (const char* rollover : {"0", "1"}) {
        SimulatedCamera camera(
            {"--profile", "loader", "--tftp-max-blksize", "64", "--tftp-rollover", rollover});
        ExpectUpdated(RunUpdater({kLoopback, "--noreset", Payload(3, 64 * 140000)}, seconds(100)));
        EXPECT_TRUE(camera.Firmware() == body) << rollover;
        EXPECT_EQ(camera.Events("tftp").at(0)["block_size"], 64);
    }
}

TEST_F(TftpUpdateTest, SendsOver65535BlocksToAServerWithoutOptions) {
    for (const char* rollover : {"0", "1"}) {
        SimulatedCamera camera(
            {"--profile", "loader", "--tftp-options", "ignore", "--tftp-rollover", rollover});
        ExpectUpdated(RunUpdater({kLoopback, "--noreset", Payload(4, 512 * 65700)}, seconds(100)));
        EXPECT_TRUE(camera.Firmware() == body) << rollover;
    }
}

TEST_F(TftpUpdateTest, ReachesTheDeviceThroughTheNamedInterface) {
    // Both interfaces are on one link-local network, and so is a device with the same address
    // behind each.
    const NetworkPair network(
        {{"169.254.0.1/16", "169.254.9.9/16"}, {"169.254.0.2/16", "169.254.9.9/16"}});
    SimulatedCamera first({"--profile", "loader", "--interface", "far0", "--address", "169.254.9.9",
                           "--serial", "first"},
                          &network);
    SimulatedCamera second({"--profile", "loader", "--interface", "far1", "--address",
                            "169.254.9.9", "--serial", "second"},
                           &network);
    ExpectUpdated(
        RunUpdater({"--localinterface=" + NetworkPair::NearMac(1), "--noreset", Payload()}));
    EXPECT_TRUE(second.Firmware() == body);
    EXPECT_FALSE(first.HasEvent("tftp"));
}

// What goes wrong on the way, and the update succeeds none the less.
struct Trouble {
    std::string name;
    bool windows;  // whether the server grants windows of more than one block
    std::vector<std::string> options;
};

void PrintTo(const Trouble& trouble, std::ostream* stream) {
    *stream << trouble.name;
}

class TftpTroubleTest : public TftpUpdateTest, public testing::WithParamInterface<Trouble> {};

TEST_P(TftpTroubleTest, DeliversTheSameBytesInBoundedTime) {
    // Ethernet's packet size, unlike loopback's, makes the client ask for windows of many blocks.
    const NetworkPair network({NetworkPair::Cable{"169.254.0.1/16", "169.254.0.2/16"}});
    for (const char* seed : {"1", "2", "3"}) {
        std::vector<std::string> options = GetParam().options;
        options.insert(options.end(), {"--profile", "loader", "--seed", seed, "--interface", "far0",
                                       "--address", "169.254.0.2"});
        SimulatedCamera camera(options, &network);
        const ProcessResult result = RunUpdater(
            {"--localinterface=" + NetworkPair::NearMac(0), "--noreset", Payload(6, 400000)},
            seconds(40));
        ExpectUpdated(result);
        EXPECT_TRUE(camera.Firmware() == body);
        EXPECT_EQ(Written(camera), std::vector<std::uint64_t>{body.size() + 64});
        const nlohmann::json transfer = camera.Events("tftp").at(0);
        EXPECT_EQ(transfer["window_size"] > 1, GetParam().windows) << transfer;
    }
}

// Records are a single block, so that the first and the last acknowledgement are the same one.
class TftpRecordTroubleTest : public TftpUpdateTest, public testing::WithParamInterface<Trouble> {};

TEST_P(TftpRecordTroubleTest, DeliversTheNewIdAndTheResetOnce) {
    for (const char* seed : {"1", "2", "3", "4", "5", "6"}) {
        SCOPED_TRACE(seed);
        std::vector<std::string> options = GetParam().options;
        options.insert(options.end(), {"--profile", "loader", "--seed", seed, "--flash-time", "0",
                                       "--reboot-time", "0"});
        SimulatedCamera camera(options);
        const ProcessResult result =
            RunUpdater({kLoopback, "--deviceid=left camera", Payload(7, 3000)}, seconds(40));
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(WithoutLabels(result.out), kStart + kValid +
                                                 "Setting new device ID\n"
                                                 "Resetting device\n" +
                                                 kComplete);
        EXPECT_EQ(result.err, "");
        EXPECT_TRUE(camera.Firmware() == body);
        EXPECT_TRUE(WaitUntil([&] { return camera.Events("power_on").size() == 2; }));
        EXPECT_EQ(camera.State()["resets"], 1);
        EXPECT_EQ(camera.State()["device_id"], "left camera");
        EXPECT_EQ(camera.State()["running_version"], "2.1");
        EXPECT_EQ(Written(camera), (std::vector<std::uint64_t>{body.size() + 64, 64 + 11, 64}));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Network, TftpRecordTroubleTest,
    testing::Values(Trouble{"Loss", false, {"--tftp-loss", "8"}},
                    Trouble{"Duplication", false, {"--tftp-duplicate", "50"}},
                    Trouble{"Reordering", false, {"--tftp-reorder", "30", "--tftp-delay", "5"}},
                    Trouble{"LateCopies", false, {"--tftp-late-copy", "50", "--tftp-delay", "20"}},
                    Trouble{"LostLastAck", false, {"--tftp-lost-last-acks", "1"}},
                    Trouble{"Everything",
                            false,
                            {"--tftp-loss", "4", "--tftp-duplicate", "20", "--tftp-reorder", "10",
                             "--tftp-late-copy", "20"}}),
    [](const auto& trouble) { return trouble.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Network, TftpTroubleTest,
    testing::Values(
        Trouble{"None", true, {}}, Trouble{"Loss", true, {"--tftp-loss", "3"}},
        Trouble{"LossInLockStep", false, {"--tftp-loss", "3", "--tftp-max-windowsize", "0"}},
        Trouble{"Duplication", true, {"--tftp-duplicate", "20"}},
        Trouble{"DuplicationInLockStep",
                false,
                {"--tftp-duplicate", "20", "--tftp-max-windowsize", "0"}},
        Trouble{"Reordering", true, {"--tftp-reorder", "5", "--tftp-delay", "5"}},
        Trouble{"LateCopies", true, {"--tftp-late-copy", "20", "--tftp-delay", "2"}},
        Trouble{"VeryLateCopies", true, {"--tftp-late-copy", "20", "--tftp-delay", "200"}},
        Trouble{"LateCopiesInLockStep",
                false,
                {"--tftp-late-copy", "20", "--tftp-delay", "2", "--tftp-max-windowsize", "0"}},
        Trouble{"Everything",
                true,
                {"--tftp-loss", "2", "--tftp-duplicate", "5", "--tftp-reorder", "2",
                 "--tftp-late-copy", "5", "--tftp-delay", "3"}},
        Trouble{"LostLastAck", true, {"--tftp-lost-last-acks", "1"}},
        Trouble{"ForeignPort", true, {"--tftp-foreign-port"}},
        Trouble{"NoOptions", false, {"--tftp-options", "ignore"}},
        Trouble{"OptionsRejected", false, {"--tftp-options", "reject"}},
        Trouble{"BlockSizeOnly",
                false,
                {"--tftp-max-windowsize", "0", "--tftp-no-tsize", "--tftp-no-timeout"}},
        Trouble{"WindowSizeOnly",
                true,
                {"--tftp-max-blksize", "0", "--tftp-no-tsize", "--tftp-no-timeout"}}),
    [](const auto& trouble) { return trouble.param.name; });

TEST_F(TftpUpdateTest, RejectsForgedPacketsFromAnotherPort) {
    SimulatedCamera camera(
        {"--profile", "loader", "--tftp-foreign-port", "--tftp-max-blksize", "1428"});
    ExpectUpdated(RunUpdater({kLoopback, "--noreset", Payload()}));
    EXPECT_GT(camera.Events("tftp").at(0)["rejected_forgeries"], 0);
}

TEST_F(TftpUpdateTest, SendsNoDataTwiceOnRepeatedAcknowledgements) {
    SimulatedCamera camera({"--profile", "loader", "--tftp-duplicate", "100", "--tftp-max-blksize",
                            "1428", "--tftp-max-windowsize", "0"});
    ExpectUpdated(RunUpdater({kLoopback, "--noreset", Payload()}));
    // Each DATA packet arrives twice by the fault itself, never three or four times.
    const std::uint64_t blocks = (body.size() + 64) / 1428 + 1;
    EXPECT_LE(camera.Events("tftp").at(0)["duplicates"], blocks + 1);
}

TEST_F(TftpUpdateTest, SurvivesTheLossOfEveryLastAcknowledgement) {
    SimulatedCamera camera({"--profile", "loader", "--tftp-lost-last-acks", "1000"});
    ExpectUpdated(RunUpdater({kLoopback, "--noreset", Payload()}));
    EXPECT_TRUE(camera.Firmware() == body);
}

TEST_F(TftpUpdateTest, FailsWithTheServersOwnWords) {
    SimulatedCamera camera({"--profile", "loader", "--tftp-error-at", "100000"});
    ExpectTransferFailed(RunUpdater({kLoopback, Payload()}),
                         "ERROR 3 (disk full): \"Flash write error\"");
    EXPECT_EQ(camera.State()["stored_version"], "1.0");
}

TEST_F(TftpUpdateTest, FailsWhenTheServerRefusesAtOnce) {
    SimulatedCamera camera({"--profile", "loader", "--tftp-first-answer", "error"});
    ExpectTransferFailed(RunUpdater({kLoopback, Payload()}), "ERROR 0 (not defined): \"Not now\"");
}

TEST_F(TftpUpdateTest, GivesUpAServerThatNeverAnswers) {
    SimulatedCamera camera({"--profile", "loader", "--tftp-mute"});
    const ProcessResult result = RunUpdater({kLoopback, Payload()}, seconds(60));
    ExpectTransferFailed(result, "has not answered");
    EXPECT_THAT(result.out, HasSubstr("Waiting "));
}

TEST_F(TftpUpdateTest, GivesUpAServerThatIsNotThere) {
    SimulatedCamera camera({"--profile", "loader", "--no-tftp"});
    ExpectTransferFailed(RunUpdater({kLoopback, Payload()}, seconds(60)), "TFTP server");
}

TEST_F(TftpUpdateTest, GivesUpAServerThatStopsInTheMiddle) {
    SimulatedCamera camera(
        {"--profile", "loader", "--tftp-silent-at", "100000", "--tftp-max-blksize", "1428"});
    const ProcessResult result = RunUpdater({kLoopback, Payload()}, seconds(60));
    ExpectTransferFailed(result, "stopped answering after ");
    EXPECT_THAT(result.err, HasSubstr(" of " + std::to_string(body.size() + 64) + " bytes"));
    EXPECT_EQ(camera.State()["stored_version"], "1.0");
}

// Unplugged, hung, or restarted: a device that fails while it is written.
class TftpFailingDeviceTest : public TftpUpdateTest,
                              public testing::WithParamInterface<std::string> {};

TEST_P(TftpFailingDeviceTest, IsGivenUpSoonWithAReason) {
    SimulatedCamera camera({"--profile", "loader", "--" + GetParam() + "-at", "100000",
                            "--reboot-time", "0", "--tftp-max-blksize", "1428"});
    const ProcessResult result = RunUpdater({kLoopback, Payload()}, seconds(60));
    ExpectTransferFailed(result, "stopped answering after ");
    EXPECT_THAT(result.err, HasSubstr(" of " + std::to_string(body.size() + 64) + " bytes"));
    EXPECT_EQ(camera.Events("fault").at(0)["kind"], GetParam());
    EXPECT_EQ(camera.State()["stored_version"], "1.0");
    EXPECT_EQ(camera.Firmware(), "");
}

INSTANTIATE_TEST_SUITE_P(Faults, TftpFailingDeviceTest, testing::Values("mute", "reboot", "vanish"),
                         [](const auto& fault) { return fault.param; });

TEST_F(TftpUpdateTest, JudgesTheFirst1024BytesOfAnOversizedStatus) {
    SimulatedCamera camera({"--profile", "loader", "--tftp-status-size", "100000"});
    const ProcessResult result = RunUpdater({kLoopback, Payload()});
    EXPECT_THAT(WithoutLabels(result.out), EndsWith("Firmware upload complete.\n"));
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(camera.Firmware() == body);
}

TEST_F(TftpUpdateTest, AcceptsNoOptionValueOutOfRange) {
    // Ethernet's packet size, unlike loopback's, makes the client ask for windows of many blocks.
    const NetworkPair network({NetworkPair::Cable{"169.254.0.1/16", "169.254.0.2/16"}});
    const std::pair<const char*, const char*> answers[] = {
        {"blksize-above-request", "it answered with option blksize=1469, which is out of range"},
        {"blksize-7", "it answered with option blksize=7, which is out of range"},
        {"windowsize-0", "it answered with option windowsize=0, which is out of range"},
        {"unrequested-option",
         "it answered with option multicast=224.0.0.5,1758,1, which was not asked for"},
        {"garbage", "it answered with option tsize=-300064x, which is no number"}};
    for (const auto& [answer, why] : answers) {
        SCOPED_TRACE(answer);
        SimulatedCamera camera({"--profile", "loader", "--tftp-first-answer", answer, "--interface",
                                "far0", "--address", "169.254.0.2"},
                               &network);
        ExpectTransferFailed(
            RunUpdater({"--localinterface=" + NetworkPair::NearMac(0), Payload()}, seconds(60)),
            why);
        EXPECT_EQ(camera.State()["stored_version"], "1.0");
    }
}

}  // namespace

#include "TftpUpdateFixture.h"

#include <algorithm>

#include <gmock/gmock.h>

#include "NetworkPair.h"

namespace {

using std::chrono::seconds;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class TftpFailureTest : public TftpUpdateFixture {
  protected:
    static void ExpectTransferFailed(const ProcessResult& result, const std::string& why) {
        EXPECT_FALSE(result.timedOut);
        EXPECT_LT(result.duration, kSoon);
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(WithoutLabels(result.out), kStart + kFailed);
        EXPECT_THAT(result.err, AllOf(StartsWith("Cannot send RemoteUpdateDfw to "), HasSubstr(why),
                                      EndsWith("\n" + kWritingFailed)));
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 2) << result.err;
    }

    /// From some poll on to the last one the label must show what is being waited for.
    static void ExpectWarned(const ProcessResult& result, const std::string& what) {
        unsigned long waited = 0;
        unsigned long retry = 0;
        for (const std::string& label : Labels(result.out)) {
            const std::size_t retryAt = label.rfind("(retry ");
            if (!label.starts_with("Waiting ") || retryAt == std::string::npos) {
                EXPECT_EQ(waited, 0U) << label;
                continue;
            }
            const unsigned long waitedNow = std::stoul(label.substr(8));
            const unsigned long retryNow = std::stoul(label.substr(retryAt + 7));
            EXPECT_EQ(label, "Waiting " + std::to_string(waitedNow) + " s for " + what +
                                 " (retry " + std::to_string(retryNow) + ")");
            EXPECT_GE(waitedNow, std::max(waited, 1UL));
            EXPECT_GE(retryNow, std::max(retry, 1UL));
            waited = waitedNow;
            retry = retryNow;
        }
        EXPECT_GT(waited, 1U) << "warned of next to nothing";
        EXPECT_GT(retry, 1U);
    }
};

TEST_F(TftpFailureTest, PrintsTheDevicesOwnWordsWhenItRejectsThePayload) {
    SimulatedCamera camera({"--profile", "no-file-access", "--family", "OtherCam"});
    const ProcessResult result = RunUpdater({kLoopback, "--deviceid=left", Payload()});
    EXPECT_EQ(WithoutLabels(result.out), kStart + "Validating update... Please wait...\n" +
                                             "Setting new device ID\n" + kFailed);
    EXPECT_THAT(result.err, AllOf(StartsWith("Status error: Payload rejected: "),
                                  EndsWith("\n" + kWritingFailed)));
    EXPECT_EQ(camera.State()["resets"], 0);
    EXPECT_EQ(camera.Firmware(), "");
}

TEST_F(TftpFailureTest, FailsWhenTheFlashFails) {
    SimulatedCamera camera({"--profile", "loader", "--fail-flash", "--flash-time", "100"});
    const ProcessResult result = RunUpdater({kLoopback, Payload()});
    EXPECT_THAT(result.err, StartsWith("Status error: Flash write failed"));
    EXPECT_EQ(camera.State()["stored_version"], "1.0");
}

TEST_F(TftpFailureTest, ReadsTheStatusOnceOnly) {
    SimulatedCamera camera(
        {"--profile", "no-file-access", "--flash-time", "60000", "--tftp-busy-status"});
    const ProcessResult result = RunUpdater({kLoopback, Payload()});
    EXPECT_EQ(result.err,
              "Status error: Flash currently being written in background\n" + kWritingFailed);
    EXPECT_EQ(camera.Events("tftp").size(), 2U);
}

TEST_F(TftpFailureTest, FailsWithTheServersOwnWords) {
    SimulatedCamera camera({"--profile", "loader", "--tftp-error-at", "100000"});
    ExpectTransferFailed(RunUpdater({kLoopback, Payload()}),
                         "ERROR 3 (disk full): \"Flash write error\"");
    EXPECT_EQ(camera.State()["stored_version"], "1.0");
}

TEST_F(TftpFailureTest, FailsWhenTheServerRefusesAtOnce) {
    SimulatedCamera camera({"--profile", "loader", "--tftp-first-answer", "error"});
    ExpectTransferFailed(RunUpdater({kLoopback, Payload()}),
                         "ERROR 0 (not defined): \"Try again later\"");
}

TEST_F(TftpFailureTest, GivesUpAServerThatNeverAnswers) {
    SimulatedCamera camera({"--profile", "loader", "--tftp-mute"});
    const ProcessResult result = RunUpdater({kLoopback, Payload()}, seconds(60));
    ExpectTransferFailed(result, "has not responded");
    ExpectWarned(result, "127.0.0.1 on lo to reply to the request");
}

TEST_F(TftpFailureTest, GivesUpAServerThatIsNotThere) {
    SimulatedCamera camera({"--profile", "loader", "--no-tftp"});
    ExpectTransferFailed(RunUpdater({kLoopback, Payload()}, seconds(60)), "TFTP server");
}

TEST_F(TftpFailureTest, GivesUpAServerThatStopsInTheMiddle) {
    SimulatedCamera camera(
        {"--profile", "loader", "--tftp-silent-at", "100000", "--tftp-max-blksize", "1428"});
    const ProcessResult result = RunUpdater({kLoopback, Payload()}, seconds(60));
    ExpectTransferFailed(result, "stopped responding after ");
    EXPECT_THAT(result.err, HasSubstr(" of " + std::to_string(body.size() + 64) + " bytes"));
    const std::string before = "stopped responding after ";
    const std::size_t acknowledged = result.err.find(before) + before.size();
    ExpectWarned(result, "127.0.0.1 on lo to acknowledge byte " +
                             result.err.substr(acknowledged,
                                               result.err.find(' ', acknowledged) - acknowledged));
    EXPECT_EQ(camera.State()["stored_version"], "1.0");
}

TEST_F(TftpFailureTest, DoesNotTakeTheSuccessOfAnEarlierUpdateForItsOwn) {
    // Ethernet's packet size, unlike loopback's, makes the client ask for windows of many blocks:
    // the device falls silent with the first half of the file, after the first window.
    const NetworkPair network({NetworkPair::Cable{"169.254.0.1/16", "169.254.0.2/16"}});
    SimulatedCamera camera({"--profile", "loader", "--tftp-silent-at", "31000", "--interface",
                            "far0", "--address", "169.254.0.2"},
                           &network);
    const std::string interface = "--localinterface=" + NetworkPair::NearMac(0);
    ExpectUpdated(RunUpdater({interface, "--noreset", Payload(1, 20000)}));
    ASSERT_THAT(camera.State()["last_status"].get<std::string>(), StartsWith("Firmware applied:"));
    const std::string firmware = camera.Firmware();
    const ProcessResult result =
        RunUpdater({interface, "--noreset", Payload(2, 60000)}, seconds(60));
    ExpectTransferFailed(result, "stopped responding after 30828 of 60064 bytes");
    EXPECT_TRUE(camera.Firmware() == firmware);
}

TEST_F(TftpFailureTest, AcceptsNoOptionValueOutOfRange) {
    // Ethernet's packet size, unlike loopback's, makes the client ask for windows of many blocks.
    const NetworkPair network({NetworkPair::Cable{"169.254.0.1/16", "169.254.0.2/16"}});
    const std::pair<const char*, const char*> answers[] = {
        {"blksize-above-request", "it granted option blksize=1469, which is out of range"},
        {"blksize-7", "it granted option blksize=7, which is out of range"},
        {"windowsize-0", "it granted option windowsize=0, which is out of range"},
        {"unrequested-option",
         "it granted option multicast=224.0.0.5,1758,1, which was not requested"},
        {"garbage", "it granted option tsize=-300064x, which is not a number"}};
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

// Unplugged, hung, or restarted: a device that fails while it is written.
class TftpFailingDeviceTest : public TftpFailureTest,
                              public testing::WithParamInterface<std::string> {};

TEST_P(TftpFailingDeviceTest, IsGivenUpSoonWithAReason) {
    SimulatedCamera camera({"--profile", "loader", "--" + GetParam() + "-at", "100000",
                            "--reboot-time", "0", "--tftp-max-blksize", "1428"});
    const ProcessResult result = RunUpdater({kLoopback, Payload()}, seconds(60));
    ExpectTransferFailed(result, "stopped responding after ");
    EXPECT_THAT(result.err, HasSubstr(" of " + std::to_string(body.size() + 64) + " bytes"));
    EXPECT_EQ(camera.Events("fault").at(0)["kind"], GetParam());
    EXPECT_EQ(camera.State()["stored_version"], "1.0");
    EXPECT_EQ(camera.Firmware(), "");
}

INSTANTIATE_TEST_SUITE_P(Faults, TftpFailingDeviceTest, testing::Values("mute", "reboot", "vanish"),
                         [](const auto& fault) { return fault.param; });

}  // namespace

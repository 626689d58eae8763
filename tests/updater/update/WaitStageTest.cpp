// The stage of an update job that starts the worker and shows its label until it is complete.
#include <gmock/gmock.h>

#include "UpdateJob.h"
#include "UpdaterRun.h"

namespace {

constexpr std::int64_t kHalfSecond = 500'000'000;
constexpr const char* kRest =
    "\nValidating update... Please wait...\nUpdate is valid.\nFirmware upload complete.\n";

class WaitStageTest : public testing::Test {
  protected:
    WaitStageTest() { update.job.resetAfterUpdate = false; }

    UpdateJob update{UpdateJob::Mode::kDirect};
    Script& script = update.script;
};

}  // namespace

TEST_F(WaitStageTest, AWorkerThatIsCompleteAtOnceShowsNoLabelAndIsNotWaitedFor) {
    ExpectFileAccessUpdate(script, "cam", "payload.dfw");
    EXPECT_EQ(update.Run().out, std::string("Starting update...\n") + kRest);
    EXPECT_TRUE(script.Sleeps().empty());
}

TEST_F(WaitStageTest, TheLabelIsShownInPlaceAfterEachHalfSecond) {
    script.progress = {{0, 0}, {0, 2048}, {1024, 2048}, {2048, 2048}};
    ExpectProbe(script, "cam");
    script.Expect("NxDevice::CreateAndConnect cam").LastsUntilSleep(2);
    script.Expect("NxGenFile::Open RemoteUpdateDfw write");
    script.Expect("NxGenFile::WriteFrom payload.dfw").LastsUntilSleep(4);
    script.Expect("NxGenFile::Close");
    ExpectFileAccessStatus(script, "Firmware applied: 2");
    script.Expect("NxDevice::Free cam");
    const JobOutcome outcome = update.Run();
    EXPECT_TRUE(outcome.succeeded);
    EXPECT_EQ(outcome.out, std::string("Starting update...\n"
                                       "Connecting device...\r"
                                       "1/2 KBs transferred (50%)\r"
                                       "2/2 KBs transferred (100%)\r"
                                       "Connecting device...\r") +
                               kRest);
    EXPECT_EQ(script.Sleeps(), std::vector<std::int64_t>(4, kHalfSecond));
}

TEST_F(WaitStageTest, AnEmptyLabelIsStillACarriageReturn) {
    ExpectProbe(script, "cam");
    script.Expect("NxDevice::CreateAndConnect cam");
    script.Expect("NxGenFile::Open RemoteUpdateDfw write");
    script.Expect("NxGenFile::WriteFrom payload.dfw").LastsUntilSleep(2);
    script.Expect("NxGenFile::Close");
    ExpectFileAccessStatus(script, "Firmware applied: 2");
    script.Expect("NxDevice::Free cam");
    EXPECT_EQ(update.Run().out,
              std::string("Starting update...\n\rConnecting device...\r") + kRest);
}

TEST_F(WaitStageTest, EveryStageLineAndEveryLabelIsFlushed) {
    ExpectProbe(script, "cam");
    script.Expect("NxDevice::CreateAndConnect cam").LastsUntilSleep(1);
    script.Expect("NxGenFile::Open RemoteUpdateDfw write");
    script.Expect("NxGenFile::WriteFrom payload.dfw");
    script.Expect("NxGenFile::Close");
    ExpectFileAccessStatus(script, "Firmware applied: 2");
    script.Expect("NxDevice::Free cam");
    EXPECT_EQ(update.Run().outWithFlushes,
              "Starting update...\n<flush>Connecting device...\r<flush>\n<flush>"
              "Validating update... Please wait...\n<flush>Update is valid.\n<flush>"
              "Firmware upload complete.\n<flush>");
}

TEST_F(WaitStageTest, AnInterruptedWaitIsResumedForTheRest) {
    script.interruptedSleeps = 1;
    ExpectProbe(script, "cam");
    script.Expect("NxDevice::CreateAndConnect cam").LastsUntilSleep(2);
    script.Expect("NxGenFile::Open RemoteUpdateDfw write");
    script.Expect("NxGenFile::WriteFrom payload.dfw");
    script.Expect("NxGenFile::Close");
    ExpectFileAccessStatus(script, "Firmware applied: 2");
    script.Expect("NxDevice::Free cam");
    EXPECT_EQ(update.Run().out, std::string("Starting update...\nConnecting device...\r") + kRest);
    EXPECT_EQ(script.Sleeps(), (std::vector<std::int64_t>{kHalfSecond, kHalfSecond / 2}));
}

TEST_F(WaitStageTest, AStalledTftpTransferShowsItsWarning) {
    script.fileAccess = false;
    script.progress = {{0, 4096}, {2048, 4096}, {2048, 4096}, {4096, 4096}};
    script.warnings = {"", "", "No answer for 2 s, retry 3", ""};
    ExpectProbe(script, "cam");
    script.Expect("NxTftpClient::Init cam RemoteUpdateDfw");
    script.Expect("NxTftpClient::SendFile payload.dfw").LastsUntilSleep(3);
    ExpectTftpStatus(script, "cam", "Firmware applied: 2");
    EXPECT_EQ(update.Run().out, std::string("Starting update...\n"
                                            "2/4 KBs transferred (50%)\r"
                                            "No answer for 2 s, retry 3\r"
                                            "4/4 KBs transferred (100%)\r") +
                                    kRest);
}

TEST_F(WaitStageTest, UpdateProgressWritesThePercentageOfARunningWorker) {
    script.progress = {{0, 0}, {512, 2048}};
    ExpectProbe(script, "cam");
    script.Expect("NxDevice::CreateAndConnect cam");
    script.Expect("NxGenFile::Open RemoteUpdateDfw write");
    script.Expect("NxGenFile::WriteFrom payload.dfw").LastsUntilSleep(2);
    script.Expect("NxGenFile::Close");
    ExpectFileAccessStatus(script, "Firmware applied: 2");
    script.Expect("NxDevice::Free cam");
    script.onSleep = [this] { update.job.UpdateProgress(); };
    EXPECT_EQ(update.Run().outWithFlushes,
              "Starting update...\n<flush>Current progress: 25\n<flush>\r<flush>"
              "Current progress: 100\n<flush>Connecting device...\r<flush>\n<flush>"
              "Validating update... Please wait...\n<flush>Update is valid.\n<flush>"
              "Firmware upload complete.\n<flush>");
}

TEST_F(WaitStageTest, WithoutAWorkerLabelProgressAndCompletionDoNothing) {
    const JobOutcome outcome = update.Record([](MirskoFirmwareUpdaterDlg& job) {
        job.UpdateLabel();
        job.UpdateProgress();
        job.CompleteUpdate();
        return true;
    });
    EXPECT_EQ(outcome.outWithFlushes, "");
    EXPECT_EQ(outcome.err, "");
}

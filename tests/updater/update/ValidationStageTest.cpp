// The stage of an update job that judges the transfer and the device's status text.
#include <gmock/gmock.h>

#include "UpdateJob.h"
#include "UpdaterRun.h"

namespace {

constexpr const char* kWriteFailed = "Writing payload file to device failed!\n";

class ValidationStageTest : public testing::Test {
  protected:
    UpdateJob update{UpdateJob::Mode::kDirect};
    Script& script = update.script;
};

}  // namespace

TEST_F(ValidationStageTest, AFailedTransferShowsItsDescriptionAndIsNotValidated) {
    ExpectProbe(script, "cam");
    script.Expect("NxDevice::CreateAndConnect cam");
    script.Expect("NxGenFile::Open RemoteUpdateDfw write");
    script.Expect("NxGenFile::WriteFrom payload.dfw").Fails(0x105, "Control of cam was lost");
    script.Expect("NxGenFile::Close");
    script.Expect("NxDevice::Free cam");
    const JobOutcome outcome = update.Run();
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.out, "Starting update...\n\nUpdate failed.\n");
    EXPECT_EQ(outcome.err, std::string("Control of cam was lost\n") + kWriteFailed);
    EXPECT_THAT(outcome.errWithFlushes, testing::HasSubstr("Control of cam was lost\n<flush>"));
    EXPECT_EQ(outcome.outWithFlushes,
              "Starting update...\n<flush>\n<flush>Update failed.\n<flush>");
}

TEST_F(ValidationStageTest, AStatusWithoutSuccessIsShownInTheDevicesOwnWords) {
    ExpectProbe(script, "cam");
    ExpectFileAccessTransfer(script, "cam", "payload.dfw");
    ExpectFileAccessStatus(script, "CRC mismatch \xC3\xA9\xFF in block 7");
    script.Expect("NxDevice::Free cam");
    const JobOutcome outcome = update.Run();
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.out,
              "Starting update...\n\nValidating update... Please wait...\nUpdate failed.\n");
    EXPECT_EQ(outcome.err,
              std::string("Status error: CRC mismatch \xC3\xA9\xFF in block 7\n") + kWriteFailed);
}

TEST_F(ValidationStageTest, AStatusThatCannotBeReadIsShownAsFarAsItIsKnown) {
    ExpectProbe(script, "cam");
    ExpectFileAccessTransfer(script, "cam", "payload.dfw");
    script.Expect("NxGenFile::Open StatusTxt read").Fails(0x10c, "no such file");
    script.Expect("NxDevice::Free cam");
    const JobOutcome outcome = update.Run();
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.err, std::string("Status error: \n") + kWriteFailed);
    EXPECT_EQ(outcome.errWithFlushes,
              std::string("Status error: \n<flush>") + kWriteFailed + "<flush>");
}

TEST_F(ValidationStageTest, AStatusThatCannotBeReadAgainIsShownAsItWasBefore) {
    ExpectProbe(script, "cam");
    ExpectFileAccessTransfer(script, "cam", "payload.dfw");
    ExpectFileAccessStatus(script, "Flash currently being written in background");
    script.Expect("NxGenFile::Open StatusTxt read").Fails(0x105, "control lost");
    script.Expect("NxDevice::Free cam");
    EXPECT_EQ(
        update.Run().err,
        std::string("Status error: Flash currently being written in background\n") + kWriteFailed);
}

TEST_F(ValidationStageTest, TheMinuteOfABusyDeviceIsWaitedOut) {
    ExpectProbe(script, "cam");
    ExpectFileAccessTransfer(script, "cam", "payload.dfw");
    for (int i = 0; i < 61; ++i) {
        ExpectFileAccessStatus(script, i < 60 ? "Flash currently being written in background"
                                              : std::string("Firmware applied: 2\0", 20));
    }
    script.Expect("NxDevice::Free cam");
    update.job.resetAfterUpdate = false;
    EXPECT_TRUE(update.Run().succeeded);
    EXPECT_EQ(script.Sleeps(), std::vector<std::int64_t>(60, 1'000'000'000));
}

TEST_F(ValidationStageTest, AFailedTftpTransferIsReportedTheSameWay) {
    script.fileAccess = false;
    ExpectProbe(script, "cam");
    script.Expect("NxTftpClient::Init cam RemoteUpdateDfw");
    script.Expect("NxTftpClient::SendFile payload.dfw").Fails(0x10e, "cam: disk full (error 3)");
    const JobOutcome outcome = update.Run();
    EXPECT_EQ(outcome.out, "Starting update...\n\nUpdate failed.\n");
    EXPECT_EQ(outcome.err, std::string("cam: disk full (error 3)\n") + kWriteFailed);
}

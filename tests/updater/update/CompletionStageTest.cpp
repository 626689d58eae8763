// The stage of an update job that sets the device ID, resets the device and releases the worker.
#include <gmock/gmock.h>

#include "UpdateJob.h"
#include "UpdaterRun.h"

namespace {

constexpr const char* kValid =
    "Starting update...\n\nValidating update... Please wait...\nUpdate is valid.\n";

class CompletionStageTest : public testing::Test {
  protected:
    void ExpectTftp(const std::string& status) {
        script.fileAccess = false;
        ExpectProbe(script, "cam");
        ExpectTftpTransfer(script, "cam", "payload.dfw");
        ExpectTftpStatus(script, "cam", status);
    }
    /// Expects a transfer during which the job's own Reset succeeds.
    void ExpectTransferWithResetMeanwhile() {
        update.job.resetAfterUpdate = false;
        script.fileAccess = false;
        ExpectProbe(script, "cam");
        script.Expect("NxTftpClient::Init cam RemoteUpdateDfw");
        script.Expect("NxTftpClient::SendFile payload.dfw").LastsUntilSleep(1);
        script.onSleep = [this] { EXPECT_EQ(update.job.Reset().GetCode(), 0U); };
    }
    void ExpectTftpId() {
        script.Expect("NxDfwPayload::GetDeviceIdRecord payload.dfw cam-b 4096").Gives("ID");
        script.Expect("NxTftpClient::Init cam RemoteUpdateDfw");
        script.Expect("NxTftpClient::SendData ID");
    }

    UpdateJob update{UpdateJob::Mode::kDirect};
    Script& script = update.script;
};

}  // namespace

TEST_F(CompletionStageTest, ASuccessIsFollowedByAResetAndAPauseOfHalfASecond) {
    ExpectTftp("Firmware applied: 2");
    ExpectTftpReset(script, "cam", "payload.dfw");
    const JobOutcome outcome = update.Run();
    EXPECT_TRUE(outcome.succeeded);
    EXPECT_EQ(outcome.out, std::string(kValid) + "Resetting device\nFirmware upload complete.\n");
    EXPECT_EQ(script.Sleeps(), std::vector<std::int64_t>{500'000'000});
    EXPECT_EQ(script.clients, 0);
}

TEST_F(CompletionStageTest, WithoutResetThereIsNoLineAndNoPause) {
    update.job.resetAfterUpdate = false;
    ExpectTftp("Firmware applied: 2");
    const JobOutcome outcome = update.Run();
    EXPECT_TRUE(outcome.succeeded);
    EXPECT_EQ(outcome.out, std::string(kValid) + "Firmware upload complete.\n");
    EXPECT_TRUE(script.Sleeps().empty());
}

TEST_F(CompletionStageTest, TheDeviceIdIsSetBeforeTheReset) {
    update.job.newDeviceId = "cam-b";
    ExpectTftp("Firmware applied: 2");
    ExpectTftpId();
    ExpectTftpReset(script, "cam", "payload.dfw");
    EXPECT_EQ(update.Run().out, std::string(kValid) +
                                    "Setting new device ID\nResetting device\n"
                                    "Firmware upload complete.\n");
}

TEST_F(CompletionStageTest, TheDeviceIdIsSentEvenAfterAFailedTransferButNoReset) {
    update.job.newDeviceId = "cam-b";
    script.fileAccess = false;
    ExpectProbe(script, "cam");
    script.Expect("NxTftpClient::Init cam RemoteUpdateDfw");
    script.Expect("NxTftpClient::SendFile payload.dfw").Fails(0x103, "no answer");
    ExpectTftpId();
    const JobOutcome outcome = update.Run();
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.out, "Starting update...\n\nSetting new device ID\nUpdate failed.\n");
    EXPECT_TRUE(script.Sleeps().empty());
}

TEST_F(CompletionStageTest, TheDeviceIdIsSentEvenAfterAFailedValidation) {
    update.job.newDeviceId = "cam-b";
    ExpectTftp("Flash error");
    ExpectTftpId();
    EXPECT_EQ(update.Run().out,
              "Starting update...\n\nValidating update... Please wait...\n"
              "Setting new device ID\nUpdate failed.\n");
}

TEST_F(CompletionStageTest, AFailedDeviceIdChangesNothing) {
    update.job.newDeviceId = "cam-b";
    ExpectTftp("Firmware applied: 2");
    script.Expect("NxDfwPayload::GetDeviceIdRecord payload.dfw cam-b 4096")
        .Fails(0x10f, "no header");
    ExpectTftpReset(script, "cam", "payload.dfw");
    const JobOutcome outcome = update.Run();
    EXPECT_TRUE(outcome.succeeded);
    EXPECT_EQ(outcome.err, "");
}

TEST_F(CompletionStageTest, AFailedResetChangesNothing) {
    ExpectTftp("Firmware applied: 2");
    script.Expect("NxDfwPayload::GetResetRecord payload.dfw 4096").Fails(0x10f, "no header");
    const JobOutcome outcome = update.Run();
    EXPECT_TRUE(outcome.succeeded);
    EXPECT_EQ(outcome.out, std::string(kValid) + "Resetting device\nFirmware upload complete.\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(script.Sleeps().size(), 1U);
}

TEST_F(CompletionStageTest, ATransportThatCannotResetStillSaysSoAndPauses) {
    ExpectFileAccessUpdate(script, "cam", "payload.dfw");
    EXPECT_EQ(update.Run().out,
              std::string(kValid) + "Resetting device\nFirmware upload complete.\n");
    EXPECT_EQ(script.Sleeps(), std::vector<std::int64_t>{500'000'000});
}

TEST_F(CompletionStageTest, ADeviceIdAfterAFailedConnectionFailsQuietly) {
    update.job.newDeviceId = "cam-b";
    ExpectProbe(script, "cam");
    script.Expect("NxDevice::CreateAndConnect cam").Fails(0x104, "refused");
    script.Expect("NxDfwPayload::GetDeviceIdRecord payload.dfw cam-b 4096").Gives("ID");
    const JobOutcome outcome = update.Run();
    EXPECT_EQ(outcome.out, "Starting update...\n\nSetting new device ID\nUpdate failed.\n");
    EXPECT_EQ(outcome.err, "refused\nWriting payload file to device failed!\n");
}

TEST_F(CompletionStageTest, AResetAfterTheWorkerIsGoneIsRefusedWithCode16) {
    ExpectTftp("Firmware applied: 2");
    ExpectTftpReset(script, "cam", "payload.dfw");
    EXPECT_TRUE(update.Run().succeeded);
    EXPECT_EQ(update.job.Reset().GetCode(), 16U);
}

TEST_F(CompletionStageTest, AResetWhileAWorkerIsThereIsItsOwnReset) {
    ExpectTransferWithResetMeanwhile();
    ExpectTftpReset(script, "cam", "payload.dfw");
    ExpectTftpStatus(script, "cam", "Firmware applied: 2");
    EXPECT_TRUE(update.Run().succeeded);
}

TEST_F(CompletionStageTest, TheWorkerIsKeptUntilThePauseAfterItsResetIsOver) {
    ExpectTftp("Firmware applied: 2");
    ExpectTftpReset(script, "cam", "payload.dfw");
    script.onSleep = [this] {
        EXPECT_EQ(script.CountOf("NxTftpClient::SendData RESET"), 1U);
        EXPECT_EQ(script.clients, 1);
    };
    EXPECT_TRUE(update.Run().succeeded);
    EXPECT_EQ(script.Sleeps().size(), 1U);
}

TEST_F(CompletionStageTest, TheFailureOfAResetWhileAWorkerIsThereIsNotPassedOn) {
    ExpectTransferWithResetMeanwhile();
    script.Expect("NxDfwPayload::GetResetRecord payload.dfw 4096").Fails(0x10f, "no header");
    ExpectTftpStatus(script, "cam", "Firmware applied: 2");
    EXPECT_TRUE(update.Run().succeeded);
}

TEST_F(CompletionStageTest, TheDeviceIdIsSentEvenWhereTheTransferCouldNotBegin) {
    update.job.newDeviceId = "cam-b";
    script.fileAccess = false;
    ExpectProbe(script, "cam");
    script.Expect("NxTftpClient::Init cam RemoteUpdateDfw").Fails(0x100, "malformed");
    ExpectTftpId();
    const JobOutcome outcome = update.Run();
    EXPECT_EQ(outcome.out, "Starting update...\n\nSetting new device ID\nUpdate failed.\n");
    EXPECT_EQ(outcome.err, "malformed\nWriting payload file to device failed!\n");
}

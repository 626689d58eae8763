#include <memory>

#include <gmock/gmock.h>

#include "OutcomeWatch.h"
#include "ThreadTftp.h"
#include "UpdaterRun.h"

namespace {

class ThreadTftpTest : public testing::Test {
  protected:
    /// Runs a transfer that succeeds.
    void Transfer() {
        ExpectTftpTransfer(script, "cam", "fw.dfw");
        worker.Run();
        ASSERT_TRUE(worker.mResult.IsOK());
    }
    /// The label at this byte count, of 100 KiB, with this warning of the client.
    std::string LabelAt(long done, const std::string& warning) {
        script.progress = {{done, 102400}};
        script.warnings = {warning};
        return worker.GetLabel().GetAscii();
    }

    Script script;
    NxString status;
    ThreadTftp worker{"cam", "fw.dfw"};
};

}  // namespace

TEST_F(ThreadTftpTest, BeforeTheRunProgressIsUntouchedAndTheLabelIsTheUsualOne) {
    long done = 7;
    long total = 9;
    worker.GetRawProgress(done, total);
    EXPECT_EQ(done, 7);
    EXPECT_EQ(total, 9);
    EXPECT_EQ(LabelAt(51200, "not asked yet"), "");
    EXPECT_EQ(script.clients, 0);
}

TEST_F(ThreadTftpTest, AFailedInitIsTheOutcomeAndNothingIsSent) {
    script.Expect("NxTftpClient::Init cam RemoteUpdateDfw").Fails(0x100, "malformed");
    worker.Start();
    script.WaitUntilSettled();
    EXPECT_TRUE(worker.IsComplete());
    EXPECT_EQ(worker.mResult.GetCode(), 0x100U);
    EXPECT_STREQ(worker.mResult.GetDescription().GetAscii(), "malformed");
    EXPECT_EQ(worker.GetProgress(), 0);
}

TEST_F(ThreadTftpTest, AfterAFailedInitTheClientStillSendsRecords) {
    script.Expect("NxTftpClient::Init cam RemoteUpdateDfw").Fails(0x100, "malformed");
    worker.Run();
    EXPECT_EQ(script.clients, 1);
    unsigned char record[] = {'i', 'd'};
    script.Expect("NxTftpClient::Init cam RemoteUpdateDfw");
    script.Expect("NxTftpClient::SendData id");
    EXPECT_TRUE(worker.SendBuffer(record, 2).IsOK());
    EXPECT_EQ(script.CountOf("NxTftpClient::NxTftpClient"), 1U);
}

TEST_F(ThreadTftpTest, AFailedSendIsTheOutcome) {
    script.Expect("NxTftpClient::Init cam RemoteUpdateDfw");
    script.Expect("NxTftpClient::SendFile fw.dfw").Fails(0x10e, "disk full");
    worker.Run();
    EXPECT_EQ(worker.mResult.GetCode(), 0x10eU);
}

TEST_F(ThreadTftpTest, TheWholeStatusTextIsHandedOut) {
    Transfer();
    ExpectTftpStatus(script, "cam", "Firmware applied: main 2.0");
    EXPECT_TRUE(worker.GetStatus(status).IsOK());
    EXPECT_STREQ(status.GetAscii(), "Firmware applied: main 2.0");
}

TEST_F(ThreadTftpTest, TheStatusEndsAtItsFirstZeroByte) {
    Transfer();
    ExpectTftpStatus(script, "cam", std::string("text\0more", 9));
    EXPECT_TRUE(worker.GetStatus(status).IsOK());
    EXPECT_STREQ(status.GetAscii(), "text");
}

TEST_F(ThreadTftpTest, AStatusOf1024BytesIsTakenAsItIs) {
    Transfer();
    const std::string text(1024, 's');
    ExpectTftpStatus(script, "cam", text);
    EXPECT_TRUE(worker.GetStatus(status).IsOK());
    EXPECT_EQ(status.GetAscii(), text);
}

TEST_F(ThreadTftpTest, ALongerStatusIsCutAt1024Bytes) {
    Transfer();
    ExpectTftpStatus(script, "cam", std::string(5000, 's'));
    EXPECT_TRUE(worker.GetStatus(status).IsOK());
    EXPECT_EQ(status.GetAscii(), std::string(1024, 's'));
}

TEST_F(ThreadTftpTest, AFailedStatusLeavesTheTextUntouched) {
    Transfer();
    status = "before";
    script.Expect("NxTftpClient::Init cam status").Fails(0x100);
    EXPECT_EQ(worker.GetStatus(status).GetCode(), 0x100U);
    script.Expect("NxTftpClient::Init cam status");
    script.Expect("NxTftpClient::GetData 1024").Gives("half a te").Fails(0x103, "no answer");
    const NxResult result = worker.GetStatus(status);
    EXPECT_EQ(result.GetCode(), 0x103U);
    EXPECT_STREQ(result.GetDescription().GetAscii(), "no answer");
    EXPECT_STREQ(status.GetAscii(), "before");
}

TEST_F(ThreadTftpTest, ARecordGoesToRemoteUpdateDfwWithAFreshInit) {
    Transfer();
    unsigned char record[] = {'r', 'e', 'c'};
    script.Expect("NxTftpClient::Init cam RemoteUpdateDfw");
    script.Expect("NxTftpClient::SendData rec");
    EXPECT_TRUE(worker.SendBuffer(record, 3).IsOK());
    EXPECT_EQ(script.CountOf("NxTftpClient::NxTftpClient"), 1U);
}

TEST_F(ThreadTftpTest, ARecordFailsWithTheFirstFailingCall) {
    Transfer();
    unsigned char record[] = {'r'};
    script.Expect("NxTftpClient::Init cam RemoteUpdateDfw").Fails(0x100);
    EXPECT_EQ(worker.SendBuffer(record, 1).GetCode(), 0x100U);
    script.Expect("NxTftpClient::Init cam RemoteUpdateDfw");
    script.Expect("NxTftpClient::SendData r").Fails(0x10e);
    EXPECT_EQ(worker.SendBuffer(record, 1).GetCode(), 0x10eU);
}

TEST_F(ThreadTftpTest, ResetIsAlwaysSupported) {
    EXPECT_TRUE(worker.SupportsReset());
    Transfer();
    EXPECT_TRUE(worker.SupportsReset());
    ExpectTftpReset(script, "cam", "fw.dfw");
    EXPECT_TRUE(worker.Reset().IsOK());
}

TEST_F(ThreadTftpTest, WithoutAnyWarningTheLabelIsTheUsualOne) {
    Transfer();
    EXPECT_EQ(LabelAt(0, ""), "");
    EXPECT_EQ(LabelAt(51200, ""), "50/100 KBs transferred (50%)");
}

TEST_F(ThreadTftpTest, AWarningIsShownOnEveryPollWhileTheByteCountStands) {
    Transfer();
    EXPECT_EQ(LabelAt(51200, "waiting"), "waiting");
    EXPECT_EQ(LabelAt(51200, ""), "waiting");
    EXPECT_EQ(LabelAt(51200, ""), "waiting");
}

TEST_F(ThreadTftpTest, TheUsualLabelReturnsWhenBytesFlowWithoutANewWarning) {
    Transfer();
    EXPECT_EQ(LabelAt(51200, "waiting"), "waiting");
    EXPECT_EQ(LabelAt(61440, ""), "60/100 KBs transferred (60%)");
}

TEST_F(ThreadTftpTest, AWarningIsShownAsLongAsTheClientReportsOne) {
    Transfer();
    EXPECT_EQ(LabelAt(51200, "first"), "first");
    EXPECT_EQ(LabelAt(61440, "second"), "second");
    EXPECT_EQ(LabelAt(61440, ""), "second");
    EXPECT_EQ(LabelAt(51200, ""), "50/100 KBs transferred (50%)");
}

TEST_F(ThreadTftpTest, AStoredWarningReturnsWhenTheByteCountFallsBackToItsPlace) {
    Transfer();
    EXPECT_EQ(LabelAt(51200, "waiting"), "waiting");
    EXPECT_EQ(LabelAt(61440, ""), "60/100 KBs transferred (60%)");
    EXPECT_EQ(LabelAt(71680, ""), "70/100 KBs transferred (70%)");
    EXPECT_EQ(LabelAt(51200, ""), "waiting");
}

TEST_F(ThreadTftpTest, ANewWarningReplacesTheStoredOneAtTheSamePlace) {
    Transfer();
    EXPECT_EQ(LabelAt(51200, "first"), "first");
    EXPECT_EQ(LabelAt(51200, "second"), "second");
    EXPECT_EQ(LabelAt(51200, ""), "second");
}

TEST_F(ThreadTftpTest, AWarningBeforeTheFirstByteStandsAtZero) {
    Transfer();
    EXPECT_EQ(LabelAt(0, "no answer yet"), "no answer yet");
    EXPECT_EQ(LabelAt(0, ""), "no answer yet");
    EXPECT_EQ(LabelAt(1024, ""), "1/100 KBs transferred (1%)");
}

TEST_F(ThreadTftpTest, ProgressIsReportedOnlyWhileTheFileIsSent) {
    script.progress = {{51200, 102400}};
    script.Expect("NxTftpClient::Init cam RemoteUpdateDfw").LastsUntilSleep(1);
    script.Expect("NxTftpClient::SendFile fw.dfw").LastsUntilSleep(2);
    worker.Start();
    script.WaitUntilSettled();
    EXPECT_EQ(worker.GetProgress(), 0);
    (void)script.Sleep(1);
    EXPECT_EQ(worker.GetProgress(), 50);
    (void)script.Sleep(1);
    EXPECT_TRUE(worker.IsComplete());
    EXPECT_EQ(worker.GetProgress(), 100);
}

TEST_F(ThreadTftpTest, TheOutcomeIsStoredBeforeTheTransferringEnds) {
    for (const unsigned int code : {0U, 0x103U}) {
        OutcomeWatch<ThreadTftp> watched(script, "cam", "fw.dfw");
        script.Expect("NxTftpClient::Init cam RemoteUpdateDfw");
        script.Expect("NxTftpClient::SendFile fw.dfw").result = NxResult(code);
        watched.Run();
        script.onLock = nullptr;
        EXPECT_FALSE(watched.IsTransferring());
        EXPECT_EQ(watched.mResult.GetCode(), code);
        EXPECT_THAT(watched.transferring, testing::ElementsAre(true));
    }
}

TEST_F(ThreadTftpTest, FailuresToTellProgressAndWarningAreIgnored) {
    Transfer();
    script.progressResult = NxResult(0x103, "no progress");
    script.warningResult = NxResult(0x103, "no warning");
    EXPECT_EQ(LabelAt(51200, ""), "50/100 KBs transferred (50%)");
    EXPECT_EQ(LabelAt(51200, "waiting"), "waiting");
    EXPECT_EQ(LabelAt(61440, ""), "60/100 KBs transferred (60%)");
    long done = 0;
    long total = 0;
    worker.GetRawProgress(done, total);
    EXPECT_EQ(done, 61440);
    EXPECT_EQ(total, 102400);
}

TEST_F(ThreadTftpTest, TheLabelAsksForTheProgressOfASubclass) {
    class OwnProgress : public ThreadTftp {
      public:
        using ThreadTftp::ThreadTftp;
        void GetRawProgress(long& doneBytes, long& totalBytes) override {
            doneBytes = done;
            totalBytes = 102400;
        }
        long done = 0;
    };
    OwnProgress own("cam", "fw.dfw");
    ExpectTftpTransfer(script, "cam", "fw.dfw");
    own.Run();
    // The client's own count stands still all the time.
    script.progress = {{1024, 102400}};
    script.warnings = {"waiting"};
    own.done = 51200;
    EXPECT_STREQ(own.GetLabel().GetAscii(), "waiting");
    script.warnings = {""};
    own.done = 61440;
    EXPECT_STREQ(own.GetLabel().GetAscii(), "60/100 KBs transferred (60%)");
    own.done = 51200;
    EXPECT_STREQ(own.GetLabel().GetAscii(), "waiting");
}

TEST_F(ThreadTftpTest, TheClientIsFreedWithTheWorker) {
    {
        ThreadTftp another("cam", "fw.dfw");
        ExpectTftpTransfer(script, "cam", "fw.dfw");
        another.Run();
        EXPECT_EQ(script.clients, 1);
    }
    EXPECT_EQ(script.clients, 0);
}

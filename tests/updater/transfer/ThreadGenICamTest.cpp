#include <memory>

#include <gmock/gmock.h>

#include "OutcomeWatch.h"
#include "ThreadGenICam.h"
#include "UpdaterRun.h"

namespace {

constexpr const char* kBusy = "Flash currently being written in background";
constexpr const char* kConnecting = "Connecting device...";

class ThreadGenICamTest : public testing::Test {
  protected:
    void SetUp() override { worker = std::make_unique<ThreadGenICam>("cam", "fw.dfw"); }

    /// Runs a transfer that succeeds.
    void Transfer() {
        ExpectFileAccessTransfer(script, "cam", "fw.dfw");
        worker->Start();
        script.WaitUntilSettled();
        ASSERT_TRUE(worker->IsComplete());
        ASSERT_TRUE(worker->mResult.IsOK());
    }
    void TearDown() override {
        script.Expect("NxDevice::Free cam");
        worker.reset();
    }
    void ExpectReRead(const std::string& text) {
        script.Expect("NxGenFile::Close");
        script.Expect("NxGenFile::Open StatusTxt read");
        script.Expect("NxGenFile::Read 1024").Gives(text);
    }
    void ExpectBusyToTheEnd() {
        script.Expect("NxGenFile::Open StatusTxt read");
        script.Expect("NxGenFile::Read 1024").Gives(kBusy);
        for (int i = 0; i < 60; ++i) {
            ExpectReRead(kBusy);
        }
        script.Expect("NxGenFile::Close");
    }
    std::string Label() { return worker->GetLabel().GetAscii(); }

    Script script;
    NxString status;
    std::unique_ptr<ThreadGenICam> worker;
};

}  // namespace

TEST_F(ThreadGenICamTest, AStatusWithoutTheBusyPhraseIsReadOnceWithoutSleep) {
    Transfer();
    ExpectFileAccessStatus(script, "Firmware applied: 2.0");
    EXPECT_TRUE(worker->GetStatus(status).IsOK());
    EXPECT_STREQ(status.GetAscii(), "Firmware applied: 2.0");
    EXPECT_TRUE(script.Sleeps().empty());
}

TEST_F(ThreadGenICamTest, RunsAllSixtyReReadsOnceTheBusyPhraseWasSeen) {
    Transfer();
    script.Expect("NxGenFile::Open StatusTxt read");
    script.Expect("NxGenFile::Read 1024").Gives(std::string("x ") + kBusy + " y");
    for (int i = 0; i < 59; ++i) {
        ExpectReRead(std::string("Firmware applied: now\0", 22));
    }
    ExpectReRead(std::string("Firmware applied: last\0", 23));
    script.Expect("NxGenFile::Close");
    EXPECT_TRUE(worker->GetStatus(status).IsOK());
    EXPECT_STREQ(status.GetAscii(), "Firmware applied: last");
    EXPECT_EQ(script.Sleeps(), std::vector<std::int64_t>(60, 1'000'000'000));
}

TEST_F(ThreadGenICamTest, IsOkWhenTheDeviceIsStillBusyAfterAllReReads) {
    Transfer();
    ExpectBusyToTheEnd();
    EXPECT_TRUE(worker->GetStatus(status).IsOK());
    EXPECT_STREQ(status.GetAscii(), kBusy);
    EXPECT_EQ(script.Sleeps().size(), 60U);
}

TEST_F(ThreadGenICamTest, AShorterLaterStatusKeepsTheTailOfTheEarlierOne) {
    Transfer();
    script.Expect("NxGenFile::Open StatusTxt read");
    script.Expect("NxGenFile::Read 1024").Gives(kBusy);
    for (int i = 0; i < 60; ++i) {
        ExpectReRead("Done.");
    }
    script.Expect("NxGenFile::Close");
    EXPECT_TRUE(worker->GetStatus(status).IsOK());
    EXPECT_STREQ(status.GetAscii(), "Done. currently being written in background");
}

TEST_F(ThreadGenICamTest, AnOpenFailureDuringTheReReadsKeepsTheTextReadBefore) {
    Transfer();
    script.Expect("NxGenFile::Open StatusTxt read");
    script.Expect("NxGenFile::Read 1024").Gives(kBusy);
    ExpectReRead(std::string("second\0", 7));
    script.Expect("NxGenFile::Close");
    script.Expect("NxGenFile::Open StatusTxt read").Fails(0x105, "control lost");
    const NxResult result = worker->GetStatus(status);
    EXPECT_EQ(result.GetCode(), 0x105U);
    EXPECT_STREQ(result.GetDescription().GetAscii(), "control lost");
    EXPECT_STREQ(status.GetAscii(), "second");
}

TEST_F(ThreadGenICamTest, AReadFailureDuringTheReReadsIsHandedBackWithTheFileOpen) {
    Transfer();
    script.Expect("NxGenFile::Open StatusTxt read");
    script.Expect("NxGenFile::Read 1024").Gives(kBusy);
    script.Expect("NxGenFile::Close");
    script.Expect("NxGenFile::Open StatusTxt read");
    script.Expect("NxGenFile::Read 1024").Fails(0x103);
    EXPECT_EQ(worker->GetStatus(status).GetCode(), 0x103U);
    EXPECT_STREQ(status.GetAscii(), kBusy);
}

TEST_F(ThreadGenICamTest, AStatusFailsWithTheFirstFailingCall) {
    Transfer();
    status = "before";
    script.Expect("NxGenFile::Open StatusTxt read").Fails(0x10c, "no such file");
    EXPECT_EQ(worker->GetStatus(status).GetCode(), 0x10cU);
    script.Expect("NxGenFile::Open StatusTxt read");
    script.Expect("NxGenFile::Read 1024").Gives("text").Fails(0x103);
    EXPECT_EQ(worker->GetStatus(status).GetCode(), 0x103U);
    EXPECT_STREQ(status.GetAscii(), "before");
}

TEST_F(ThreadGenICamTest, AStatusOf1024BytesIsTakenAsItIs) {
    Transfer();
    const std::string text(1024, 's');
    ExpectFileAccessStatus(script, text);
    EXPECT_TRUE(worker->GetStatus(status).IsOK());
    EXPECT_EQ(status.GetAscii(), text);
}

TEST_F(ThreadGenICamTest, AStatusOf1024BytesIsTakenAsItIsWhenReadAgain) {
    Transfer();
    script.Expect("NxGenFile::Open StatusTxt read");
    script.Expect("NxGenFile::Read 1024").Gives(kBusy);
    const std::string text(1024, 's');
    for (int i = 0; i < 60; ++i) {
        ExpectReRead(text);
    }
    script.Expect("NxGenFile::Close");
    EXPECT_TRUE(worker->GetStatus(status).IsOK());
    EXPECT_EQ(status.GetAscii(), text);
}

TEST_F(ThreadGenICamTest, AnInterruptedPauseIsResumedForTheRest) {
    Transfer();
    script.interruptedSleeps = 1;
    script.Expect("NxGenFile::Open StatusTxt read");
    script.Expect("NxGenFile::Read 1024").Gives(kBusy);
    for (int i = 0; i < 60; ++i) {
        ExpectReRead("done");
    }
    script.Expect("NxGenFile::Close");
    EXPECT_TRUE(worker->GetStatus(status).IsOK());
    ASSERT_EQ(script.Sleeps().size(), 61U);
    EXPECT_EQ(script.Sleeps()[0], 1'000'000'000);
    EXPECT_EQ(script.Sleeps()[1], 500'000'000);
    EXPECT_EQ(script.Sleeps()[2], 1'000'000'000);
}

TEST_F(ThreadGenICamTest, ACloseFailureIsNeverReported) {
    script.Expect("NxDevice::CreateAndConnect cam");
    script.Expect("NxGenFile::Open RemoteUpdateDfw write");
    script.Expect("NxGenFile::WriteFrom fw.dfw");
    script.Expect("NxGenFile::Close").Fails(0x103);
    worker->Run();
    EXPECT_TRUE(worker->mResult.IsOK());
    script.Expect("NxGenFile::Open StatusTxt read");
    script.Expect("NxGenFile::Read 1024").Gives("x");
    script.Expect("NxGenFile::Close").Fails(0x103);
    EXPECT_TRUE(worker->GetStatus(status).IsOK());
}

TEST_F(ThreadGenICamTest, ResetGivesCode26AndSendsNothing) {
    Transfer();
    EXPECT_FALSE(worker->SupportsReset());
    EXPECT_EQ(worker->Reset().GetCode(), 26U);
}

TEST_F(ThreadGenICamTest, TheDeviceIdRecordIsWrittenIntoRemoteUpdateDfw) {
    Transfer();
    script.Expect("NxDfwPayload::GetDeviceIdRecord fw.dfw cam-a 4096").Gives("the record");
    script.Expect("NxGenFile::Open RemoteUpdateDfw write");
    script.Expect("NxGenFile::Write the record");
    script.Expect("NxGenFile::Close").Fails(0x103);
    EXPECT_TRUE(worker->SetNewDeviceId("cam-a").IsOK());
}

TEST_F(ThreadGenICamTest, ARecordFailsWithTheFirstFailingCall) {
    Transfer();
    unsigned char record[] = {'i', 'd'};
    script.Expect("NxGenFile::Open RemoteUpdateDfw write").Fails(0x10c);
    EXPECT_EQ(worker->SendBuffer(record, 2).GetCode(), 0x10cU);
    script.Expect("NxGenFile::Open RemoteUpdateDfw write");
    script.Expect("NxGenFile::Write id").Fails(0x10d);
    EXPECT_EQ(worker->SendBuffer(record, 2).GetCode(), 0x10dU);
}

TEST_F(ThreadGenICamTest, ARecordOfWhichLessWasWrittenCountsAsSent) {
    Transfer();
    unsigned char record[] = {'i', 'd'};
    script.Expect("NxGenFile::Open RemoteUpdateDfw write");
    script.Expect("NxGenFile::Write id").Takes(1);
    script.Expect("NxGenFile::Close");
    EXPECT_TRUE(worker->SendBuffer(record, 2).IsOK());
}

TEST_F(ThreadGenICamTest, TheStatusFileIsClosedDuringEachPause) {
    Transfer();
    ExpectBusyToTheEnd();
    script.onSleep = [this] { EXPECT_EQ(script.Log().back(), "NxGenFile::Close"); };
    EXPECT_TRUE(worker->GetStatus(status).IsOK());
    EXPECT_EQ(script.Sleeps().size(), 60U);
}

TEST_F(ThreadGenICamTest, TheLabelFollowsThePhases) {
    script.progress = {{0, 4096}, {0, 4096}, {2048, 4096}, {4096, 4096}};
    EXPECT_EQ(Label(), kConnecting);
    script.Expect("NxDevice::CreateAndConnect cam").Does([this] {
        EXPECT_EQ(Label(), kConnecting);
    });
    script.Expect("NxGenFile::Open RemoteUpdateDfw write").Does([this] {
        EXPECT_EQ(Label(), kConnecting);
    });
    script.Expect("NxGenFile::WriteFrom fw.dfw").LastsUntilSleep(3);
    script.Expect("NxGenFile::Close").Does([this] { EXPECT_EQ(Label(), kConnecting); });
    worker->Start();
    (void)script.Sleep(1);
    EXPECT_EQ(Label(), "");
    EXPECT_EQ(worker->GetProgress(), 0);
    (void)script.Sleep(1);
    EXPECT_EQ(Label(), "2/4 KBs transferred (50%)");
    EXPECT_EQ(worker->GetProgress(), 50);
    (void)script.Sleep(1);
    EXPECT_TRUE(worker->IsComplete());
    EXPECT_EQ(Label(), kConnecting);
    EXPECT_EQ(worker->GetProgress(), 100);
}

TEST_F(ThreadGenICamTest, AFailureToTellTheProgressIsIgnored) {
    script.progress = {{0, 4096}, {2048, 4096}, {4096, 4096}};
    script.progressResult = NxResult(0x103, "no progress");
    script.Expect("NxDevice::CreateAndConnect cam");
    script.Expect("NxGenFile::Open RemoteUpdateDfw write");
    script.Expect("NxGenFile::WriteFrom fw.dfw").LastsUntilSleep(2);
    script.Expect("NxGenFile::Close");
    worker->Start();
    (void)script.Sleep(1);
    EXPECT_EQ(Label(), "2/4 KBs transferred (50%)");
    EXPECT_EQ(worker->GetProgress(), 50);
    (void)script.Sleep(1);
    EXPECT_TRUE(worker->IsComplete());
    EXPECT_EQ(worker->GetProgress(), 100);
}

TEST_F(ThreadGenICamTest, APollBeforeThereIsAFileReportsNothing) {
    long done = 7;
    long total = 9;
    worker->GetRawProgress(done, total);
    EXPECT_EQ(done, 7);
    EXPECT_EQ(total, 9);
    EXPECT_EQ(worker->GetProgress(), 0);
    Transfer();
}

TEST_F(ThreadGenICamTest, AnOpenFailureIsTheOutcomeAndNothingIsClosed) {
    script.Expect("NxDevice::CreateAndConnect cam");
    script.Expect("NxGenFile::Open RemoteUpdateDfw write").Fails(0x10c, "refused");
    worker->Run();
    EXPECT_EQ(worker->mResult.GetCode(), 0x10cU);
    EXPECT_EQ(worker->GetProgress(), 0);
    EXPECT_EQ(script.files, 1);
}

TEST_F(ThreadGenICamTest, AWriteFailureIsTheOutcomeAndTheFileIsClosed) {
    script.Expect("NxDevice::CreateAndConnect cam");
    script.Expect("NxGenFile::Open RemoteUpdateDfw write");
    script.Expect("NxGenFile::WriteFrom fw.dfw").Fails(0x10d, "short");
    script.Expect("NxGenFile::Close");
    worker->Run();
    EXPECT_EQ(worker->mResult.GetCode(), 0x10dU);
    EXPECT_STREQ(worker->mResult.GetDescription().GetAscii(), "short");
}

TEST_F(ThreadGenICamTest, TheFileIsDeletedBeforeTheConnectionIsFreed) {
    Transfer();
    script.Expect("NxDevice::Free cam").Does([this] { EXPECT_EQ(script.files, 0); });
    worker = nullptr;
    EXPECT_EQ(script.connections, 0);
    SetUp();
    ExpectFileAccessTransfer(script, "cam", "fw.dfw");
    worker->Run();
}

TEST(FileAccessOutcomeTest, TheOutcomeIsStoredBeforeTheTransferringEnds) {
    for (const unsigned int code : {0U, 0x103U}) {
        Script script;
        OutcomeWatch<ThreadGenICam> worker(script, "cam", "fw.dfw");
        script.Expect("NxDevice::CreateAndConnect cam");
        script.Expect("NxGenFile::Open RemoteUpdateDfw write");
        script.Expect("NxGenFile::WriteFrom fw.dfw").result = NxResult(code);
        script.Expect("NxGenFile::Close").Does([&worker] {
            EXPECT_FALSE(worker.IsTransferring());
        });
        worker.Run();
        script.onLock = nullptr;
        EXPECT_EQ(worker.mResult.GetCode(), code);
        EXPECT_THAT(worker.transferring, testing::ElementsAre(true));
        script.Expect("NxDevice::Free cam");
    }
}

TEST(FileAccessWithoutConnectionTest, ARecordFailsInsteadOfTouchingANullObject) {
    Script script;
    ThreadGenICam worker("cam", "fw.dfw");
    script.Expect("NxDevice::CreateAndConnect cam").Fails(0x104, "another application controls it");
    worker.Run();
    EXPECT_EQ(worker.mResult.GetCode(), 0x104U);
    EXPECT_STREQ(worker.mResult.GetDescription().GetAscii(), "another application controls it");
    EXPECT_EQ(worker.GetProgress(), 0);
    EXPECT_EQ(script.CountOf("NxGenFile::NxGenFile"), 0U);
    script.Expect("NxDfwPayload::GetDeviceIdRecord fw.dfw cam-a 4096").Gives("the record");
    EXPECT_FALSE(worker.SetNewDeviceId("cam-a").IsOK());
}

TEST(FileAccessWithoutConnectionTest, AWorkerThatNeverRanFreesNothing) {
    Script script;
    const ThreadGenICam worker("cam", "fw.dfw");
}

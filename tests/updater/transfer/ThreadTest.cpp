#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <system_error>

#include <unistd.h>

#include <gmock/gmock.h>

#include "NoThreads.h"
#include "ProbeThread.h"
#include "Script.h"

namespace {

// Whether a thread waits for something, by its place below /proc.
bool IsAsleep(const std::filesystem::path& task) {
    std::string line;
    std::getline(std::ifstream(task / "stat"), line);
    return line.find(") S ") != std::string::npos;
}

class ThreadTest : public testing::Test {
  protected:
    int ProgressOf(long done, long total) {
        worker.SetTransferring(true);
        worker.done = done;
        worker.total = total;
        return worker.GetProgress();
    }
    std::string LabelOf(long done, long total) {
        worker.done = done;
        worker.total = total;
        return worker.GetLabel().GetAscii();
    }
    unsigned int ValidityOf(const std::string& status) {
        worker.statusText = status;
        return worker.Validate().GetCode();
    }

    Script script;
    ProbeThread worker;
};

}  // namespace

TEST_F(ThreadTest, ATotalOfZeroWithNothingDoneIsZeroPercent) {
    EXPECT_EQ(ProgressOf(0, 0), 0);
}

TEST_F(ThreadTest, ATotalOfZeroWithSomethingDoneIsZeroPercent) {
    EXPECT_EQ(ProgressOf(1, 0), 0);
    EXPECT_EQ(ProgressOf(-1, 0), 0);
}

TEST_F(ThreadTest, MoreDoneThanTotalIsAHundredPercentUntilSixteenBitsOverflow) {
    EXPECT_EQ(ProgressOf(200, 100), 100);
    EXPECT_EQ(ProgressOf(32767, 100), 100);
    EXPECT_EQ(ProgressOf(32768, 100), 0);
    EXPECT_EQ(ProgressOf(400, 1), 0);
    EXPECT_EQ(ProgressOf(65586, 100), 50);
}

TEST_F(ThreadTest, ARatioBeyondThirtyTwoBitsIsZeroPercent) {
    EXPECT_EQ(ProgressOf(1L << 62, 1), 0);
    EXPECT_EQ(ProgressOf(-(1L << 62), 1), 0);
    // 0x7FFFFFFF and above keep the low sixteen bits of the largest value, which are -1.
    EXPECT_EQ(ProgressOf(2147483648L, 100), 0);
}

TEST_F(ThreadTest, ProgressIsRoundedToTheNearestPercent) {
    EXPECT_EQ(ProgressOf(0, 1000), 0);
    EXPECT_EQ(ProgressOf(4, 1000), 0);
    EXPECT_EQ(ProgressOf(5, 1000), 1);
    EXPECT_EQ(ProgressOf(994, 1000), 99);
    EXPECT_EQ(ProgressOf(995, 1000), 100);
    EXPECT_EQ(ProgressOf(1000, 1000), 100);
    EXPECT_EQ(ProgressOf(-50, 100), 0);
}

TEST_F(ThreadTest, ThePercentIsRoundedOnceByAFusedMultiplyAdd) {
    // The quotient is the double just below 0.005; with the product rounded first it would be 1 %.
    EXPECT_EQ(ProgressOf(21000000000000, 4200000000000001), 0);
}

TEST_F(ThreadTest, TheLabelsPercentageIsNotClamped) {
    EXPECT_EQ(LabelOf(2048, 1024), "2/1 KBs transferred (200%)");
}

TEST_F(ThreadTest, TheLabelIsEmptyBelowOneKilobyte) {
    EXPECT_EQ(LabelOf(1023, 100000), "");
    EXPECT_EQ(LabelOf(0, 100000), "");
    EXPECT_EQ(LabelOf(-5000, 100000), "");
}

TEST_F(ThreadTest, ATotalBelowOneKilobyteShowsZeroPercent) {
    EXPECT_EQ(LabelOf(1024, 1023), "1/0 KBs transferred (0%)");
    EXPECT_EQ(LabelOf(1024, 0), "1/0 KBs transferred (0%)");
    EXPECT_EQ(LabelOf(1024, -4096), "1/-4 KBs transferred (0%)");
}

TEST_F(ThreadTest, KilobytesAreTruncated) {
    EXPECT_EQ(LabelOf(2047, 10240), "1/10 KBs transferred (10%)");
    EXPECT_EQ(LabelOf(524288, 1048576), "512/1024 KBs transferred (50%)");
    EXPECT_EQ(LabelOf(1023 * 1024, 1048576), "1023/1024 KBs transferred (99%)");
}

TEST_F(ThreadTest, TheLabelTakesTheProgressWhetherTransferringOrNot) {
    EXPECT_EQ(LabelOf(1024, 1024), "1/1 KBs transferred (100%)");
    worker.SetTransferring(true);
    EXPECT_EQ(LabelOf(1024, 1024), "1/1 KBs transferred (100%)");
}

TEST_F(ThreadTest, AStatusThatBeginsWithFirmwareAppliedIsASuccess) {
    EXPECT_EQ(ValidityOf("Firmware applied:"), 0U);
    EXPECT_EQ(ValidityOf("Firmware applied: main 2.0"), 0U);
    EXPECT_STREQ(worker.mStatus.GetAscii(), "Firmware applied: main 2.0");
}

TEST_F(ThreadTest, FirmwareAppliedLaterInTheStatusDoesNotCount) {
    EXPECT_EQ(ValidityOf(" Firmware applied: 2.0"), 0x4000U);
    EXPECT_EQ(ValidityOf("Done. Firmware applied: 2.0"), 0x4000U);
    EXPECT_EQ(ValidityOf("firmware applied: 2.0"), 0x4000U);
}

TEST_F(ThreadTest, SuccessfullyWroteCountsAnywhereInTheStatus) {
    EXPECT_EQ(ValidityOf("Successfully wrote file to non-volatile memory"), 0U);
    EXPECT_EQ(ValidityOf("x Firmware applied: Successfully wrote file to non-volatile memory."),
              0U);
    EXPECT_EQ(ValidityOf("Successfully wrote file to volatile memory"), 0x4000U);
}

TEST_F(ThreadTest, AnEmptyStatusIsNoSuccess) {
    const NxResult result = worker.Validate();
    EXPECT_EQ(result.GetCode(), 0x4000U);
    EXPECT_FALSE(result.IsOK());
}

TEST_F(ThreadTest, AStatusThatCannotBeReadHandsTheFailureBack) {
    worker.statusText = "Firmware applied: 2.0";
    worker.statusResult = NxResult(0x103, "no answer");
    const NxResult result = worker.Validate();
    EXPECT_EQ(result.GetCode(), 0x103U);
    EXPECT_STREQ(result.GetDescription().GetAscii(), "no answer");
}

TEST_F(ThreadTest, WhatWasReadOfAStatusBeforeAFailureIsKept) {
    worker.statusText = "Flash currently being written in background";
    worker.statusResult = NxResult(0x103, "no answer");
    EXPECT_FALSE(worker.Validate().IsOK());
    EXPECT_EQ(worker.mStatus.GetAscii(), worker.statusText);
}

TEST_F(ThreadTest, ResetWithoutSupportGivesCode26AndSendsNothing) {
    worker.supportsReset = false;
    EXPECT_EQ(worker.Reset().GetCode(), 26U);
    EXPECT_TRUE(worker.sent.empty());
}

TEST_F(ThreadTest, TheDeviceIdIsSentEvenWhereResetIsNotSupported) {
    worker.supportsReset = false;
    script.Expect("NxDfwPayload::GetDeviceIdRecord fw.dfw cam 4096").Gives("the record");
    EXPECT_TRUE(worker.SetNewDeviceId("cam").IsOK());
    EXPECT_THAT(worker.sent, testing::ElementsAre("the record"));
}

TEST_F(ThreadTest, ResetSendsTheResetRecordOfThePayload) {
    script.Expect("NxDfwPayload::GetResetRecord fw.dfw 4096").Gives("reset");
    EXPECT_TRUE(worker.Reset().IsOK());
    EXPECT_THAT(worker.sent, testing::ElementsAre("reset"));
}

TEST_F(ThreadTest, ARecordIsSentWithTheLengthThatWasReported) {
    const std::string record(4096, '\0');
    script.Expect("NxDfwPayload::GetResetRecord fw.dfw 4096").Gives(record);
    EXPECT_TRUE(worker.Reset().IsOK());
    EXPECT_THAT(worker.sent, testing::ElementsAre(record));
}

TEST_F(ThreadTest, ARecordThatCannotBeBuiltIsNotSent) {
    script.Expect("NxDfwPayload::GetDeviceIdRecord fw.dfw cam 4096").Fails(0x10f, "no header");
    script.Expect("NxDfwPayload::GetResetRecord fw.dfw 4096").Fails(0x101, "no file");
    EXPECT_EQ(worker.SetNewDeviceId("cam").GetCode(), 0x10fU);
    EXPECT_EQ(worker.Reset().GetCode(), 0x101U);
    EXPECT_TRUE(worker.sent.empty());
}

TEST_F(ThreadTest, AFailureToSendARecordIsHandedBack) {
    worker.sendResult = NxResult(0x104, "refused");
    script.Expect("NxDfwPayload::GetDeviceIdRecord fw.dfw cam 4096").Gives("id");
    script.Expect("NxDfwPayload::GetResetRecord fw.dfw 4096").Gives("reset");
    EXPECT_EQ(worker.SetNewDeviceId("cam").GetCode(), 0x104U);
    EXPECT_STREQ(worker.Reset().GetDescription().GetAscii(), "refused");
}

TEST_F(ThreadTest, AWorkerThatWasNeverStartedHasNoOutcomeAndZeroProgress) {
    EXPECT_FALSE(worker.IsComplete());
    EXPECT_EQ(worker.mResult.GetCode(), 0x605U);
    EXPECT_FALSE(worker.mResult.IsOK());
    EXPECT_EQ(worker.GetProgress(), 0);
    EXPECT_EQ(worker.progressQuestions, 0);
    EXPECT_STREQ(worker.mStatus.GetAscii(), "");
}

TEST_F(ThreadTest, WithoutAReportTheProgressIsZeroOfAHundred) {
    worker.reportsProgress = false;
    worker.SetTransferring(true);
    EXPECT_EQ(worker.GetProgress(), 0);
    EXPECT_STREQ(worker.GetLabel().GetAscii(), "");
}

TEST_F(ThreadTest, AFinishedTransferReadsAHundredOrZeroByItsOutcome) {
    worker.done = 50;
    worker.Finish(NxResult());
    EXPECT_EQ(worker.GetProgress(), 100);
    worker.Finish(NxResult(0x103));
    EXPECT_EQ(worker.GetProgress(), 0);
    EXPECT_EQ(worker.progressQuestions, 0);
}

TEST_F(ThreadTest, TheTransferRunsOnAThreadOfItsOwn) {
    std::promise<void> release;
    std::thread::id runner;
    worker.run = [&](ProbeThread& self) {
        runner = std::this_thread::get_id();
        release.get_future().wait();
        self.Finish(NxResult());
    };
    worker.Start();
    EXPECT_FALSE(worker.IsComplete());
    EXPECT_EQ(worker.GetProgress(), 0);
    release.set_value();
    script.WaitUntilSettled();
    EXPECT_TRUE(worker.IsComplete());
    EXPECT_NE(runner, std::this_thread::get_id());
    EXPECT_EQ(worker.GetProgress(), 100);
}

TEST_F(ThreadTest, TheOutcomeIsThereAsSoonAsTheTransferringEnds) {
    // Polled while it runs: never the initial failure between the last byte and the end.
    worker.total = 100;
    worker.done = 60;
    std::promise<void> started;
    worker.run = [&](ProbeThread& self) {
        self.SetTransferring(true);
        started.set_value();
        std::this_thread::yield();
        self.Finish(NxResult());
        self.SetTransferring(false);
    };
    worker.Start();
    started.get_future().wait();
    while (!worker.IsComplete()) {
        EXPECT_THAT(worker.GetProgress(), testing::AnyOf(60, 100));
    }
    EXPECT_EQ(worker.GetProgress(), 100);
}

TEST_F(ThreadTest, ASystemWithoutRoomForItsThreadIsAnExceptionThatEscapes) {
    worker.run = [](ProbeThread&) { FAIL() << "it ran"; };
    {
        const NoThreads full;
        EXPECT_THROW(worker.Start(), std::system_error);
    }
    EXPECT_FALSE(worker.IsComplete());
}

TEST_F(ThreadTest, DeletingAWorkerJoinsItsThread) {
    auto another = std::make_unique<ProbeThread>();
    bool ran = false;
    another->run = [&ran](ProbeThread&) { ran = true; };
    another->Start();
    while (!another->IsComplete()) {
        std::this_thread::yield();
    }
    std::unique_ptr<Thread> asBase = std::move(another);
    asBase.reset();
    EXPECT_TRUE(ran);
}

TEST_F(ThreadTest, DeletingAWorkerWaitsForTheEndOfItsThread) {
    static std::atomic<bool> ended;
    ended = false;
    const std::filesystem::path deleter = "/proc/self/task/" + std::to_string(gettid());
    // Ends with the thread, after the worker is complete: once the deleting thread waits for it.
    struct Remnant {
        std::filesystem::path waiter;
        ~Remnant() {
            const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
            while (!IsAsleep(waiter) && std::chrono::steady_clock::now() < end) {
                std::this_thread::yield();
            }
            ended = true;
        }
    };
    auto another = std::make_unique<ProbeThread>();
    another->run = [&deleter](ProbeThread&) { static thread_local Remnant remnant{deleter}; };
    another->Start();
    while (!another->IsComplete()) {
        std::this_thread::yield();
    }
    another.reset();
    EXPECT_TRUE(ended);
}

TEST_F(ThreadTest, HookRunsTheWorkerItIsGivenAndMarksItComplete) {
    int runs = 0;
    worker.run = [&runs](ProbeThread&) { ++runs; };
    Thread::Hook(&worker);
    EXPECT_EQ(runs, 1);
    EXPECT_TRUE(worker.IsComplete());
}

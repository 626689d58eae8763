// mirsko-update, interrupted: no camera is left half-written without a word, and the same command
// repairs what is left.
#include <csignal>

#include <gmock/gmock.h>

#include "CameraGroup.h"
#include "ManifestBuilder.h"
#include "ZipBuilder.h"

using testing::HasSubstr;
using testing::StartsWith;

class InterruptedUpdateTest : public CameraGroup {
  protected:
    InterruptedUpdateTest() {
        // Slow enough to be interrupted: 50000 bytes take some 300 commands.
        AddAll(2, {"--latency", "8000", "--no-tftp"});
        updater = std::make_unique<Process>(std::vector<std::string>{
            // Whoever runs the tests may ignore the signal, and a program inherits that.
            "env", "--default-signal", Program("mirsko-update"), "--all", "--jobs", "1", file});
        EXPECT_TRUE(WaitUntil([this] { return HasSaid(": writing "); }));
    }

    bool HasSaid(const std::string& text) {
        return updater->OutputSoFar().find(text) != std::string::npos;
    }
    void ExpectRepairedByTheSameCommand() {
        const ProcessResult result = Update({"--all", file});
        EXPECT_EQ(result.exitStatus, 0) << result.out << result.err;
        EXPECT_TRUE(IsUpdated(1) && IsUpdated(2));
    }

    const std::string file = Payload("fw.dfw");
    std::unique_ptr<Process> updater;
};

TEST_F(InterruptedUpdateTest, FinishesTheCameraThatIsBeingWrittenAndStartsNoOther) {
    updater->Signal(SIGINT);
    const ProcessResult result = updater->Wait(std::chrono::minutes(1));
    EXPECT_THAT(result.err, StartsWith("Interrupted: "));
    EXPECT_THAT(LineOf(result, 1), StartsWith("updated from 1.0 to 2.1"));
    EXPECT_EQ(LineOf(result, 2), "not started");
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_TRUE(IsUpdated(1) && IsUntouched(2));
    ExpectRepairedByTheSameCommand();
}

TEST_F(InterruptedUpdateTest, GivesUpAtOnceWhenInterruptedTwiceAndNamesWhatIsHalfDone) {
    updater->Signal(SIGTERM);
    EXPECT_TRUE(
        WaitUntil([this] { return updater->ErrorSoFar().find('\n') != std::string::npos; }));
    updater->Signal(SIGTERM);
    const ProcessResult result = updater->Wait(std::chrono::minutes(1));
    EXPECT_THAT(LineOf(result, 1),
                StartsWith("interrupted: given up while writing 2.1 by GenICam file access; run"));
    EXPECT_EQ(LineOf(result, 2), "not started");
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_TRUE(mCameras[0]->Firmware().empty()) << "half of it is nothing";
    ExpectRepairedByTheSameCommand();
}

class InterruptedSearchTest : public CameraGroup {};

TEST_F(InterruptedSearchTest, EndsByTheSignalWithNothingWrittenAndNothingLeft) {
    Add();
    const std::string package = mFolder.Write(
        "p.zip",
        MakeZip({{"Manifest.xml", MakeManifest(Upload("a.dfw"))}, {"a.dfw", MakePayload(mBody)}}));
    Process updater({"env", "--default-signal", Program("mirsko-update"), "--all", package});
    const auto isSearching = [] {
        return Process::Run({"sh", "-c", "ls /tmp | grep -q '^xml-'"}).exitStatus == 0;
    };
    EXPECT_TRUE(WaitUntil(isSearching));
    updater.Signal(SIGINT);
    EXPECT_EQ(updater.Wait(std::chrono::minutes(1)).signal, SIGINT);
    EXPECT_TRUE(IsUntouched(1));
    EXPECT_FALSE(isSearching());
}

TEST_F(InterruptedUpdateTest, IsRepairedByTheSameCommandAfterItWasKilled) {
    updater->Signal(SIGKILL);
    EXPECT_EQ(updater->Wait(std::chrono::minutes(1)).signal, SIGKILL);
    ExpectRepairedByTheSameCommand();
}

// Two real updaters and one simulated camera.
#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "ManifestBuilder.h"
#include "SimulatedCamera.h"
#include "TemporaryFolder.h"
#include "Updater.h"
#include "ZipBuilder.h"

namespace {

using std::chrono::seconds;
using testing::HasSubstr;
using testing::Not;

const std::string kWritingFailed = "Writing payload file to device failed!\n";

std::string LockFileOf(const std::string& address) {
    for (const auto& entry : std::filesystem::directory_iterator("/run/lock")) {
        if (entry.path().string().find(address) != std::string::npos) {
            return entry.path();
        }
    }
    return {};
}

std::string Refusal() {
    return "Cannot use 127.0.0.1%lo: another program on this computer is using it; wait until that "
           "program ends (it holds " +
           LockFileOf("127.0.0.1%lo") + ")\n";
}

class TwoUpdatersTest : public testing::Test {
  protected:
    std::string Payload(const std::string& name, const std::string& body) {
        return mFolder.Write(name, MakePayload(body));
    }
    static std::vector<std::string> Command(const std::string& file) {
        return {Program("MirskoFirmwareUpdater"), kLoopback, "--noreset", file};
    }
    static void ExpectRefused(const ProcessResult& result, const std::string& refusal) {
        EXPECT_EQ(WithoutLabels(result.out),
                  "Starting update...\n\nSetting new device ID\nUpdate failed.\n");
        EXPECT_EQ(result.err, refusal + kWritingFailed);
    }
    static ProcessResult RunSecond(const std::string& file) {
        return RunUpdater({kLoopback, "--deviceid=second", file});
    }
    static void ExpectComplete(const ProcessResult& result) {
        EXPECT_THAT(result.out, HasSubstr("Firmware upload complete.\n"));
        EXPECT_EQ(result.err, "");
    }

    TemporaryFolder mFolder;
    const std::string mFirst = RandomBytes(300000, 1);
    const std::string mSecond = RandomBytes(300000, 2);
};

TEST_F(TwoUpdatersTest, TheSecondNeitherTakesPartInAFileAccessNorGoesByTftp) {
    SimulatedCamera camera({"--profile", "file-access", "--latency", "10000"});
    Process first(Command(Payload("first.dfw", mFirst)));
    ASSERT_TRUE(
        WaitUntil([&] { return first.OutputSoFar().find("transferred") != std::string::npos; }));
    ExpectRefused(RunSecond(Payload("second.dfw", mSecond)), Refusal());
    EXPECT_TRUE(first.IsRunning());
    ExpectComplete(first.Wait(seconds(60)));
    EXPECT_TRUE(camera.Firmware() == mFirst);
    EXPECT_FALSE(camera.HasEvent("tftp"));
    EXPECT_EQ(camera.State()["device_id"], "");
    EXPECT_EQ(LockFileOf("mirsko-"), "");
}

TEST_F(TwoUpdatersTest, TheSecondPackageEndsBeforeAnythingIsSent) {
    SimulatedCamera camera({"--profile", "file-access", "--latency", "10000"});
    Process first(Command(Payload("first.dfw", mFirst)));
    ASSERT_TRUE(
        WaitUntil([&] { return first.OutputSoFar().find("transferred") != std::string::npos; }));
    const std::string package = MakeZip(
        {ZipMember{.name = "Manifest.xml", .content = MakeManifest(Upload("a.dfw", "TFTP"))},
         ZipMember{.name = "a.dfw", .content = MakePayload(mSecond)}});
    const ProcessResult second = RunUpdater({kLoopback, mFolder.Write("second.zip", package)});
    EXPECT_EQ(second.out, "");
    EXPECT_EQ(second.err, Refusal());
    ExpectComplete(first.Wait(seconds(60)));
    EXPECT_TRUE(camera.Firmware() == mFirst);
    EXPECT_FALSE(camera.HasEvent("tftp"));
}

TEST_F(TwoUpdatersTest, TheSecondWritesNothingByTftp) {
    SimulatedCamera camera({"--profile", "loader", "--tftp-max-blksize", "512"});
    const std::string large = RandomBytes(20'000'000, 3);
    Process first(Command(Payload("first.dfw", large)));
    ASSERT_TRUE(WaitUntil([] { return !LockFileOf("127.0.0.1%lo").empty(); }));
    first.Signal(SIGSTOP);
    ExpectRefused(RunSecond(Payload("second.dfw", mSecond)), Refusal());
    ASSERT_FALSE(camera.HasEvent("tftp")) << "the first one had ended";
    first.Signal(SIGCONT);
    ExpectComplete(first.Wait(seconds(60)));
    EXPECT_TRUE(camera.Firmware() == large);
    EXPECT_EQ(camera.State()["device_id"], "");
}

TEST_F(TwoUpdatersTest, TheNextOneIsNotRefusedWhenTheFirstWasKilled) {
    SimulatedCamera camera({"--profile", "loader", "--tftp-max-blksize", "512"});
    Process first(Command(Payload("first.dfw", RandomBytes(20'000'000, 3))));
    ASSERT_TRUE(WaitUntil([] { return !LockFileOf("127.0.0.1%lo").empty(); }));
    first.Signal(SIGKILL);
    (void)first.Wait(seconds(10));
    EXPECT_NE(LockFileOf("127.0.0.1%lo"), "");
    // The device itself may still wait for more of the transfer that nobody goes on with.
    const std::string second = Payload("second.dfw", mSecond);
    EXPECT_TRUE(WaitUntil(
        [&] {
            const ProcessResult result = RunUpdater({kLoopback, "--noreset", second});
            EXPECT_THAT(result.err, Not(HasSubstr("another program")));
            return result.err.empty();
        },
        seconds(60)));
    EXPECT_TRUE(camera.Firmware() == mSecond);
    EXPECT_EQ(LockFileOf("127.0.0.1%lo"), "");
}

}  // namespace

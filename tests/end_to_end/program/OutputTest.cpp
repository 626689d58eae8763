// The real binary and those who read its output, or do not.
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "SimulatedCamera.h"
#include "TemporaryFolder.h"
#include "Updater.h"

namespace {

// The transfer takes longer than the half second after which the first label is printed.
std::vector<std::string> SlowCamera(const std::string& profile) {
    return {"--profile", profile, "--latency", "1500"};
}

/// The updater as a line of a shell that sees it as "$@".
std::vector<std::string> InShell(const std::string& line, const std::string& firmware) {
    return {"bash",           "-c",    line, "bash", Program("MirskoFirmwareUpdater"), kLoopback,
            "--deviceid=new", firmware};
}

std::string TargetOf(const Process& process, int descriptor) {
    std::error_code error;
    return std::filesystem::read_symlink(
        "/proc/" + std::to_string(process.Id()) + "/fd/" + std::to_string(descriptor), error);
}

}  // namespace

TEST(OutputTest, FinishesTheUpdateWhenTheReaderGoesAwayAfterTheFirstLine) {
    for (const char* profile : {"file-access", "no-file-access"}) {
        SCOPED_TRACE(profile);
        SimulatedCamera camera(SlowCamera(profile));
        const TemporaryFolder folder;
        const std::string body = RandomBytes(400000, 1);
        const ProcessResult result =
            Process::Run(InShell("\"$@\" | head -n 1; echo \"status ${PIPESTATUS[0]}\"",
                                 folder.Write("camera.dfw", MakePayload(body))));
        EXPECT_EQ(result.out, "Starting update...\nstatus 0\n");
        EXPECT_EQ(result.err, "");
        EXPECT_TRUE(camera.Firmware() == body);
        EXPECT_EQ(camera.State()["device_id"], "new");
    }
}

TEST(OutputTest, FinishesTheUpdateWhenNothingCanBeWritten) {
    SimulatedCamera camera(SlowCamera("file-access"));
    const TemporaryFolder folder;
    const std::string body = RandomBytes(400000, 2);
    const ProcessResult result = Process::Run(
        InShell("exec \"$@\" > /dev/full 2>&1", folder.Write("camera.dfw", MakePayload(body))));
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_TRUE(camera.Firmware() == body);
    EXPECT_EQ(camera.State()["device_id"], "new");
}

TEST(OutputTest, OpensNoSocketAndNoFileInThePlaceOfAClosedStream) {
    for (const char* closed : {"<&- >&- 2>&-", ">&-", "<&- 2>&-"}) {
        SCOPED_TRACE(closed);
        SimulatedCamera camera(SlowCamera("file-access"));
        const TemporaryFolder folder;
        const std::string body = RandomBytes(400000, 3);
        Process updater(InShell(std::string("exec \"$@\" ") + closed,
                                folder.Write("camera.dfw", MakePayload(body))));
        EXPECT_TRUE(WaitUntil([&camera] { return camera.HasEvent("file_open"); }));
        for (const int descriptor : {0, 1, 2}) {
            const std::string target = TargetOf(updater, descriptor);
            EXPECT_TRUE(target == "/dev/null" || target.starts_with("pipe:")) << target;
        }
        EXPECT_EQ(updater.Wait(std::chrono::seconds(30)).exitStatus, 0);
        EXPECT_TRUE(camera.Firmware() == body);
        EXPECT_EQ(camera.State()["device_id"], "new");
    }
}

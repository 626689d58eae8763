#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iostream>

#include <sys/mount.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "MirskoFirmwareUpdater.h"
#include "RecordedStream.h"
#include "TemporaryFolder.h"
#include "UpdaterRun.h"

namespace {

constexpr const char* kMac = "00:11:22:ab:cd:ef";
constexpr const char* kOption = "--localinterface=00:11:22:ab:cd:ef";
constexpr const char* kNoSelection = "Error: must specify --localinterface or --u3v\n";
constexpr const char* kUsage =
    "Usage: MirskoFirmwareUpdater [options] <--localinterface= | --u3v> "
    "<firmware_file.dfw/.zip>\r\n"
    "\r\n"
    "--localinterface=00:11:22:ab:cd:ef Automatically selects the first GigE Vision device on this "
    "interface.\r\n"
    "--u3v Automatically selects the first USB3 Vision device.\r\n"
    "--noreset Prevents resetting after an update.\r\n"
    "--deviceid=NewDeviceID Device ID for force on the device. Only for GigE Vision devices.\r\n"
    "--help Prints this help message.\r\n"
    "\r\n"
    "The application runs in non-interactive mode.\r\n"
    "The --localinterface and --u3v options are mutually exclusive.\r\n";

// Whether this process has that file open.
bool IsOpen(const std::string& path) {
    for (const auto& descriptor : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;  // the descriptor of this iteration itself
        if (std::filesystem::read_symlink(descriptor.path(), gone) == path) {
            return true;
        }
    }
    return false;
}

std::ptrdiff_t OpenFiles() {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return std::distance(begin(files), end(files));
}

/// What a run opens, and nothing else, in the place of a standard stream that is closed.
std::filesystem::path StandInFor(int stream) {
    (void)std::fflush(nullptr);
    const int kept = dup(stream);
    close(stream);
    const auto before = OpenFiles();
    EXPECT_EQ(RunMain({"--help"}).exitStatus, 0);
    EXPECT_EQ(OpenFiles(), before + 1);
    std::error_code error;
    const std::string place = "/proc/self/fd/" + std::to_string(stream);
    std::filesystem::path found = std::filesystem::read_symlink(place, error);
    dup2(kept, stream);
    close(kept);
    return found;
}

class MirskoFirmwareUpdaterTest : public testing::Test {
  protected:
    Script script;
    TemporaryFolder folder;
};

}  // namespace

TEST_F(MirskoFirmwareUpdaterTest, HelpPrintsBannerAndUsageOnlyWhateverElseIsGiven) {
    script.interfaces = {Network(kMac, {Camera("A", "1.1.1.1")})};
    const UpdaterOutcome outcome =
        RunMain({"--u3v", kOption, "--help", "--noreset", "no such file.dfw"});
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_EQ(outcome.out, std::string("Mirsko Firmware Updater\n") + kUsage);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(script.CountOf("NxSystem::Find"), 0U);
}

TEST_F(MirskoFirmwareUpdaterTest, TheUsageIsOneWriteOf543BytesWithoutFlush) {
    const UpdaterOutcome outcome = RunMain({"--help"});
    EXPECT_EQ(std::strlen(kUsage), 543U);
    EXPECT_EQ(outcome.largestWrite, 543U);
    EXPECT_EQ(outcome.outWithFlushes, std::string("Mirsko Firmware Updater\n<flush>") + kUsage);
}

TEST_F(MirskoFirmwareUpdaterTest, NoArgumentsGiveTheSelectionErrorAndStatus100) {
    const UpdaterOutcome outcome = RunMain({});
    EXPECT_EQ(outcome.exitStatus, 100);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, kNoSelection);
    EXPECT_EQ(outcome.errWithFlushes, std::string(kNoSelection) + "<flush>");
    EXPECT_EQ(script.CountOf("NxSystem::Find"), 0U);
}

TEST_F(MirskoFirmwareUpdaterTest, U3vWithoutSuchADeviceGivesTheSameErrorAndStatus100) {
    script.interfaces = {Network(kMac, {Camera("A", "1.1.1.1")}), Usb()};
    const UpdaterOutcome outcome = RunMain({"--u3v", folder.Write("fw.dfw", "x")});
    EXPECT_EQ(outcome.exitStatus, 100);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, kNoSelection);
}

TEST_F(MirskoFirmwareUpdaterTest, AnUnknownInterfaceGivesTheSameErrorAndStatus100) {
    script.interfaces = {Network("00:00:00:00:00:01", {Camera("A", "1.1.1.1")})};
    const UpdaterOutcome outcome = RunMain({kOption, folder.Write("fw.dfw", "x")});
    EXPECT_EQ(outcome.exitStatus, 100);
    EXPECT_EQ(outcome.err, kNoSelection);
}

TEST_F(MirskoFirmwareUpdaterTest, AnEmptyLocalInterfaceSelectsNothing) {
    script.interfaces = {Network("", {Camera("A", "1.1.1.1")})};
    const UpdaterOutcome outcome = RunMain({"--localinterface=", folder.Write("fw.dfw", "x")});
    EXPECT_EQ(outcome.exitStatus, 100);
    EXPECT_EQ(outcome.err, kNoSelection);
    EXPECT_EQ(script.CountOf("NxSystem::Find"), 0U);
}

TEST_F(MirskoFirmwareUpdaterTest, U3vGoesBeforeAnyLocalInterface) {
    script.interfaces = {Network(kMac, {Camera("A", "1.1.1.1")}), Usb({UsbCamera("B", "u3v:1")})};
    const std::string path = folder.Write("fw.dfw", "x");
    ExpectFileAccessUpdate(script, "u3v:1", path);
    EXPECT_EQ(RunMain({"--u3v", kOption, path}).exitStatus, 0);
}

TEST_F(MirskoFirmwareUpdaterTest, AFallBackFromU3vToTheLocalInterfaceDoesNotExist) {
    script.interfaces = {Network(kMac, {Camera("A", "1.1.1.1")})};
    EXPECT_EQ(RunMain({"--u3v", kOption, folder.Write("fw.dfw", "x")}).exitStatus, 100);
}

TEST_F(MirskoFirmwareUpdaterTest, ADeviceWithoutFirmwareFileGivesStatus101Silently) {
    script.interfaces = {Network(kMac, {Camera("A", "1.1.1.1")})};
    const UpdaterOutcome outcome = RunMain({kOption});
    EXPECT_EQ(outcome.exitStatus, 101);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(script.CountOf("NxSystem::Find"), 1U);
}

TEST_F(MirskoFirmwareUpdaterTest, AFirmwareFileThatDoesNotExistGivesStatus101Silently) {
    script.interfaces = {Network(kMac, {Camera("A", "1.1.1.1")})};
    const UpdaterOutcome outcome = RunMain({kOption, (folder.Path() / "none.dfw").string()});
    EXPECT_EQ(outcome.exitStatus, 101);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "");
}

TEST_F(MirskoFirmwareUpdaterTest, TheMissingFileIsNoticedOnlyAfterTheSelection) {
    EXPECT_EQ(RunMain({"--u3v"}).exitStatus, 100);
}

TEST_F(MirskoFirmwareUpdaterTest, AnUpdateThatFailsStillGivesStatus0) {
    script.interfaces = {Usb({UsbCamera("B", "u3v:1")})};
    const std::string path = folder.Write("fw.dfw", "x");
    script.Expect("NxDevice::CreateAndConnect record u3v:1").Fails(0x103, "no answer");
    const UpdaterOutcome outcome = RunMain({"--u3v", path});
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "Writing payload file to device failed!\n");
}

TEST_F(MirskoFirmwareUpdaterTest, AnUpdateThatSucceedsGivesStatus0) {
    script.interfaces = {Network(kMac, {Camera("A", "1.1.1.1")})};
    const std::string path = folder.Write("fw.dfw", "x");
    ExpectFileAccessUpdate(script, "1.1.1.1", path);
    const UpdaterOutcome outcome = RunMain({kOption, path});
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.out,
              "Starting update...\n\nValidating update... Please wait...\nUpdate is valid.\n"
              "Resetting device\nFirmware upload complete.\n");
    EXPECT_EQ(outcome.outWithFlushes,
              "Starting update...\n<flush>\n<flush>Validating update... Please wait...\n<flush>"
              "Update is valid.\n<flush>Resetting device\n<flush>"
              "Firmware upload complete.\n<flush>");
}

TEST_F(MirskoFirmwareUpdaterTest, TheDiscoveryRootOutlivesTheJob) {
    script.interfaces = {Network(kMac, {Camera("A", "1.1.1.1")})};
    const std::string path = folder.Write("fw.dfw", "x");
    ExpectFileAccessUpdate(script, "1.1.1.1", path);
    (void)RunMain({kOption, path});
    const std::vector<std::string> log = script.Log();
    EXPECT_EQ(log.front(), "NxSystem::NxSystem");
    EXPECT_EQ(log.back(), "NxSystem::~NxSystem");
}

TEST_F(MirskoFirmwareUpdaterTest, TheDiscoveryRootIsMadeBeforeAnyOptionIsRead) {
    (void)RunMain({"--help"});
    EXPECT_THAT(script.Log(), testing::ElementsAre("NxSystem::NxSystem", "NxSystem::~NxSystem"));
}

TEST_F(MirskoFirmwareUpdaterTest, TheFirmwareFileStaysOpenUntilTheRunEnds) {
    script.interfaces = {Usb({UsbCamera("B", "u3v:1")})};
    const std::string path = folder.Write("fw.dfw", "x");
    const char* argv[] = {"updater", "--u3v", "--noreset", path.c_str()};
    std::vector<bool> wasOpen;
    const auto look = [&] { wasOpen.push_back(IsOpen(path)); };
    const RecordedStream out(std::cout);
    script.Expect("NxDevice::CreateAndConnect record u3v:1").Does(look);
    script.Expect("NxDevice::Free u3v:1");
    ExpectFileAccessTransfer(script, "u3v:1", path);
    ExpectFileAccessStatus(script, "Firmware applied: 2.0");
    script.Expect("NxDevice::Free u3v:1").Does(look);
    MirskoFirmwareUpdaterApp application;
    EXPECT_TRUE(application.InitInstance(4, argv));
    look();
    EXPECT_THAT(wasOpen, testing::ElementsAre(true, true, false));
}

TEST_F(MirskoFirmwareUpdaterTest, InitInstanceReturnsTheJobsResult) {
    script.interfaces = {Usb({UsbCamera("B", "u3v:1")})};
    const std::string path = folder.Write("fw.dfw", "x");
    const char* argv[] = {"updater", "--u3v", path.c_str()};
    const RecordedStream out(std::cout);
    const RecordedStream err(std::cerr);
    {
        ExpectFileAccessUpdate(script, "u3v:1", path);
        MirskoFirmwareUpdaterApp application;
        EXPECT_TRUE(application.InitInstance(3, argv));
        EXPECT_EQ(application.ExitInstance(), 0);
    }
    {
        MirskoFirmwareUpdaterApp application;
        EXPECT_FALSE(application.InitInstance(1, argv));
        EXPECT_EQ(application.ExitInstance(), 100);
    }
}

TEST_F(MirskoFirmwareUpdaterTest, InitInstanceReturnsFalseWhereNoJobRan) {
    script.interfaces = {Usb({UsbCamera("B", "u3v:1")})};
    const RecordedStream out(std::cout);
    const std::string refused = folder.Write("zelka_qrm_h_fk02.dfw", "x");
    for (const char* argument : {"--help", "no such file.dfw", "--noreset", refused.c_str()}) {
        const char* argv[] = {"updater", "--u3v", argument};
        MirskoFirmwareUpdaterApp application;
        EXPECT_FALSE(application.InitInstance(3, argv)) << argument;
    }
}

TEST_F(MirskoFirmwareUpdaterTest, AReaderThatGoesAwayDoesNotEndTheProcess) {
    const auto before = std::signal(SIGPIPE, SIG_DFL);
    EXPECT_EQ(RunMain({"--help"}).exitStatus, 0);
    EXPECT_EQ(std::signal(SIGPIPE, before), SIG_IGN);
}

TEST_F(MirskoFirmwareUpdaterTest, EachClosedStandardStreamIsReplacedByOneThatHoldsNothing) {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        EXPECT_EQ(StandInFor(stream), "/dev/null") << stream;
    }
}

TEST_F(MirskoFirmwareUpdaterTest, AnOpenStandardStreamIsLeftAsItIs) {
    const auto before = OpenFiles();
    EXPECT_EQ(RunMain({"--help"}).exitStatus, 0);
    EXPECT_EQ(OpenFiles(), before);
}

TEST_F(MirskoFirmwareUpdaterTest, AClosedStandardStreamIsReplacedEvenWithoutADevNull) {
    // In a mount namespace of its own (see tests/isolated.sh).
    ASSERT_EQ(mount("tmpfs", "/dev", "tmpfs", 0, "size=1m"), 0);
    EXPECT_EQ(StandInFor(STDIN_FILENO), "/");
    ASSERT_EQ(umount2("/dev", MNT_DETACH), 0);
}

#include <csignal>
#include <filesystem>

#include <gmock/gmock.h>

#include "TemporaryFolder.h"
#include "UpdaterRun.h"
#include "ZipBuilder.h"

namespace {

constexpr const char* kLanX = "zELKA-QRm-LanX-FK02-TC3MN03-128kD";
constexpr const char* kH1 = "zELKA-QRm-H-FK02-TC3MN01-128kD";
constexpr const char* kH2 = "zELKA-QRm-H-FK02-TC3MN02-128kD";

class FirmwareDispatchTest : public testing::Test {
  protected:
    UpdaterOutcome Run(const std::string& model, const std::string& path,
                       const std::vector<std::string>& options = {}) {
        script.interfaces = {Network("1", {Camera(model, "cam")})};
        std::vector<std::string> arguments = {"--localinterface=1", path};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return RunMain(arguments);
    }

    /// Runs it with a file of that name and expects that it is transferred as a plain payload.
    void ExpectRuns(const std::string& model, const std::string& name) {
        const std::string path = folder.Write(name, "x");
        ExpectFileAccessUpdate(script, "cam", path);
        const UpdaterOutcome outcome = Run(model, path);
        EXPECT_EQ(outcome.exitStatus, 0);
        EXPECT_THAT(outcome.out, testing::EndsWith("Firmware upload complete.\n"));
    }

    void ExpectRefused(const std::string& model, const std::string& name, int status = 103) {
        const UpdaterOutcome outcome = Run(model, folder.Write(name, "x"));
        EXPECT_EQ(outcome.exitStatus, status) << model << ", " << name;
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err, "");
    }

    Script script;
    TemporaryFolder folder;
};

using FirmwareDispatchDeathTest = FirmwareDispatchTest;

}  // namespace

TEST_F(FirmwareDispatchTest, TheLanXTagAllowsItsOwnModelOnly) {
    ExpectRuns(kLanX, "zelka_qrm_lanx_fk02_tc3mn03_128kd_v2.dfw");
    for (const char* model :
         {kH1, "", "zelka-qrm-lanx-fk02-tc3mn03-128kd", "zELKA-QRm-LanX-FK02-TC3MN03-128kD2"}) {
        ExpectRefused(model, "zelka_qrm_lanx_fk02_tc3mn03_128kd_v2.dfw");
    }
}

TEST_F(FirmwareDispatchTest, TheHTagIsRefusedForEveryDevice) {
    for (const char* model : {kH1, kH2, kLanX, "Camera", ""}) {
        ExpectRefused(model, "zelka_qrm_h_fk02.dfw");
    }
}

TEST_F(FirmwareDispatchTest, BothTagsTogetherAreRefusedForEveryDevice) {
    for (const char* model : {kH1, kH2, kLanX, "Camera"}) {
        ExpectRefused(model, "zelka_qrm_lanx_fk02_tc3mn03_128kd zelka_qrm_h_fk02.dfw");
    }
}

TEST_F(FirmwareDispatchTest, ATagInADirectoryNameCounts) {
    std::filesystem::create_directory(folder.Path() / "zelka_qrm_h_fk02");
    std::filesystem::create_directory(folder.Path() / "zelka_qrm_lanx_fk02_tc3mn03_128kd");
    ExpectRefused(kH2, "zelka_qrm_h_fk02/fw.dfw");
    ExpectRefused("Camera", "zelka_qrm_lanx_fk02_tc3mn03_128kd/fw.dfw");
    ExpectRuns(kLanX, "zelka_qrm_lanx_fk02_tc3mn03_128kd/fw.dfw");
}

TEST_F(FirmwareDispatchTest, ATagInOtherLetterCaseDoesNotCount) {
    ExpectRuns("Camera", "ZELKA_qrm_h_fk02.dfw");
}

TEST_F(FirmwareDispatchTest, APathWithoutTagIsNotRestricted) {
    ExpectRuns("Camera", "fw.dfw");
}

TEST_F(FirmwareDispatchTest, TheModelNameIsAskedForAfreshForEachComparison) {
    ExpectRefused("Camera", "zelka_qrm_lanx_fk02_tc3mn03_128kd zelka_qrm_h_fk02.dfw");
    EXPECT_EQ(script.CountOf("NxDeviceInfo::GetModelName"), 3U);
}

TEST_F(FirmwareDispatchTest, APackagesMembersAreReadFromItsArchive) {
    const std::string path =
        folder.Write("fw.zip", MakeZip({{"Manifest.xml", "<Manifest/>"}, {"a.dfw", "payload"}}));
    script.Expect("NxDevice::CreateAndConnect record cam");
    script.Expect("GenFUParser::Build <Manifest/>").Fails(7, "not now");
    const UpdaterOutcome outcome = Run("Camera", path);
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_EQ(outcome.err, "not now\n");
}

TEST_F(FirmwareDispatchTest, NoRestrictionAppliesToAPackage) {
    for (const char* name : {"zelka_qrm_h_fk02.zip", "zelka_qrm_lanx_fk02_tc3mn03_128kd.zip"}) {
        script.Expect("NxDevice::CreateAndConnect record cam").Fails(0x103, "no answer");
        const UpdaterOutcome outcome = Run("Camera", folder.Write(name, "x"));
        EXPECT_EQ(outcome.exitStatus, 0);
        EXPECT_EQ(outcome.err, "no answer\n");
    }
}

TEST_F(FirmwareDispatchTest, AnUpperCaseExtensionNeverReachesTheDispatch) {
    const UpdaterOutcome outcome = Run("Camera", folder.Write("fw.DFW", "x"));
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_THAT(outcome.out, testing::StartsWith("Mirsko Firmware Updater\n"));
    EXPECT_EQ(script.CountOf("NxSystem::Find"), 0U);
}

TEST_F(FirmwareDispatchTest, TheLastDotDecidesAboutAPayloadInAFolderNamedZip) {
    std::filesystem::create_directory(folder.Path() / "x.zip");
    ExpectRuns("Camera", "x.zip/fw.dfw");
}

TEST_F(FirmwareDispatchTest, AFolderWithADotBeforeABareExtensionAsksForHelp) {
    // Only the text after the last dot is an extension here, and that is a path.
    std::filesystem::create_directory(folder.Path() / "a.b");
    const auto here = std::filesystem::current_path();
    std::filesystem::current_path(folder.Path());
    folder.Write("a.b/dfw", "x");
    const UpdaterOutcome outcome = Run("Camera", "a.b/dfw");
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_THAT(outcome.out, testing::StartsWith("Mirsko Firmware Updater\n"));
    std::filesystem::current_path(here);
}

TEST_F(FirmwareDispatchDeathTest, AnExistingFileNamedDfwWithoutDotEndsTheProcessAbnormally) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    folder.Write("dfw", "x");
    folder.Write("zip", "x");
    script.interfaces = {Network("1", {Camera("Camera", "cam")})};
    std::filesystem::current_path(folder.Path());
    // Nothing catches on the way: the exception reaches the end of main.
    const auto run = [](const char* name) noexcept { (void)RunMain({"--localinterface=1", name}); };
    EXPECT_EXIT(run("dfw"), testing::KilledBySignal(SIGABRT), "basic_string::substr");
    EXPECT_EXIT(run("zip"), testing::KilledBySignal(SIGABRT), "basic_string::substr");
    std::filesystem::current_path("/");
}

TEST_F(FirmwareDispatchTest, ABareExtensionThatDoesNotExistGivesStatus101) {
    std::filesystem::current_path(folder.Path());
    EXPECT_EQ(Run("Camera", "dfw").exitStatus, 101);
    std::filesystem::current_path("/");
}

TEST_F(FirmwareDispatchTest, AnEmptyFileIsLeftToTheTransfer) {
    const std::string path = folder.Write("empty.dfw", "");
    ExpectFileAccessUpdate(script, "cam", path);
    EXPECT_EQ(Run("Camera", path).exitStatus, 0);
}

TEST_F(FirmwareDispatchTest, AFolderThatCanBeOpenedIsLeftToTheTransfer) {
    const std::string path = (folder.Path() / "folder.dfw").string();
    std::filesystem::create_directory(path);
    ExpectFileAccessUpdate(script, "cam", path);
    EXPECT_EQ(Run("Camera", path).exitStatus, 0);
}

TEST_F(FirmwareDispatchTest, NoresetAndDeviceIdReachTheJob) {
    const std::string path = folder.Write("fw.dfw", "x");
    ExpectProbe(script, "cam");
    ExpectFileAccessTransfer(script, "cam", path);
    ExpectFileAccessStatus(script, "Firmware applied: 2.0");
    script.Expect("NxDfwPayload::GetDeviceIdRecord " + path + " cam-a 4096").Gives("ID");
    script.Expect("NxGenFile::Open RemoteUpdateDfw write");
    script.Expect("NxGenFile::Write ID");
    script.Expect("NxGenFile::Close");
    script.Expect("NxDevice::Free cam");
    const UpdaterOutcome outcome = Run("Camera", path, {"--noreset", "--deviceid=Cam-A"});
    EXPECT_EQ(outcome.out,
              "Starting update...\n\nValidating update... Please wait...\nUpdate is valid.\n"
              "Setting new device ID\nFirmware upload complete.\n");
}

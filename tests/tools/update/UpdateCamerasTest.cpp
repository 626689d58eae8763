// mirsko-update: what it does with the cameras selected, and what it says.
#include <gmock/gmock.h>

#include "CameraGroup.h"
#include "ManifestBuilder.h"
#include "NetworkPair.h"
#include "UsbCamera.h"
#include "ZipBuilder.h"

using testing::AllOf;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class UpdateCamerasTest : public CameraGroup {};

TEST_F(UpdateCamerasTest, UpdatesExactlyTheCamerasNamed) {
    AddAll(4);
    const std::string file = Payload("fw.dfw");
    ProcessResult result = Update({"--mac", "02-4D-53-00-00-02", "--address", "127.0.0.3", file});
    EXPECT_EQ(result.exitStatus, 0) << result.out << result.err;
    EXPECT_TRUE(IsUntouched(1) && IsUpdated(2) && IsUpdated(3) && IsUntouched(4));
    result = Update({"--user-name", "camera-1", "--serial", "SIM-4", file});
    EXPECT_EQ(result.exitStatus, 0) << result.out << result.err;
    EXPECT_TRUE(IsUpdated(1) && IsUpdated(4));
    for (const auto& camera : mCameras) {
        EXPECT_EQ(camera->State()["transfers"], 1);
        EXPECT_EQ(camera->State()["resets"], 1);
    }
}

TEST_F(UpdateCamerasTest, PrintsALineForEachStage) {
    Add({"--no-tftp"});
    const std::string name = NameOf(1) + ": ";
    const ProcessResult result = Update({"--all", Payload("fw.dfw")});
    EXPECT_THAT(result.out,
                StartsWith(name + "asking\n" + name + "writing 2.1 by GenICam file access\n" +
                           name + "validating\n" + name + "resetting\n" + name +
                           "waiting until it is back\n" + name + "updated from 1.0 to 2.1 in "));
    EXPECT_THAT(result.out, EndsWith(" s\n1 updated\n"));
    EXPECT_EQ(result.err, "");
}

TEST_F(UpdateCamerasTest, DrawsALinePerCameraInPlaceOnATerminal) {
    Add({"--no-tftp", "--latency", "4000"});
    const ProcessResult result =
        Process::Run({"script", "--quiet", "--return", "--command",
                      Program("mirsko-update") + " --all " + Payload("fw.dfw"), "/dev/null"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.out, HasSubstr("\x1b[1A\x1b[J"));
    EXPECT_THAT(result.out, ContainsRegex("\n\\[1A\\[J +[0-9]+ % +[0-9.]+ MB/s +[0-9]+ s left  "
                                          "Simulated Camera SIM-1 "));
    EXPECT_THAT(result.out, HasSubstr("): updated from 1.0 to 2.1 in "));
    EXPECT_TRUE(IsUpdated(1));
}

TEST_F(UpdateCamerasTest, SkipsCamerasThatRunTheFilesVersionOrAHigherOne) {
    Add({"--firmware-version", "2.1"});
    Add({"--firmware-version", "3.0", "--profile", "loader"});
    const std::string file = Payload("fw.dfw");
    EXPECT_EQ(Update({"--serial", "SIM-1", file}).exitStatus, 2);
    EXPECT_EQ(Update({"--serial", "SIM-2", file}).exitStatus, 1);
    EXPECT_TRUE(mCameras[0]->Firmware().empty() && mCameras[1]->Firmware().empty());
    ProcessResult result = Update({"--all", "--force", file});
    EXPECT_THAT(LineOf(result, 2), StartsWith("refused: 2.1 is lower than the version"));
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_TRUE(IsUpdated(1));
    result = Update({"--all", "--allow-downgrade", file});
    EXPECT_EQ(result.out.substr(result.out.rfind("s\n") + 2), "1 updated, 1 current\n");
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_TRUE(IsUpdated(2));
}

TEST_F(UpdateCamerasTest, WaitsForACameraThatIsAwayWhileItRestarts) {
    Add({"--reboot-time", "2500"});
    Add({"--reboot-time", "2500", "--profile", "loader"});
    const ProcessResult result = Update({"--all", Payload("fw.dfw")});
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_TRUE(IsUpdated(1) && IsUpdated(2));
}

TEST_F(UpdateCamerasTest, ClaimsNoSuccessForACameraThatDoesNotComeBack) {
    Add({"--profile", "loader", "--fault", "vanish@reset"});
    const ProcessResult result = Update({"--all", "--wait", "2", Payload("fw.dfw")});
    EXPECT_EQ(LineOf(result, 1), "failed: written and reset, but not back 2 s after its reset");
    EXPECT_EQ(result.exitStatus, 1);
}

TEST_F(UpdateCamerasTest, ClaimsNoSuccessForACameraThatRunsAnotherVersionAfterwards) {
    Add();
    const std::string package = mFolder.Write(
        "p.zip", MakeZip({{"Manifest.xml", MakeManifest(Upload("a.dfw"))},
                          {"a.dfw", MakePayload(mBody, {.majorNumber = 2, .minorNumber = 0})}}));
    const ProcessResult result = Update({"--all", "--wait", "6", package});
    EXPECT_EQ(LineOf(result, 1), "failed: written and reset, but runs 2.0 6 s after its reset");
    EXPECT_EQ(result.exitStatus, 1);
}

TEST_F(UpdateCamerasTest, SaysThatACameraWhichCannotBeResetRunsItAfterItsNextPowerCycle) {
    Add({"--profile", "loader", "--fault", "fail@reset"});
    const ProcessResult result = Update({"--all", Payload("fw.dfw")});
    EXPECT_THAT(LineOf(result, 1),
                StartsWith("stored 2.1, runs it after its next power cycle; the reset failed: "));
    EXPECT_EQ(result.exitStatus, 1);
    mCameras[0]->PowerCycle();
    EXPECT_EQ(Update({"--all", Payload("fw.dfw")}).exitStatus, 2);
}

TEST_F(UpdateCamerasTest, WritesEveryPayloadOfAPackageAndLeavesNothingBehind) {
    Add();
    Add({"--profile", "loader"});
    const std::string steps = Upload("lens.dfw", "TFTP") + Upload("camera.dfw", "TFTP");
    const std::string package = mFolder.Write(
        "p.zip", MakeZip({{"Manifest.xml", MakeManifest(steps)},
                          {"lens.dfw", MakePayload("lens", {.majorNumber = 1, .minorNumber = 9})},
                          {"camera.dfw", MakePayload(mBody)}}));
    const ProcessResult result = Update({"--all", package});
    EXPECT_EQ(result.err, "");
    for (int number = 1; number <= 2; ++number) {
        EXPECT_TRUE(IsUpdated(number)) << LineOf(result, number);
        EXPECT_EQ(mCameras[static_cast<std::size_t>(number - 1)]->State()["resets"], 1);
    }
    EXPECT_EQ(Process::Run({"sh", "-c", "ls /tmp | grep -E '^(xml|dfw)-'"}).out, "");
}

TEST_F(UpdateCamerasTest, RejectsADamagedMemberBeforeAnythingIsWritten) {
    Add();
    const std::string package =
        mFolder.Write("p.zip", MakeZip({{"Manifest.xml", MakeManifest(Upload("a.dfw"))},
                                        {"a.dfw", MakePayload(mBody).substr(0, 5000)}}));
    const ProcessResult result = Update({"--all", package});
    EXPECT_THAT(LineOf(result, 1), AllOf(StartsWith("refused: "), HasSubstr("p.zip, a.dfw: ")));
    EXPECT_EQ(mCameras[0]->State()["transfers"], 0);
}

TEST_F(UpdateCamerasTest, UpdatesCamerasBehindSeveralInterfacesAndRefusesOthersSubnets) {
    NetworkPair network({{"10.1.0.1/24", "10.1.0.2/24"},
                         {"10.2.0.1/24", "10.2.0.2/24"},
                         {"10.3.0.1/24", "10.9.0.2/24"}});
    std::vector<std::unique_ptr<SimulatedCamera>> cameras;
    for (const std::string number : {"0", "1", "2"}) {
        const std::string address = number == "2"   ? "10.9.0.2"
                                    : number == "0" ? "10.1.0.2"
                                                    : "10.2.0.2";
        cameras.push_back(std::make_unique<SimulatedCamera>(
            std::vector<std::string>{"--interface", "far" + number, "--address", address, "--mac",
                                     "02:4d:53:00:01:0" + number, "--serial", "SIM-" + number},
            &network));
    }
    const std::string file = Payload("fw.dfw");
    const ProcessResult result = Update({"--all", file});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(LineOf(result, 2),
                StartsWith("refused: its address is outside the subnet of cam2; give it one"));
    EXPECT_EQ(cameras[0]->Firmware(), mBody);
    EXPECT_EQ(cameras[1]->Firmware(), mBody);
    EXPECT_EQ(Update({"--all", "--interface", "cam0", file}).exitStatus, 2);
    EXPECT_EQ(Update({"--all", "--interface", NetworkPair::NearMac(1), file}).exitStatus, 2);
}

TEST_F(UpdateCamerasTest, UpdatesUsbCamerasAndRestartsThem) {
    UsbCamera cameras({"--plug", "2-1.4", "--plug", "4-1"});
    const std::string file = Payload("fw.dfw");
    const ProcessResult result = cameras.Run({Program("mirsko-update"), "--all", "--usb", file});
    EXPECT_EQ(result.exitStatus, 0) << result.out << result.err;
    for (int number = 1; number <= 2; ++number) {
        EXPECT_EQ(cameras.Firmware(number), mBody);
        EXPECT_EQ(cameras.State(number)["running_version"], "2.1");
    }
    EXPECT_EQ(cameras.Run({Program("mirsko-update"), "--all", file}).exitStatus, 2);
}

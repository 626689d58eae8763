// mirsko-update: which cameras and files it takes.
#include <gmock/gmock.h>

#include "CameraGroup.h"
#include "ManifestBuilder.h"
#include "ZipBuilder.h"

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class SelectCamerasTest : public CameraGroup {};

TEST_F(SelectCamerasTest, ListsTheCamerasWithoutASelectionAndWritesNothing) {
    AddAll(2, {"--no-tftp"});
    const ProcessResult result = Update({Payload("fw.dfw")});
    EXPECT_EQ(result.out, NameOf(1) + ": runs 1.0\n" + NameOf(2) + ": runs 1.0\n");
    EXPECT_EQ(result.err,
              "Nothing was written: name cameras (--serial, --mac, --address, --user-name, "
              "--model), or select all (--all, 2 found)\n");
    EXPECT_EQ(result.exitStatus, 3);
    EXPECT_TRUE(IsUntouched(1) && IsUntouched(2));
}

TEST_F(SelectCamerasTest, WritesNothingIfAnyNameMatchesNoCameraOrSeveral) {
    AddAll(2, {"--no-tftp"});
    const ProcessResult result = Update({"--serial", "SIM-1", "--serial", "SIM-9", "--model",
                                         "Simulated Camera", Payload("fw.dfw")});
    EXPECT_EQ(result.err,
              "--serial SIM-9 matches no camera\n"
              "--model Simulated Camera matches 2 cameras: " +
                  NameOf(1) + ", " + NameOf(2) + "\nNothing was written\n");
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.exitStatus, 3);
    EXPECT_TRUE(IsUntouched(1) && IsUntouched(2));
}

TEST_F(SelectCamerasTest, RejectsFilesThatAreNotFirmwareBeforeItLooksForCameras) {
    const std::string record = mFolder.Write("id.dfw", MakePayload("name", {.kind = 2}));
    const std::string cut = mFolder.Write("cut.dfw", MakePayload(mBody).substr(0, 1000));
    const std::string text = mFolder.Write("firmware.txt", "");
    const std::string zip = mFolder.Write("empty.zip", MakeZip({{"a", "b"}}));
    for (const auto& [file, reason] :
         {std::pair(record, "not firmware, but a record"), std::pair(cut, "cut.dfw"),
          std::pair(text, "neither a payload (.dfw) nor a package (.zip)"),
          std::pair(zip, "not a package with a Manifest.xml")}) {
        const ProcessResult result = Update({"--all", file});
        EXPECT_THAT(result.err, HasSubstr(reason));
        EXPECT_EQ(result.exitStatus, 3);
    }
    EXPECT_EQ(Update({"--all"}).exitStatus, 3);
    EXPECT_EQ(Update({"--all", "--serial", "1", Payload("fw.dfw")}).exitStatus, 3);
}

TEST_F(SelectCamerasTest, SaysOfEachCameraWhatADryRunWouldDo) {
    Add({"--no-tftp"});
    Add({"--profile", "loader"});
    Add({"--no-tftp", "--refuse-control"});
    Add({"--no-tftp", "--firmware-version", "2.1"});
    Add({"--no-tftp", "--firmware-version", "3.0"});
    const std::string file = Payload("fw.dfw");
    const ProcessResult result = Update({"--all", "--dry-run", file});
    EXPECT_EQ(LineOf(result, 1),
              "runs 1.0, " + file + " has 2.1, by GenICam file access: needs the update");
    EXPECT_EQ(LineOf(result, 2), "runs 1.0, " + file + " has 2.1, by TFTP: needs the update");
    EXPECT_THAT(LineOf(result, 3), StartsWith("runs 1.0, " + file + " has 2.1: refused: "));
    EXPECT_THAT(LineOf(result, 4), HasSubstr(": nothing to do: runs 2.1 already"));
    EXPECT_THAT(LineOf(result, 5),
                HasSubstr(": refused: 2.1 is lower than the version that it runs, 3.0"));
    EXPECT_THAT(result.out, testing::EndsWith("\n2 needed, 1 current, 2 refused\n"));
    EXPECT_EQ(result.exitStatus, 1);
    for (const auto& camera : mCameras) {
        EXPECT_TRUE(camera->Firmware().empty());
    }
}

TEST_F(SelectCamerasTest, GivesEachCameraTheFileThatFits) {
    Add({"--model", "ORLA-25M", "--family", "ORLA"});
    Add({"--model", "LYNX-2", "--family", "LYNX"});
    Add({"--model", "VEGA", "--family", "VEGA"});
    const std::string orla = Payload("orla.dfw", {.family = "ORLA"});
    const std::string vega = Payload("vega.dfw", {.family = "V-Series"});
    const std::string lynx = mFolder.Write(
        "lynx.zip",
        MakeZip({{"Manifest.xml", MakeManifest(Upload("l.dfw"), {.pattern = "LYNX-\\d"})},
                 {"l.dfw", MakePayload(mBody, {.family = "LYNX"})}}));
    ProcessResult result = Update({"--all", "--dry-run", lynx, orla});
    EXPECT_THAT(LineOf(result, 1), HasSubstr(orla + " has 2.1"));
    EXPECT_THAT(LineOf(result, 2), HasSubstr(lynx + " has 2.1"));
    // A payload of another family might still be for a camera that has not told its own.
    result = Update({"--all", "--dry-run", orla, vega});
    EXPECT_THAT(LineOf(result, 3),
                HasSubstr("refused: nothing tells which file fits: " + orla + ", " + vega));
    // Two that fit are one too many.
    const std::string second = Payload("second.dfw", {.family = "orla"});
    result = Update({"--serial", "SIM-1", "--dry-run", orla, second});
    EXPECT_THAT(LineOf(result, 1), HasSubstr("refused: several files fit: "));
    EXPECT_EQ(result.exitStatus, 1);
}

TEST_F(SelectCamerasTest, KnowsTheVersionAndTheFamilyThatACameraHasStored) {
    Add({"--no-tftp"});
    ASSERT_EQ(Update({"--all", Payload("fw.dfw")}).exitStatus, 0);
    EXPECT_THAT(LineOf(Update({"--all", "--dry-run", Payload("3.dfw", {.majorNumber = 3})}), 1),
                StartsWith("runs 2.1, stored 2.1, "));
    EXPECT_THAT(
        LineOf(Update({"--all", "--dry-run", Payload("other.dfw", {.family = "Other"})}), 1),
        EndsWith("is for the device family Other, the camera's is MirskoSim"));
}

TEST_F(SelectCamerasTest, RefusesCamerasThatItCouldMistakeForOneAnother) {
    AddAll(2, {"--no-tftp", "--mac", "02:4d:53:00:00:09"});
    Add({"--no-tftp"});
    const ProcessResult result = Update({"--all", Payload("fw.dfw")});
    for (int number = 1; number <= 2; ++number) {
        EXPECT_EQ(LineOf(result, number),
                  "refused: another camera on lo has the same MAC address 02:4d:53:00:00:09; "
                  "connect only one of them");
        EXPECT_TRUE(IsUntouched(number));
    }
    EXPECT_TRUE(IsUpdated(3));
}

TEST_F(SelectCamerasTest, SaysWhyAPackageDoesNotFit) {
    Add({"--profile", "no-file-access"});
    const std::string other = mFolder.Write(
        "other.zip",
        MakeZip({{"Manifest.xml", MakeManifest(Upload("a.dfw"), {.pattern = "LYNX"})}}));
    EXPECT_THAT(LineOf(Update({"--all", "--dry-run", other}), 1),
                HasSubstr("No update in this package is for"));
    const std::string files = mFolder.Write(
        "files.zip",
        MakeZip({{"Manifest.xml", MakeManifest(Upload("a.dfw"))}, {"a.dfw", MakePayload(mBody)}}));
    EXPECT_THAT(LineOf(Update({"--all", "--dry-run", files}), 1),
                HasSubstr("refused: the package uploads by GenICam file access: "));
    const std::string reset = mFolder.Write(
        "reset.zip",
        MakeZip({{"Manifest.xml", MakeManifest(Upload("a.dfw", "TFTP") + "<DeviceReset/>")},
                 {"a.dfw", MakePayload(mBody)}}));
    EXPECT_THAT(LineOf(Update({"--all", "--dry-run", reset}), 1),
                HasSubstr("mirsko-update does not provide this operation"));
    EXPECT_TRUE(mCameras[0]->Firmware().empty());
}

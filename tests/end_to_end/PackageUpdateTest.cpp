// The real binary and packages, with a simulated GigE Vision camera that offers file access and
// TFTP.
#include <gtest/gtest.h>

#include "SimulatedCamera.h"
#include "TemporaryFolder.h"
#include "Updater.h"
#include "ZipBuilder.h"

namespace {

const std::string kOneUpload =
    "Starting update...\n"
    "\n"
    "Validating update... Please wait...\n"
    "Update is valid.\n"
    "Resetting device\n"
    "Firmware upload complete.\n";
const std::string kFailedUpload = "Starting update...\n\nUpdate failed.\n";

std::string Upload(const std::string& file, const std::string& transport) {
    return "<FileUpload Transport=\"" + transport + "\"><FileName>" + file +
           "</FileName></FileUpload>";
}

std::string Manifest(const std::string& steps, const std::string& model = "Simulated Camera") {
    return R"(<FirmwareUpdate SchemaMajorVersion="1" SchemaMinorVersion="0"><Procedure Id="p">)" +
           steps +
           R"(</Procedure><Update ProcedureId="p"><Info Name="Description">d</Info>)"
           R"(<Info Name="Version">2.1</Info><Condition Feature="DeviceModelName">)" +
           model + "</Condition></Update></FirmwareUpdate>";
}

ZipMember Member(const std::string& name, const std::string& content) {
    return ZipMember{.name = name, .content = content};
}

std::vector<std::string> TemporaryFiles() {
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator("/tmp")) {
        const std::string name = entry.path().filename().string();
        if (name.starts_with("xml-") || name.starts_with("dfw-")) {
            found.push_back(name);
        }
    }
    return found;
}

class PackageUpdateTest : public testing::Test {
  protected:
    ProcessResult RunPackage(const std::vector<ZipMember>& members) {
        return RunUpdater({kLoopback, mFolder.Write("package.zip", MakeZip(members))});
    }

    // The run must fail without an upload, with one line that contains `words`.
    void ExpectRefusal(const std::vector<ZipMember>& members, const std::string& words) {
        const ProcessResult result = RunPackage(members);
        EXPECT_EQ(result.out, "") << words;
        EXPECT_NE(result.err.find(words), std::string::npos) << result.err;
        EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
        EXPECT_EQ(result.exitStatus, 0) << words;
        EXPECT_EQ(mCamera.Firmware(), "") << words;
    }

    SimulatedCamera mCamera{{"--profile", "file-access"}};
    TemporaryFolder mFolder;
    const std::string mFirst = RandomBytes(150000, 1);
    const std::string mSecond = RandomBytes(140000, 2);
};

}  // namespace

TEST_F(PackageUpdateTest, TransfersEachFileTheWayTheManifestNames) {
    const ProcessResult result = RunPackage(
        {Member("Manifest.xml", Manifest(Upload("a.dfw", "GenICam") + Upload("b.dfw", "TFTP"))),
         Member("a.dfw", MakePayload(mFirst, 2, 1)), Member("b.dfw", MakePayload(mSecond, 2, 2))});
    EXPECT_EQ(WithoutLabels(result.out), kOneUpload + kOneUpload);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_TRUE(mCamera.Firmware() == mSecond);
    EXPECT_EQ(mCamera.State().value("transfers", 0), 3);  // both payloads and the reset record
    EXPECT_EQ(mCamera.State().value("resets", 0), 1);
    EXPECT_TRUE(WaitUntil([] { return DeviceField("version") == "2.2"; }));
    EXPECT_EQ(TemporaryFiles(), std::vector<std::string>{});
}

TEST_F(PackageUpdateTest, TakesEveryOtherTransportWordForFileAccess) {
    const ProcessResult result =
        RunPackage({Member("Manifest.xml", Manifest(Upload("a.dfw", "tftp"))),
                    Member("a.dfw", MakePayload(mFirst))});
    EXPECT_EQ(WithoutLabels(result.out), kOneUpload);
    EXPECT_TRUE(mCamera.Firmware() == mFirst);
    EXPECT_EQ(mCamera.State().value("resets", 0), 0);
}

TEST_F(PackageUpdateTest, FindsMembersInFolders) {
    const ProcessResult result =
        RunPackage({Member("fw/Manifest.xml", Manifest(Upload("a.dfw", "GenICam"))),
                    Member("fw/a.dfw", MakePayload(mFirst))});
    EXPECT_EQ(WithoutLabels(result.out), kOneUpload);
    EXPECT_TRUE(mCamera.Firmware() == mFirst);
}

TEST_F(PackageUpdateTest, EndsTheRunWithTheFirstUploadThatFails) {
    const ProcessResult result =
        RunPackage({Member("Manifest.xml",
                           Manifest(Upload("missing.dfw", "GenICam") + Upload("a.dfw", "GenICam"))),
                    Member("a.dfw", MakePayload(mFirst))});
    EXPECT_EQ(WithoutLabels(result.out), kFailedUpload);
    EXPECT_TRUE(
        result.err.ends_with("Step 1 of procedure \"p\", FileUpload of \"missing.dfw\" by GenICam, "
                             "failed with code 1\n"))
        << result.err;
    EXPECT_EQ(mCamera.Firmware(), "");
}

TEST_F(PackageUpdateTest, LeavesTheFileOfADamagedMemberBehind) {
    ZipMember damaged = Member("a.dfw", MakePayload(mFirst));
    damaged.crcError = 1;
    const ProcessResult result =
        RunPackage({Member("Manifest.xml", Manifest(Upload("a.dfw", "GenICam"))), damaged});
    EXPECT_EQ(WithoutLabels(result.out), kFailedUpload);
    EXPECT_EQ(mCamera.Firmware(), "");
    const std::vector<std::string> left = TemporaryFiles();
    ASSERT_EQ(left.size(), 1U);
    EXPECT_TRUE(left[0].starts_with("dfw-"));
}

TEST_F(PackageUpdateTest, TellsWhereTheManifestIsWrong) {
    ExpectRefusal({Member("Manifest.xml", "<FirmwareUpdate>\n  <Foo/>\n</FirmwareUpdate>"),
                   Member("a.dfw", MakePayload(mFirst))},
                  "Manifest.xml:");
    EXPECT_EQ(TemporaryFiles(), std::vector<std::string>{});
}

TEST_F(PackageUpdateTest, RefusesAPackageWithoutAManifest) {
    ExpectRefusal({Member("a.dfw", MakePayload(mFirst))}, "Manifest.xml");
    ExpectRefusal({Member("manifest.xml", Manifest(Upload("a.dfw", "GenICam")))}, "Manifest.xml");
    ExpectRefusal({}, "Manifest.xml");
}

TEST_F(PackageUpdateTest, RefusesATextFileNamedZip) {
    const ProcessResult result =
        RunUpdater({kLoopback, mFolder.Write("package.zip", "not an archive")});
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find("Manifest.xml"), std::string::npos) << result.err;
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(PackageUpdateTest, SaysThatNoUpdateIsForTheModel) {
    ExpectRefusal({Member("Manifest.xml", Manifest(Upload("a.dfw", "GenICam"), "Other")),
                   Member("a.dfw", MakePayload(mFirst))},
                  "No update in this package is for Simulated Camera");
}

TEST_F(PackageUpdateTest, EndsTheRunWithAStepThatTheUpdaterDoesNotProvide) {
    const ProcessResult result =
        RunPackage({Member("Manifest.xml", Manifest(Upload("a.dfw", "GenICam") + "<DeviceReset/>")),
                    Member("a.dfw", MakePayload(mFirst))});
    EXPECT_EQ(WithoutLabels(result.out), kOneUpload);
    EXPECT_NE(result.err.find("failed with code 16\n"), std::string::npos) << result.err;
    EXPECT_TRUE(mCamera.Firmware() == mFirst);
}

TEST_F(PackageUpdateTest, IsNotTiedToAModelByItsPath) {
    const ProcessResult result = RunUpdater(
        {kLoopback,
         mFolder.Write("zelka_qrm_h_fk02.zip",
                       MakeZip({Member("Manifest.xml", Manifest(Upload("a.dfw", "GenICam"))),
                                Member("a.dfw", MakePayload(mFirst))}))});
    EXPECT_EQ(WithoutLabels(result.out), kOneUpload);
    EXPECT_TRUE(mCamera.Firmware() == mFirst);
}

TEST(PackageWithoutControlTest, SaysWhoHoldsTheDevice) {
    SimulatedCamera camera({"--profile", "file-access", "--refuse-control"});
    const TemporaryFolder folder;
    const ProcessResult result = RunUpdater(
        {kLoopback,
         folder.Write("package.zip",
                      MakeZip({Member("Manifest.xml", Manifest(Upload("a.dfw", "GenICam")))}))});
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err,
              "Cannot control 127.0.0.1 on lo: another application controls it "
              "(GVCP ACCESS_DENIED 0x8006)\n");
    EXPECT_EQ(result.exitStatus, 0);
}

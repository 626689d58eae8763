// The real binary and packages, with a simulated GigE Vision camera that offers file access and
// TFTP.
#include <gtest/gtest.h>

#include "ManifestBuilder.h"
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

ZipMember Member(const std::string& name, const std::string& content) {
    return ZipMember{.name = name, .content = content};
}

class PackageUpdateTest : public testing::Test {
  protected:
    ProcessResult RunPackage(const std::vector<ZipMember>& members) {
        return RunUpdater({kLoopback, mFolder.Write("package.zip", MakeZip(members))});
    }

    SimulatedCamera mCamera{{"--profile", "file-access"}};
    TemporaryFolder mFolder;
    const std::string mFirst = RandomBytes(150000, 1);
    const std::string mSecond = RandomBytes(140000, 2);
};

}  // namespace

TEST_F(PackageUpdateTest, TransfersEachFileTheWayTheManifestNames) {
    const ProcessResult result = RunPackage(
        {Member("Manifest.xml", MakeManifest(Upload("a.dfw", "GenICam") + Upload("b.dfw", "TFTP"))),
         Member("a.dfw", MakePayload(mFirst)),
         Member("b.dfw", MakePayload(mSecond, {.minorNumber = 2}))});
    EXPECT_EQ(WithoutLabels(result.out), kOneUpload + kOneUpload);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_TRUE(mCamera.Firmware() == mSecond);
    EXPECT_EQ(mCamera.State().value("transfers", 0), 3);  // both payloads and the reset record
    EXPECT_EQ(mCamera.State().value("resets", 0), 1);
    EXPECT_TRUE(WaitUntil([] { return DeviceField("version") == "2.2"; }));
    EXPECT_TRUE(UnpackedFiles().empty());
}

TEST_F(PackageUpdateTest, TakesEveryOtherTransportWordForFileAccess) {
    const ProcessResult result =
        RunPackage({Member("Manifest.xml", MakeManifest(Upload("a.dfw", "tftp"))),
                    Member("a.dfw", MakePayload(mFirst))});
    EXPECT_EQ(WithoutLabels(result.out), kOneUpload);
    EXPECT_TRUE(mCamera.Firmware() == mFirst);
    EXPECT_EQ(mCamera.State().value("resets", 0), 0);
}

TEST_F(PackageUpdateTest, FindsMembersInFolders) {
    const ProcessResult result =
        RunPackage({Member("fw/Manifest.xml", MakeManifest(Upload("a.dfw", "GenICam"))),
                    Member("fw/a.dfw", MakePayload(mFirst))});
    EXPECT_EQ(WithoutLabels(result.out), kOneUpload);
    EXPECT_TRUE(mCamera.Firmware() == mFirst);
}

TEST_F(PackageUpdateTest, IsNotTiedToAModelByItsPath) {
    const ProcessResult result = RunUpdater(
        {kLoopback,
         mFolder.Write("zelka_qrm_h_fk02.zip",
                       MakeZip({Member("Manifest.xml", MakeManifest(Upload("a.dfw", "GenICam"))),
                                Member("a.dfw", MakePayload(mFirst))}))});
    EXPECT_EQ(WithoutLabels(result.out), kOneUpload);
    EXPECT_TRUE(mCamera.Firmware() == mFirst);
}

TEST_F(PackageUpdateTest, RunsAnImportedUpdateFile) {
    const std::string control =
        "<g:GufRuleSet xmlns:g=\"http://www.genicam.org/GenFwUpdate/Version_1_0\" "
        "SchemaMajorVersion=\"1\" SchemaMinorVersion=\"0\"><g:Procedure Id=\"p\"><g:FileUpload>"
        "<g:FileName>fw/a.dfw</g:FileName><g:DeviceFileName>RemoteUpdateDfw</g:DeviceFileName>"
        "</g:FileUpload><g:DeviceReset/></g:Procedure><g:Update ProcedureId=\"p\">"
        "<g:Condition Feature=\"DeviceModelName\">^Simulated |Other$</g:Condition></g:Update>"
        "</g:GufRuleSet>";
    const std::string update = mFolder.Write(
        "u.guf",
        MakeZip({Member("package.zip", MakeZip({Member("Control.xml", control),
                                                Member("fw/a.dfw", MakePayload(mFirst))}))}));
    const std::string package = (mFolder.Path() / "package.zip").string();
    EXPECT_EQ(Process::Run({Program("mirsko-package"), "import", "--drop-reset", update, package})
                  .exitStatus,
              0);
    const ProcessResult result = RunUpdater({kLoopback, package});
    EXPECT_EQ(WithoutLabels(result.out), kOneUpload);
    EXPECT_EQ(result.err, "");
    EXPECT_TRUE(mCamera.Firmware() == mFirst);
}

TEST(PackageWithoutControlTest, SaysWhoHoldsTheDevice) {
    SimulatedCamera camera({"--profile", "file-access", "--refuse-control"});
    const TemporaryFolder folder;
    const ProcessResult result = RunUpdater(
        {kLoopback,
         folder.Write("package.zip", MakeZip({Member("Manifest.xml",
                                                     MakeManifest(Upload("a.dfw", "GenICam")))}))});
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err,
              "Cannot control 127.0.0.1 on lo: another application has control (GVCP ACCESS_DENIED "
              "0x8006)\n");
    EXPECT_EQ(result.exitStatus, 0);
}

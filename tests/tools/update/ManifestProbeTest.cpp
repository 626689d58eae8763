#include "firmware/ManifestProbe.h"

#include <gmock/gmock.h>

#include "ManifestBuilder.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

std::string Manifest(const std::string& procedures, const std::string& updates) {
    return R"(<FirmwareUpdate SchemaMajorVersion="1" SchemaMinorVersion="0">)" + procedures +
           updates + "</FirmwareUpdate>";
}

std::string Procedure(const std::string& id, const std::string& steps) {
    return "<Procedure Id=\"" + id + "\">" + steps + "</Procedure>";
}

std::string Update(const std::string& procedure, const std::string& pattern,
                   const std::string& version) {
    return "<Update ProcedureId=\"" + procedure + "\"><Info Name=\"Version\">" + version +
           "</Info><Condition Feature=\"DeviceModelName\">" + pattern + "</Condition></Update>";
}

std::vector<std::string> Names(const ManifestProbe& probe) {
    std::vector<std::string> names;
    for (const ManifestProbe::Upload& upload : probe.Uploads()) {
        names.push_back(upload.fileName + " by " + upload.transport);
    }
    return names;
}

}  // namespace

TEST(ManifestProbeTest, TakesTheFirstUpdateThatFitsEachModelInTurn) {
    ManifestProbe probe;
    ASSERT_EQ(
        probe.Read(Manifest(Procedure("a", Upload("a.dfw")) +
                                Procedure("b", Upload("b.dfw", "TFTP") + Upload("c.dfw", "TFTP")),
                            Update("b", "LYNX", "1.0") + Update("a", "ORLA.*", "2.0") +
                                Update("b", "ORLA-2", "3.0"))),
        "");
    EXPECT_EQ(probe.Run("ORLA-2"), "");
    EXPECT_THAT(Names(probe), ElementsAre("a.dfw by GenICam"));
    EXPECT_EQ(probe.Version(), "2.0");
    EXPECT_EQ(probe.Run("LYNX"), "");
    EXPECT_THAT(Names(probe), ElementsAre("b.dfw by TFTP", "c.dfw by TFTP"));
    EXPECT_EQ(probe.Version(), "1.0");
    EXPECT_EQ(probe.Run("VEGA"), "No update in this package is for VEGA");
    EXPECT_THAT(Names(probe), ElementsAre());
    EXPECT_EQ(probe.Version(), "");
}

TEST(ManifestProbeTest, SaysWhichStepCannotBeDone) {
    ManifestProbe probe;
    ASSERT_EQ(
        probe.Read(Manifest(
            Procedure(
                "p",
                Upload("a.dfw") +
                    "<FeatureAssert><FeatureName>DeviceModelName</FeatureName><AssertPattern>ORLA"
                    "</AssertPattern><Message>old hardware</Message></FeatureAssert>") +
                Procedure("reset", "<DeviceReset/>" + Upload("a.dfw")),
            Update("reset", "LYNX", "1.0") + Update("p", ".*", "2.0"))),
        "");
    EXPECT_EQ(probe.Run("ORLA"), "");
    EXPECT_THAT(probe.Run("VEGA"), HasSubstr("old hardware"));
    EXPECT_THAT(probe.Run("LYNX"), HasSubstr("Step 1 of procedure \"reset\""));
}

TEST(ManifestProbeTest, RejectsWhatIsNotAManifest) {
    EXPECT_THAT(ManifestProbe().Read("<FirmwareUpdate/>"), StartsWith("Manifest.xml:1: "));
    EXPECT_NE(ManifestProbe().Read(""), "");
}

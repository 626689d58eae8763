#include <nlohmann/json.hpp>

#include "PackageFiles.h"
#include "PackageTool.h"
#include "ZipBuilder.h"

using Json = nlohmann::json;

class InfoCommandTest : public PackageTool {
  protected:
    void SetUp() override {
        const std::string manifest = GoodManifest(
            "<FeatureAssert><FeatureName>F</FeatureName><AssertPattern>x|y"
            "</AssertPattern><Message>m</Message></FeatureAssert>" +
            Upload("a.dfw") +
            "<FeatureWrite><FeatureName>F</FeatureName><Value>v</Value>"
            "</FeatureWrite><FeatureExecute><FeatureName>G</FeatureName>"
            "</FeatureExecute><DeviceReset/>");
        mFolder.Write("p.zip", MakeZip({{"Manifest.xml", manifest}, {"a.dfw", GoodPayload()}}));
        mFolder.Write("a.dfw", GoodPayload());
    }

    /// As info prints it, by the system's own program.
    [[nodiscard]] std::string Sha256(const std::string& file) const {
        return "SHA-256 " + Process::Run({"sha256sum", Path(file)}).out.substr(0, 64) + "\n";
    }
};

TEST_F(InfoCommandTest, ShowsAPayload) {
    Expect({"info", "@a.dfw"}, 0,
           "firmware for family SIMCAM, version 2.1, 8 bytes, CRC d5ecd7c4\n" + Sha256("a.dfw"),
           "");
}

TEST_F(InfoCommandTest, ShowsAPayloadAsJson) {
    const ProcessResult result = Run({"info", "--json", "@a.dfw"});
    EXPECT_EQ(result.exitStatus, 0);
    Json payload = Json::parse(result.out);
    EXPECT_EQ("SHA-256 " + payload.value("sha256", "") + "\n", Sha256("a.dfw"));
    payload.erase("sha256");
    EXPECT_EQ(payload, Json::parse(R"({"kind": "payload", "content": "firmware", "family": "SIMCAM",
                              "version": "2.1", "bodyLength": 8, "bodyCrc": "d5ecd7c4"})"));
}

TEST_F(InfoCommandTest, ShowsAPackage) {
    const std::size_t size =
        Json::parse(Run({"info", "--json", "@p.zip"}).out)["members"][0]["size"];
    Expect({"info", "@p.zip"}, 0,
           "members:\n"
           "  Manifest.xml, " +
               std::to_string(size) +
               " bytes\n"
               "  a.dfw, 72 bytes: firmware for family SIMCAM, version 2.1, 8 bytes, CRC d5ecd7c4\n"
               "procedure \"p\":\n"
               "  1. FeatureAssert: F must match x|y\n"
               "  2. FileUpload of a.dfw by GenICam\n"
               "  3. FeatureWrite: F = v\n"
               "  4. FeatureExecute: G\n"
               "  5. DeviceReset\n"
               "update by procedure \"p\":\n"
               "  Description: d\n"
               "  Version: 2.1\n"
               "  if DeviceModelName matches M\n" +
               Sha256("p.zip"),
           "");
}

TEST_F(InfoCommandTest, ShowsAPackageAsJson) {
    Json package = Json::parse(Run({"info", "--json", "@p.zip"}).out);
    EXPECT_EQ(package["kind"], "package");
    EXPECT_EQ(package["members"][1]["name"], "a.dfw");
    EXPECT_EQ(package["members"][1]["size"], 72);
    EXPECT_EQ(package["members"][1]["compressedSize"], 72);
    EXPECT_EQ(package["members"][1]["payload"]["family"], "SIMCAM");
    EXPECT_FALSE(package["members"][0].contains("payload"));
    EXPECT_EQ(package["procedures"], Json::parse(R"([{"id": "p", "steps": [
        {"step": "FeatureAssert", "feature": "F", "pattern": "x|y", "message": "m"},
        {"step": "FileUpload", "fileName": "a.dfw", "transport": "GenICam"},
        {"step": "FeatureWrite", "feature": "F", "value": "v"},
        {"step": "FeatureExecute", "feature": "G"},
        {"step": "DeviceReset"}]}])"));
    EXPECT_EQ(package["updates"], Json::parse(R"([{"procedureId": "p",
        "infos": {"Description": "d", "Version": "2.1"},
        "conditions": [{"feature": "DeviceModelName", "pattern": "M"}]}])"));
}

TEST_F(InfoCommandTest, WritesJsonWhateverBytesAMembersNameHas) {
    mFolder.Write("q.zip", MakeZip({{"Manifest.xml", GoodManifest()}, {"\xFF\x01.dfw", "x"}}));
    EXPECT_EQ(Json::parse(Run({"info", "--json", "@q.zip"}).out)["members"][1]["name"],
              "\xEF\xBF\xBD\x01.dfw");
}

TEST_F(InfoCommandTest, TellsWhatCannotBeShown) {
    mFolder.Write("bad.dfw", "x");
    Expect({"info", "@bad.dfw"}, 1, "",
           "mirsko-package: @bad.dfw is not a firmware payload: it ends after 1 of the 64 bytes of "
           "its header\n");
    Expect({"info", "@none.zip"}, 1, "", "mirsko-package: @none.zip: No such file or directory\n");
    Expect({"info", "--json", "@a.dfw", "extra"}, 2, "",
           "The following argument was not expected: extra\nRun with --help or --help-all for more "
           "information.\n");
}

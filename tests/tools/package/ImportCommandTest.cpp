#include <gmock/gmock.h>

#include "ImportTool.h"
#include "PackageFiles.h"
#include "UpdateFiles.h"

using testing::HasSubstr;
using testing::Not;

using ImportCommandTest = ImportTool;

TEST_F(ImportCommandTest, ConvertsAnUpdateFile) {
    WriteUpdate(ControlFile());
    const std::string control = "mirsko-package: Control.xml: ";
    const std::string step = control + "procedure \"main\", step ";
    ExpectUnsigned(
        {"import", "@u.guf", "@p.zip"}, 0, "@p.zip: 3 members\n",
        step + "1, FeatureAssert: no message; using \"DeviceModelName does not match ^M| N\"\n" +
            control + "<Hint> is ignored\n" + control +
            "ignored, since a manifest has no place for them: DeviceDiscoveryDelayMs, "
            "ExpectedDurationMs, MaximumExecutionTimeoutMs\n" +
            control + "texts in other languages are omitted: de\n" + step +
            "3, FileUpload: the updater always writes the device file \"RemoteUpdateDfw\", not "
            "\"LensFirmware\"\n" +
            step +
            "5, FeatureWrite: the updater refuses this step with code 1540, which ends the "
            "update\n" +
            step +
            "6, FeatureExecute: the updater refuses this step with code 1540, which ends the "
            "update\n" +
            step +
            "7, DeviceReset: the updater refuses this step with code 16, which ends the update; it "
            "resets the device on its own after a TFTP upload\n" +
            control +
            "update 1: the updater returns the model name for every feature, including "
            "\"DeviceVersion\"\n" +
            control + "use --drop-reset to omit the trailing resets\n");
    EXPECT_EQ(Process::Run({"unzip", "-q", Path("p.zip"), "-d", Path("out")}).exitStatus, 0);
    EXPECT_EQ(ReadFile(Path("out/Manifest.xml")),
              R"(<?xml version="1.0" encoding="UTF-8"?>
<FirmwareUpdate SchemaMajorVersion="1" SchemaMinorVersion="0">
  <Procedure Id="main">
    <FeatureAssert>
      <Description>Only M</Description>
      <FeatureName>DeviceModelName</FeatureName>
      <AssertPattern>[\s\S]*(?:^M|\x20\x20N)[\s\S]*</AssertPattern>
      <Message>DeviceModelName does not match ^M| N</Message>
    </FeatureAssert>
    <FileUpload Transport="GenICam">
      <Description>The camera</Description>
      <FileName>camera.dfw</FileName>
      <DeviceFileName>RemoteUpdateDfw</DeviceFileName>
    </FileUpload>
    <FileUpload Transport="GenICam">
      <FileName>lens_camera.dfw</FileName>
      <DeviceFileName>LensFirmware</DeviceFileName>
    </FileUpload>
    <FileUpload Transport="GenICam">
      <FileName>camera.dfw</FileName>
      <DeviceFileName>RemoteUpdateDfw</DeviceFileName>
    </FileUpload>
    <FeatureWrite>
      <FeatureName>F</FeatureName>
      <Value>1</Value>
    </FeatureWrite>
    <FeatureExecute>
      <FeatureName>G</FeatureName>
    </FeatureExecute>
    <DeviceReset/>
  </Procedure>
  <Procedure Id="other">
    <FileUpload Transport="GenICam">
      <FileName>lens_camera.dfw</FileName>
    </FileUpload>
  </Procedure>
  <Update ProcedureId="main">
    <Info Name="Description">New</Info>
    <Info Name="Version">3</Info>
    <Condition Feature="DeviceModelName">[\s\S]*(?:^M\d$)[\s\S]*</Condition>
    <Condition Feature="DeviceVersion">[\s\S]*(?:^2\.)[\s\S]*</Condition>
  </Update>
  <Update ProcedureId="other">
    <Condition Feature="DeviceModelName">[\s\S]*(?:N)[\s\S]*</Condition>
  </Update>
</FirmwareUpdate>
)");
    EXPECT_EQ(ReadFile(Path("out/camera.dfw")), GoodPayload("camera"));
    EXPECT_EQ(ReadFile(Path("out/lens_camera.dfw")), GoodPayload("lens"));
    EXPECT_EQ(Files(), (std::vector<std::string>{"out", "p.zip", "u.guf"}));
}

TEST_F(ImportCommandTest, ReadsAPackageWithoutTheArchiveAroundIt) {
    mFolder.Write("u.guf", MakeZip({{"./Control.xml", GoodControlFile(OneUpload("a.dfw"))},
                                    {"a.dfw", GoodPayload()}}));
    ExpectUnsigned({"import", "@u.guf", "@p.zip"}, 0, "@p.zip: 2 members\n", "");
}

TEST_F(ImportCommandTest, GivesAPackageThatPassesTheCheck) {
    WriteUpdate(GoodControlFile(OneUpload() + "<DeviceReset/>",
                                "<Info><Entry Key=\"Description\">d</Entry><Entry "
                                "Key=\"Version\">3</Entry></Info><Condition "
                                "Feature=\"DeviceModelName\">^ORLA-(25|42)</Condition>"));
    (void)ImportAll({"--drop-reset"});
    Expect({"check", "--model", "ORLA-25M", "@p.zip"}, 0, "@p.zip: no problems found\n", "");
    Expect({"check", "--model", "XORLA-25M", "@p.zip"}, 1,
           "error: XORLA-25M: No update in this package is for XORLA-25M\n", "");
}

TEST_F(ImportCommandTest, UploadsByTheTransportThatIsAskedFor) {
    WriteUpdate(GoodControlFile(OneUpload("lens/camera.dfw")));
    ExpectUnsigned({"import", "--transport", "TFTP", "@u.guf", "@p.zip"}, 0, "@p.zip: 2 members\n",
                   "mirsko-package: files not used by any step are omitted: "
                   "payload/camera.dfw\n");
    EXPECT_THAT(Run({"info", "@p.zip"}).out, HasSubstr("FileUpload of camera.dfw by TFTP"));
    EXPECT_EQ(Run({"import", "--transport", "FTP", "@u.guf", "@p.zip"}).exitStatus, 2);
}

TEST_F(ImportCommandTest, DropsResetsAtTheEndWhenAskedTo) {
    WriteUpdate(GoodControlFile("<DeviceReset/>" + OneUpload() + "<DeviceReset/><DeviceReset/>"));
    const std::string dropped =
        ", DeviceReset: dropped; the updater resets the device on its own after a TFTP upload; "
        "after any other, restart it by hand\n";
    EXPECT_THAT(
        ImportAll({"--drop-reset"}),
        testing::AllOf(HasSubstr("step 3" + dropped), HasSubstr("step 4" + dropped),
                       HasSubstr("step 1, DeviceReset: the updater refuses this step with code 16"),
                       Not(HasSubstr("--drop-reset"))));
    EXPECT_THAT(Run({"info", "@p.zip"}).out,
                HasSubstr("procedure \"p\":\n  1. DeviceReset\n  2. FileUpload of camera.dfw by "
                          "GenICam\nupdate"));
    // It is all that the procedure does.
    WriteUpdate(GoodControlFile("<DeviceReset/>"));
    EXPECT_THAT(ImportAll({"--drop-reset"}), Not(HasSubstr("dropped")));
    EXPECT_THAT(Run({"info", "@p.zip"}).out, HasSubstr("1. DeviceReset"));
}

TEST_F(ImportCommandTest, TakesTheTextsOfTheLanguageThatIsAskedFor) {
    const auto description = [this](const std::string& languages,
                                    const std::vector<std::string>& options) {
        std::string entries;
        std::istringstream names(languages);
        for (std::string name; names >> name;) {
            entries += "<Entry Key=\"Description\"" +
                       (name == "-" ? "" : " Lang=\"" + name + "\"") + ">" + name + "</Entry>";
        }
        WriteUpdate(GoodControlFile(
            "<DeviceReset/>",
            "<Info>" + entries + "</Info><Condition Feature=\"DeviceModelName\">M</Condition>"));
        (void)ImportAll(options);
        const std::string manifest = Manifest();
        const std::size_t begin = manifest.find("Description\">") + 13;
        return manifest.substr(begin, manifest.find('<', begin) - begin);
    };
    EXPECT_EQ(description("de en ja", {}), "en");
    EXPECT_EQ(description("de en-US - ja", {}), "en-US");
    EXPECT_EQ(description("de - ja", {}), "-");
    EXPECT_EQ(description("ja de", {}), "ja");
    EXPECT_EQ(description("en ja de", {"--language", "de"}), "de");
    EXPECT_EQ(description("en de-CH", {"--language", "DE"}), "de-CH");
    EXPECT_EQ(description("ja - en", {"--language", "de"}), "en");
}

TEST_F(ImportCommandTest, SearchesForAPatternAsAnUpdateFileMeansIt) {
    EXPECT_TRUE(Matches("25", "ORLA-25M"));
    EXPECT_FALSE(Matches("^25", "ORLA-25M"));
    EXPECT_FALSE(Matches("25$", "ORLA-25M"));
    EXPECT_TRUE(Matches("^A$|25M$", "ORLA-25M"));
    EXPECT_TRUE(Matches("(O)RL\\_?A", "ORLA-25M"));
    EXPECT_TRUE(Matches("a  b", "xa  by"));
    EXPECT_FALSE(Matches("a  b", "a b"));
    EXPECT_TRUE(Matches(" b", "a b"));
    EXPECT_FALSE(Matches(" b", "ab"));
    EXPECT_TRUE(Matches("a\\ b", "a b"));
    EXPECT_TRUE(Matches("[ x] b", "a  b"));
}

TEST_F(ImportCommandTest, RefusesAPatternThatAManifestWouldReadInAnotherWay) {
    for (const char* const pattern : {"(?i)m", "[[:alpha:]]", "\\AM", "M\\Z", "M++", "(?&lt;=M)N",
                                      "[]M]", "[^]M]", "\\x{4D}", "\\x4"}) {
        WriteUpdate(WithPattern(pattern));
        const ProcessResult result = Run({"import", "@u.guf", "@p.zip"});
        EXPECT_EQ(result.exitStatus, 1) << pattern;
        EXPECT_THAT(result.err, HasSubstr("<Condition>")) << pattern;
    }
}

TEST_F(ImportCommandTest, TakesInfosInEveryForm) {
    WriteUpdate(GoodControlFile(OneUpload(),
                                "<Info Name=\"Version\">1</Info><Info Key=\"Date\">today</Info>"
                                "<Description>d</Description><Info><Title>t</Title></Info>"
                                "<Condition><FeatureName>DeviceModelName</FeatureName>"
                                "<Pattern>x</Pattern></Condition>"));
    (void)ImportAll();
    EXPECT_THAT(Run({"info", "@p.zip"}).out,
                HasSubstr("  Version: 1\n  Date: today\n  Description: d\n  Title: t\n"
                          "  if DeviceModelName matches [\\s\\S]*(?:x)[\\s\\S]*\n"));
}

TEST_F(ImportCommandTest, LeavesOutInfosThatAManifestDoesNotAllow) {
    std::string entries = "<Entry Key=\"no blank\">x</Entry><Entry>x</Entry>";
    for (int number = 0; number < 33; ++number) {
        entries += "<Entry Key=\"K" + std::to_string(number) + "\">x</Entry>";
    }
    WriteUpdate(
        GoodControlFile(OneUpload(), "<Info>" + entries +
                                         "</Info><Info><Entry Key=\"K0\">y</Entry></Info>"
                                         "<Condition Feature=\"DeviceModelName\">x</Condition>"));
    const std::string left = "mirsko-package: Control.xml: update 1: the info \"";
    EXPECT_THAT(ImportAll(),
                HasSubstr(left + "no blank\" is omitted: a manifest does not allow this name\n" +
                          left + "\" is omitted: a manifest does not allow this name\n" + left +
                          "K32\" is omitted: a manifest allows at most 32\n" + left +
                          "K0\" is omitted: duplicate name\n"));
}

TEST_F(ImportCommandTest, CutsTextsThatAManifestDoesNotAllow) {
    const std::string text = std::string(1023, 'x') + "\xC3\xA4 and more \x7F \xC2\x85";
    WriteUpdate(
        GoodControlFile("<DeviceReset><Description>" + text + "</Description></DeviceReset>",
                        "<Description>a\xC2\x80z</Description>"
                        "<Condition Feature=\"DeviceModelName\">x</Condition>"));
    EXPECT_THAT(ImportAll(),
                HasSubstr("procedure \"p\", step 1, DeviceReset: a text is truncated to "
                          "1023 bytes\n"));
    EXPECT_THAT(Manifest(), HasSubstr("<Description>" + std::string(1023, 'x') + "</Description>"));
    EXPECT_THAT(Manifest(), HasSubstr(">a z</Info>"));
}

TEST_F(ImportCommandTest, KeepsTheWhiteSpaceOfAValueOnly) {
    WriteUpdate(
        GoodControlFile("<FeatureWrite><FeatureName> F </FeatureName><Value>  two  words "
                        "</Value></FeatureWrite>"));
    (void)ImportAll();
    EXPECT_THAT(Manifest(), HasSubstr("<FeatureName>F</FeatureName>\n"
                                      "      <Value>  two  words </Value>\n"));
}

TEST_F(ImportCommandTest, GivesFilesNamesThatAManifestAllows) {
    const std::vector<std::string> names = {"x/.hidden", "a..b", "K\xC3\xA4mera.bin",
                                            std::string(200, 'n') + ".bin"};
    std::vector<ZipMember> members = {{"Control.xml", ""}};
    for (const std::string& name : names) {
        members.front().content += OneUpload(name);
        members.push_back({name, "x"});
    }
    members.front().content = GoodControlFile(members.front().content);
    mFolder.Write("u.guf", MakeUpdateFile(MakeZip(members)));
    (void)ImportAll();
    const std::string info = Run({"info", "@p.zip"}).out;
    for (const std::string& name : {std::string("_hidden"), std::string("a_.b"),
                                    std::string("K__mera.bin"), std::string(124, 'n') + ".bin"}) {
        EXPECT_THAT(info, HasSubstr("FileUpload of " + name + " by GenICam\n"));
    }
}

TEST_F(ImportCommandTest, AnUpdateWithoutConditionsIsForEveryModel) {
    WriteUpdate(GoodControlFile(OneUpload(), ""));
    EXPECT_THAT(ImportAll(), HasSubstr("update 1: no condition, so it applies to every model\n"));
    EXPECT_THAT(Run({"check", "--model", "any", "@p.zip"}).out, Not(HasSubstr("No update")));
}

TEST_F(ImportCommandTest, SaysWhenTheSchemaIsAnother) {
    std::string control = GoodControlFile(OneUpload() + OneUpload("lens/camera.dfw"));
    control.replace(control.find("=\"1\""), 4, "=\"2\"");
    control.replace(control.find("Version_1_0"), 11, "Version_2_0");
    WriteUpdate(control);
    ExpectUnsigned({"import", "@u.guf", "@p.zip"}, 0, "@p.zip: 3 members\n",
                   "mirsko-package: Control.xml: the namespace is "
                   "\"http://www.genicam.org/GenFwUpdate/Version_2_0\", not "
                   "\"http://www.genicam.org/GenFwUpdate/Version_1_0\"; reading it anyway\n"
                   "mirsko-package: Control.xml: not schema version 1; reading it anyway\n");
}

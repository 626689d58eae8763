#include <gmock/gmock.h>

#include "PackageFiles.h"
#include "PackageTool.h"
#include "UpdateFiles.h"

using testing::HasSubstr;
using testing::Not;

class ImportCommandTest : public PackageTool {
  protected:
    static std::string ControlFile() {
        return R"(<?xml version="1.0" encoding="UTF-8"?>
<guf:GufRuleSet xmlns:guf="http://www.genicam.org/GenFwUpdate/Version_1_0"
                SchemaMajorVersion="1" SchemaMinorVersion="0" SchemaSubMinorVersion="0">
  <guf:Procedure Id="main">
    <guf:FeatureAssert>
      <guf:Description Lang="en">Only M</guf:Description>
      <guf:FeatureName>DeviceModelName</guf:FeatureName>
      <guf:AssertPattern>^M|  N</guf:AssertPattern>
    </guf:FeatureAssert>
    <guf:FileUpload>
      <guf:Description Lang="de">Die Kamera</guf:Description>
      <guf:Description Lang="en">The camera</guf:Description>
      <guf:ExpectedDurationMs>1000</guf:ExpectedDurationMs>
      <guf:MaximumExecutionTimeoutMs>9000</guf:MaximumExecutionTimeoutMs>
      <guf:FileName>./payload\camera.dfw</guf:FileName>
      <guf:DeviceFileName>RemoteUpdateDfw</guf:DeviceFileName>
    </guf:FileUpload>
    <guf:FileUpload>
      <guf:FileName>lens/camera.dfw</guf:FileName>
      <guf:DeviceFileName>LensFirmware</guf:DeviceFileName>
    </guf:FileUpload>
    <guf:FileUpload>
      <guf:FileName>payload/camera.dfw</guf:FileName>
      <guf:DeviceFileName>RemoteUpdateDfw</guf:DeviceFileName>
    </guf:FileUpload>
    <guf:FeatureWrite>
      <guf:FeatureName>F</guf:FeatureName><guf:Value>1</guf:Value>
    </guf:FeatureWrite>
    <guf:FeatureExecute><guf:FeatureName>G</guf:FeatureName></guf:FeatureExecute>
    <guf:DeviceReset>
      <guf:DeviceDiscoveryDelayMs>500</guf:DeviceDiscoveryDelayMs>
    </guf:DeviceReset>
  </guf:Procedure>
  <guf:Procedure Id="other">
    <guf:ExpectedDurationMs>2000</guf:ExpectedDurationMs>
    <guf:FileUpload><guf:FileName>lens/camera.dfw</guf:FileName></guf:FileUpload>
  </guf:Procedure>
  <guf:Hint>none</guf:Hint>
  <guf:Update ProcedureId="main">
    <guf:Info>
      <guf:Entry Key="Description" Lang="de">Neu</guf:Entry>
      <guf:Entry Key="Description" Lang="en">New</guf:Entry>
      <guf:Entry Key="Version">3</guf:Entry>
    </guf:Info>
    <guf:Condition Feature="DeviceModelName">^M\d$</guf:Condition>
    <guf:Condition Feature="DeviceVersion">^2\.</guf:Condition>
  </guf:Update>
  <guf:Update ProcedureId="other">
    <guf:Condition Feature="DeviceModelName">N</guf:Condition>
  </guf:Update>
</guf:GufRuleSet>
)";
    }

    void WriteUpdate(const std::string& controlFile) const {
        mFolder.Write("u.guf",
                      MakeUpdateFile(MakeZip({{"Control.xml", controlFile, ZipMember::kDeflated},
                                              {"payload/camera.dfw", GoodPayload("camera")},
                                              {"lens/camera.dfw", GoodPayload("lens")}})));
    }

    void ExpectRefused(const std::string& controlFile, const std::string& error) const {
        WriteUpdate(controlFile);
        ExpectUnsigned({"import", "@u.guf", "@p.zip"}, 1, "", "mirsko-package: " + error + "\n");
        EXPECT_FALSE(Exists("p.zip"));
    }

    void ExpectUnsigned(const std::vector<std::string>& arguments, int status,
                        const std::string& out, const std::string& err) const {
        Expect(arguments, status, out, "mirsko-package: @u.guf: not signed\n" + err);
    }

    /// Imports, whatever is said about it, and gives what was said.
    std::string ImportAll(const std::vector<std::string>& options = {}) const {
        std::vector<std::string> arguments = {"import", "@u.guf", "@p.zip"};
        arguments.insert(arguments.begin() + 1, options.begin(), options.end());
        const ProcessResult result = Run(arguments);
        EXPECT_EQ(result.exitStatus, 0) << result.err;
        return result.err;
    }

    [[nodiscard]] std::string Manifest() const {
        return Process::Run({"unzip", "-p", Path("p.zip"), "Manifest.xml"}).out;
    }

    /// A control file whose only condition is this pattern.
    static std::string WithPattern(const std::string& pattern) {
        return GoodControlFile(
            "<DeviceReset/>", "<Condition Feature=\"DeviceModelName\">" + pattern + "</Condition>");
    }

    /// Whether an update is for a model after the import of a pattern.
    [[nodiscard]] bool Matches(const std::string& pattern, const std::string& model) const {
        WriteUpdate(WithPattern(pattern));
        (void)ImportAll();
        return Run({"check", "--model", model, "@p.zip"}).out.find("No update") ==
               std::string::npos;
    }

    static std::string OneUpload(const std::string& name = "payload/camera.dfw") {
        return "<FileUpload><FileName>" + name + "</FileName></FileUpload>";
    }
};

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

TEST_F(ImportCommandTest, RefusesWhatItCannotConvert) {
    ExpectRefused("<GufRuleSet",
                  "Control.xml: line 1: Couldn't find end of Start Tag GufRuleSet line 1");
    // UTF-16 that breaks off in the middle of a character, of which libxml2 would print lines
    // itself.
    std::string utf16 = "\xFF\xFE";
    for (const char character : std::string("<GufRuleSet>")) {
        utf16 += std::string({character, '\0'});
    }
    ExpectRefused(utf16 + std::string("\0\xD8\0\0", 4),
                  "Control.xml: line 1: Premature end of data in tag GufRuleSet line 1");
    ExpectRefused("<Other/>", "Control.xml: the root element is <Other>, not <GufRuleSet>");
    ExpectRefused("<!DOCTYPE GufRuleSet [<!ENTITY a \"b\">]>" + GoodControlFile("<DeviceReset/>"),
                  "Control.xml: document type declarations are not accepted");
    ExpectRefused(GoodControlFile("<Wait>5</Wait>"),
                  "Control.xml: procedure \"p\": unknown step <Wait>");
    ExpectRefused(GoodControlFile("<DeviceReset xmlns=\"urn:other\"/>"),
                  "Control.xml: procedure \"p\": unknown step <{urn:other}DeviceReset>");
    ExpectRefused(
        GoodControlFile("<DeviceReset/>", "<Any><Condition Feature=\"F\">x</Condition></Any>"),
        "Control.xml: update 1: unknown element <Any>");
    ExpectRefused(GoodControlFile("<DeviceReset/>", "<Model>x</Model>"),
                  "Control.xml: update 1: unknown element <Model>");
    ExpectRefused(
        GoodControlFile("<DeviceReset/>", "<Condition Feature=\"F\"><Regex>x</Regex></Condition>"),
        "Control.xml: update 1: unknown part of a condition <Regex>");
    ExpectRefused(GoodControlFile("<DeviceReset/>", "<Condition Feature=\"F\"/>"),
                  "Control.xml: update 1: a condition has no pattern");
    ExpectRefused(GoodControlFile("<FeatureAssert><FeatureName>F</FeatureName></FeatureAssert>"),
                  "Control.xml: procedure \"p\", step 1, FeatureAssert: no pattern");
    ExpectRefused(GoodControlFile(OneUpload("none.dfw")), "@u.guf: contains no file \"none.dfw\"");
    ExpectRefused(GoodControlFile("<FileUpload/>"), "@u.guf: contains no file \"\"");
    EXPECT_FALSE(Exists("p.zip"));
    WriteUpdate(WithPattern("("));
    EXPECT_THAT(Run({"import", "@u.guf", "@p.zip"}).err,
                HasSubstr("the control file does not make a valid manifest: Manifest.xml:7: "
                          "<Condition> is not a valid regular expression: missing closing"));
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

TEST_F(ImportCommandTest, TellsOfDamagedMembers) {
    std::string inner =
        MakeZip({{"Control.xml", GoodControlFile(OneUpload("a.dfw"))}, {"a.dfw", "firmware"}});
    inner.replace(inner.rfind("firmware"), 1, "x");
    mFolder.Write("u.guf", MakeUpdateFile(inner));
    const std::string damaged = "damaged: cannot be unpacked, or fails the length or CRC check\n";
    ExpectUnsigned({"import", "@u.guf", "@p.zip"}, 1, "", "mirsko-package: a.dfw: " + damaged);
    std::string outer = MakeUpdateFile(inner);
    outer.replace(outer.find("xirmware"), 1, "y");
    mFolder.Write("u.guf", outer);
    Expect({"import", "@u.guf", "@p.zip"}, 1, "",
           "mirsko-package: @u.guf: package.zip: " + damaged);
    mFolder.Write("u.guf", MakeUpdateFile("no archive, though long enough to be one"));
    Expect({"import", "@u.guf", "@p.zip"}, 1, "",
           "mirsko-package: @u.guf: package.zip: not a zip archive, or damaged\n");
    EXPECT_FALSE(Exists("p.zip"));
}

TEST_F(ImportCommandTest, RefusesAFileThatIsThereTwice) {
    const ZipMember control = {"Control.xml", GoodControlFile(OneUpload("a.dfw"))};
    const auto refused = [this](const std::string& bytes, const std::string& name) {
        mFolder.Write("u.guf", bytes);
        EXPECT_THAT(Run({"import", "@u.guf", "@p.zip"}).err,
                    HasSubstr("contains \"" + name + "\" more than once\n"));
        EXPECT_FALSE(Exists("p.zip"));
    };
    refused(MakeUpdateFile(MakeZip({control, {"a.dfw", "1"}, {"./a.dfw", "2"}})), "a.dfw");
    refused(MakeUpdateFile(MakeZip({control, control, {"a.dfw", "1"}})), "Control.xml");
    refused(MakeZip({{"package.zip", MakeZip({control})}, {"package.zip", MakeZip({control})}}),
            "package.zip");
    refused(MakeZip({{"package.zip", MakeZip({control})},
                     {"META-INF/signature.p7s", "x"},
                     {"META-INF/signature.p7s", "y"}}),
            "META-INF/signature.p7s");
}

TEST_F(ImportCommandTest, RefusesArchivesThatUnpackToMoreThanAFirmwareHas) {
    mFolder.Write("u.guf", MakeUpdateFile(MakeZip({{"Control.xml", GoodControlFile(OneUpload("a"))},
                                                   MakeBomb("a", 1025)})));
    ExpectUnsigned({"import", "@u.guf", "@p.zip"}, 1, "",
                   "mirsko-package: a: the update file unpacks to more than 1024 MiB\n");
    ZipMember bomb = MakeBomb("Control.xml", 64);
    mFolder.Write("u.guf", MakeUpdateFile(MakeZip({bomb})));
    ExpectUnsigned({"import", "@u.guf", "@p.zip"}, 1, "",
                   "mirsko-package: Control.xml: larger than 1048576 bytes\n");
    mFolder.Write("u.guf", MakeZip({MakeBomb("package.zip", 1025)}));
    Expect({"import", "@u.guf", "@p.zip"}, 1, "",
           "mirsko-package: @u.guf: package.zip: the update file unpacks to more than 1024 MiB\n");
    EXPECT_FALSE(Exists("p.zip"));
}

TEST_F(ImportCommandTest, RefusesAControlFileThatIsNestedWithoutEnd) {
    std::string deep;
    for (int depth = 0; depth < 50'000; ++depth) {
        deep += "<a>";
    }
    WriteUpdate(GoodControlFile(deep));
    const ProcessResult result = Run({"import", "@u.guf", "@p.zip"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.err, HasSubstr("mirsko-package: Control.xml: line 1: "));
}

TEST_F(ImportCommandTest, DoesNotOverwriteTheUpdateFile) {
    const std::string bytes =
        MakeZip({{"Control.xml", GoodControlFile(OneUpload("a"))}, {"a", "x"}});
    mFolder.Write("p.zip", bytes);
    Expect({"import", "@p.zip", "@./p.zip"}, 1, "",
           "mirsko-package: @./p.zip is the update file itself\n");
    EXPECT_EQ(ReadFile(Path("p.zip")), bytes);
}

TEST_F(ImportCommandTest, TellsWhatIsNoUpdateFile) {
    Expect({"import", "@u.guf", "@p.zip"}, 1, "",
           "mirsko-package: @u.guf: No such file or directory\n");
    mFolder.Write("u.guf", MakeZip({}));
    Expect({"import", "@u.guf", "@p.zip"}, 1, "",
           "mirsko-package: @u.guf: contains neither \"package.zip\" nor \"Control.xml\"\n");
    mFolder.Write("u.guf", MakeUpdateFile(MakeZip({{"a", "b"}})));
    ExpectUnsigned({"import", "@u.guf", "@p.zip"}, 1, "",
                   "mirsko-package: @u.guf: contains no file \"Control.xml\"\n");
    EXPECT_EQ(Run({"import", "@u.guf"}).exitStatus, 2);
    EXPECT_EQ(Run({"import", "@u.guf", "@p.guf"}).exitStatus, 2);
}

#include <gmock/gmock.h>

#include "PackageFiles.h"
#include "PackageTool.h"
#include "ZipFile.h"

class ImportCommandTest : public PackageTool {
  protected:
    static std::string ControlFile() {
        return R"(<?xml version="1.0" encoding="UTF-8"?>
<fw:FirmwareUpdate xmlns:fw="urn:any" SchemaMajorVersion="1" SchemaMinorVersion="0"
                   SchemaSubMinorVersion="0">
  <fw:Procedure Id="main">
    <fw:FeatureAssert>
      <fw:FeatureName>DeviceModelName</fw:FeatureName>
      <fw:AssertPattern> M.* </fw:AssertPattern>
    </fw:FeatureAssert>
    <fw:FileUpload>
      <fw:Description>The camera</fw:Description>
      <fw:FileName>./payload\camera.dfw</fw:FileName>
      <fw:DeviceFileName>RemoteUpdateDfw</fw:DeviceFileName>
    </fw:FileUpload>
    <fw:FileUpload><fw:FileName>lens/camera.dfw</fw:FileName></fw:FileUpload>
    <fw:FileUpload><fw:FileName>payload/camera.dfw</fw:FileName></fw:FileUpload>
    <fw:FeatureWrite><fw:FeatureName>F</fw:FeatureName><fw:Value>1</fw:Value></fw:FeatureWrite>
    <fw:FeatureExecute><fw:FeatureName>G</fw:FeatureName></fw:FeatureExecute>
    <fw:DeviceReset/>
  </fw:Procedure>
  <fw:Signature>none</fw:Signature>
  <fw:Update ProcedureId="main">
    <fw:Info><fw:Description>New</fw:Description><fw:Version>3</fw:Version></fw:Info>
    <fw:Condition Feature="DeviceModelName">M</fw:Condition>
  </fw:Update>
</fw:FirmwareUpdate>
)";
    }

    void WriteUpdate(const std::string& controlFile) const {
        ZipFile zip;
        zip.Add("ControlFile.xml", controlFile);
        zip.Add("payload/camera.dfw", GoodPayload("camera"));
        zip.Add("lens/camera.dfw", GoodPayload("lens"));
        mFolder.Write("u.guf", zip.Bytes());
    }

    void ExpectRefused(const std::string& controlFile, const std::string& error) const {
        WriteUpdate(controlFile);
        Expect({"import", "@u.guf", "@p.zip"}, 1, "", "mirsko-package: " + error + "\n");
        EXPECT_FALSE(Exists("p.zip"));
    }

    static std::string Update(
        const std::string& steps,
        const std::string& conditions = "<Condition Feature=\"F\">x</Condition>") {
        return "<FirmwareUpdate SchemaMajorVersion=\"1\"><Procedure Id=\"p\">" + steps +
               "</Procedure><Update ProcedureId=\"p\">" + conditions + "</Update></FirmwareUpdate>";
    }
};

TEST_F(ImportCommandTest, ConvertsAnUpdateFile) {
    WriteUpdate(ControlFile());
    Expect({"import", "@u.guf", "@p.zip"}, 0, "@p.zip: 3 members\n",
           "mirsko-package: ControlFile.xml: procedure \"main\": a FeatureAssert has no message; "
           "\"DeviceModelName does not match M.*\" is taken\n"
           "mirsko-package: ControlFile.xml: <Signature> is left out\n");
    EXPECT_EQ(Process::Run({"unzip", "-q", Path("p.zip"), "-d", Path("out")}).exitStatus, 0);
    EXPECT_EQ(ReadFile(Path("out/Manifest.xml")),
              R"(<?xml version="1.0" encoding="UTF-8"?>
<FirmwareUpdate SchemaMajorVersion="1" SchemaMinorVersion="0">
  <Procedure Id="main">
    <FeatureAssert>
      <FeatureName>DeviceModelName</FeatureName>
      <AssertPattern>M.*</AssertPattern>
      <Message>DeviceModelName does not match M.*</Message>
    </FeatureAssert>
    <FileUpload Transport="GenICam">
      <Description>The camera</Description>
      <FileName>camera.dfw</FileName>
      <DeviceFileName>RemoteUpdateDfw</DeviceFileName>
    </FileUpload>
    <FileUpload Transport="GenICam">
      <FileName>lens_camera.dfw</FileName>
    </FileUpload>
    <FileUpload Transport="GenICam">
      <FileName>camera.dfw</FileName>
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
  <Update ProcedureId="main">
    <Info Name="Description">New</Info>
    <Info Name="Version">3</Info>
    <Condition Feature="DeviceModelName">M</Condition>
  </Update>
</FirmwareUpdate>
)");
    EXPECT_EQ(ReadFile(Path("out/camera.dfw")), GoodPayload("camera"));
    EXPECT_EQ(ReadFile(Path("out/lens_camera.dfw")), GoodPayload("lens"));
    EXPECT_EQ(Files(), (std::vector<std::string>{"out", "p.zip", "u.guf"}));
}

TEST_F(ImportCommandTest, UploadsByTheTransportThatIsAskedFor) {
    WriteUpdate(Update("<FileUpload><FileName>lens/camera.dfw</FileName></FileUpload>"));
    Expect({"import", "--transport", "TFTP", "@u.guf", "@p.zip"}, 0, "@p.zip: 2 members\n", "");
    EXPECT_NE(Run({"info", "@p.zip"}).out.find("FileUpload of camera.dfw by TFTP"),
              std::string::npos);
    EXPECT_EQ(Run({"import", "--transport", "FTP", "@u.guf", "@p.zip"}).exitStatus, 2);
}

TEST_F(ImportCommandTest, TakesInfosInEveryForm) {
    WriteUpdate(Update("<DeviceReset/>",
                       "<Info Name=\"Version\">1</Info><Info Key=\"Date\">today</Info>"
                       "<Description>d</Description><Condition><FeatureName>F</FeatureName>"
                       "<Pattern>x</Pattern></Condition>"));
    Expect({"import", "@u.guf", "@p.zip"}, 0, "@p.zip: 1 members\n", "");
    const std::string info = Run({"info", "@p.zip"}).out;
    EXPECT_NE(info.find("  Version: 1\n  Date: today\n  Description: d\n  if F matches x\n"),
              std::string::npos)
        << info;
}

TEST_F(ImportCommandTest, KeepsTheWhiteSpaceOfAValueOnly) {
    WriteUpdate(
        Update("<FeatureWrite><FeatureName> F </FeatureName><Value>  two  words </Value>"
               "</FeatureWrite>"));
    Expect({"import", "@u.guf", "@p.zip"}, 0, "@p.zip: 1 members\n", "");
    EXPECT_THAT(Process::Run({"unzip", "-p", Path("p.zip"), "Manifest.xml"}).out,
                testing::HasSubstr("<FeatureName>F</FeatureName>\n"
                                   "      <Value>  two  words </Value>\n"));
}

TEST_F(ImportCommandTest, RefusesWhatItCannotConvert) {
    ExpectRefused("<FirmwareUpdate", "ControlFile.xml: Error parsing start element tag at byte 14");
    ExpectRefused("<Other/>", "ControlFile.xml: it describes no firmware update");
    ExpectRefused(Update("<Wait>5</Wait>"),
                  "ControlFile.xml: procedure \"p\": the step <Wait> is not known");
    ExpectRefused(Update("<DeviceReset/>", "<Any><Condition Feature=\"F\">x</Condition></Any>"),
                  "ControlFile.xml: update 1: the element <Any> is not known");
    ExpectRefused(Update("<FileUpload><FileName>none.dfw</FileName></FileUpload>"),
                  "@u.guf: it holds no file \"none.dfw\"");
    ExpectRefused(Update("<FileUpload/>"), "@u.guf: it holds no file \"\"");
    ExpectRefused(Update("<DeviceReset/>", "<Condition Feature=\"F\">(</Condition>"),
                  "the control file makes no good manifest: Manifest.xml:7:5: <Condition> is no "
                  "regular expression: a group is not closed (character 2)");
}

TEST_F(ImportCommandTest, SaysWhenTheSchemaVersionIsAnother) {
    std::string control = Update("<DeviceReset/>");
    control.replace(control.find("=\"1\""), 4, "=\"2\"");
    WriteUpdate(control);
    Expect({"import", "@u.guf", "@p.zip"}, 0, "@p.zip: 1 members\n",
           "mirsko-package: ControlFile.xml: it is not of schema version 1; it is read as if it "
           "were\n");
}

TEST_F(ImportCommandTest, TellsOfDamagedMembers) {
    ZipFile zip;
    zip.Add("ControlFile.xml", Update("<FileUpload><FileName>a.dfw</FileName></FileUpload>"));
    zip.Add("a.dfw", "firmware");
    std::string bytes = zip.Bytes();
    bytes.replace(bytes.rfind("firmware"), 1, "x");
    mFolder.Write("u.guf", bytes);
    Expect({"import", "@u.guf", "@p.zip"}, 1, "",
           "mirsko-package: a.dfw: damaged: its data cannot be unpacked, or fails the length or "
           "CRC check\n");
    EXPECT_FALSE(Exists("p.zip"));
}

TEST_F(ImportCommandTest, TellsWhatIsNoUpdateFile) {
    Expect({"import", "@u.guf", "@p.zip"}, 1, "",
           "mirsko-package: @u.guf: No such file or directory\n");
    mFolder.Write("u.guf", ZipFile().Bytes());
    Expect({"import", "@u.guf", "@p.zip"}, 1, "",
           "mirsko-package: @u.guf: it holds no \"ControlFile.xml\"\n");
    EXPECT_EQ(Run({"import", "@u.guf"}).exitStatus, 2);
    EXPECT_EQ(Run({"import", "@u.guf", "@p.guf"}).exitStatus, 2);
}

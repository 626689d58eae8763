#include "ImportTool.h"

#include "PackageFiles.h"
#include "UpdateFiles.h"

std::string ImportTool::ControlFile() {
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

std::string ImportTool::WithPattern(const std::string& pattern) {
    return GoodControlFile("<DeviceReset/>",
                           "<Condition Feature=\"DeviceModelName\">" + pattern + "</Condition>");
}

std::string ImportTool::OneUpload(const std::string& name) {
    return "<FileUpload><FileName>" + name + "</FileName></FileUpload>";
}

void ImportTool::WriteUpdate(const std::string& controlFile) const {
    mFolder.Write("u.guf",
                  MakeUpdateFile(MakeZip({{"Control.xml", controlFile, ZipMember::kDeflated},
                                          {"payload/camera.dfw", GoodPayload("camera")},
                                          {"lens/camera.dfw", GoodPayload("lens")}})));
}

void ImportTool::ExpectRefused(const std::string& controlFile, const std::string& error) const {
    WriteUpdate(controlFile);
    ExpectUnsigned({"import", "@u.guf", "@p.zip"}, 1, "", "mirsko-package: " + error + "\n");
    EXPECT_FALSE(Exists("p.zip"));
}

void ImportTool::ExpectUnsigned(const std::vector<std::string>& arguments, int status,
                                const std::string& out, const std::string& err) const {
    Expect(arguments, status, out, "mirsko-package: @u.guf: not signed\n" + err);
}

std::string ImportTool::ImportAll(const std::vector<std::string>& options) const {
    std::vector<std::string> arguments = {"import", "@u.guf", "@p.zip"};
    arguments.insert(arguments.begin() + 1, options.begin(), options.end());
    const ProcessResult result = Run(arguments);
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    return result.err;
}

std::string ImportTool::Manifest() const {
    return Process::Run({"unzip", "-p", Path("p.zip"), "Manifest.xml"}).out;
}

bool ImportTool::Matches(const std::string& pattern, const std::string& model) const {
    WriteUpdate(WithPattern(pattern));
    (void)ImportAll();
    return Run({"check", "--model", model, "@p.zip"}).out.find("No update") == std::string::npos;
}

#include "ManifestBuilder.h"

std::string Upload(const std::string& file, const std::string& transport) {
    return "<FileUpload Transport=\"" + transport + "\"><FileName>" + file +
           "</FileName></FileUpload>";
}

std::string MakeManifest(const std::string& steps, const FeaturePattern& condition) {
    return R"(<FirmwareUpdate SchemaMajorVersion="1" SchemaMinorVersion="0"><Procedure Id="p">)" +
           steps +
           R"(</Procedure><Update ProcedureId="p"><Info Name="Description">d</Info>)"
           R"(<Info Name="Version">2.1</Info><Condition Feature=")" +
           condition.feature + "\">" + condition.pattern + "</Condition></Update></FirmwareUpdate>";
}

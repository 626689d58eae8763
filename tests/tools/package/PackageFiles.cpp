#include "PackageFiles.h"

#include <gtest/gtest.h>

#include <NxDevice/NxDfwPayload.h>

#include "TemporaryFolder.h"

std::string GoodPayload(const std::string& body, const std::string& family) {
    const TemporaryFolder folder;
    const std::string path = (folder.Path() / "payload").string();
    EXPECT_TRUE(NxDfwPayload::Create(folder.Write("body", body), family, 2, 1, path).IsOK());
    return ReadFile(path);
}

std::string GoodManifest(const std::string& steps) {
    return "<FirmwareUpdate SchemaMajorVersion=\"1\" SchemaMinorVersion=\"0\">\n<Procedure "
           "Id=\"p\">\n" +
           (steps.empty() ? Upload("a.dfw") : steps) +
           "</Procedure>\n"
           "<Update ProcedureId=\"p\"><Info Name=\"Description\">d</Info>"
           "<Info Name=\"Version\">2.1</Info>"
           "<Condition Feature=\"DeviceModelName\">M</Condition></Update>\n"
           "</FirmwareUpdate>\n";
}

std::string Upload(const std::string& fileName, const std::string& transport) {
    return "<FileUpload Transport=\"" + transport + "\"><FileName>" + fileName +
           "</FileName></FileUpload>\n";
}

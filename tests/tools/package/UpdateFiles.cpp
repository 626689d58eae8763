#include "UpdateFiles.h"

std::string MakeUpdateFile(const std::string& package, const std::string& signature) {
    std::vector<ZipMember> members = {{"package.zip", package}};
    if (!signature.empty()) {
        members.push_back({"META-INF/signature.p7s", signature});
    }
    return MakeZip(members);
}

std::string GoodControlFile(const std::string& steps, const std::string& update) {
    return "<GufRuleSet xmlns=\"http://www.genicam.org/GenFwUpdate/Version_1_0\" "
           "SchemaMajorVersion=\"1\" SchemaMinorVersion=\"0\" SchemaSubMinorVersion=\"0\">"
           "<Procedure Id=\"p\">" +
           steps + "</Procedure><Update ProcedureId=\"p\">" + update + "</Update></GufRuleSet>";
}

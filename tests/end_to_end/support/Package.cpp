#include "Package.h"

#include <filesystem>

std::string Upload(const std::string& file, const std::string& transport) {
    return "<FileUpload Transport=\"" + transport + "\"><FileName>" + file +
           "</FileName></FileUpload>";
}

std::string Manifest(const std::string& steps, const FeaturePattern& condition) {
    return R"(<FirmwareUpdate SchemaMajorVersion="1" SchemaMinorVersion="0"><Procedure Id="p">)" +
           steps +
           R"(</Procedure><Update ProcedureId="p"><Info Name="Description">d</Info>)"
           R"(<Info Name="Version">2.1</Info><Condition Feature=")" +
           condition.feature + "\">" + condition.pattern + "</Condition></Update></FirmwareUpdate>";
}

std::multimap<std::string, std::uintmax_t> UnpackedFiles() {
    constexpr std::size_t kRandomEnd = 7;  // "-" and six characters
    std::multimap<std::string, std::uintmax_t> found;
    for (const auto& entry : std::filesystem::directory_iterator("/tmp")) {
        const std::string name = entry.path().filename().string();
        if (entry.is_regular_file() && name.size() > kRandomEnd) {
            found.emplace(name.substr(0, name.size() - kRandomEnd), entry.file_size());
        }
    }
    return found;
}

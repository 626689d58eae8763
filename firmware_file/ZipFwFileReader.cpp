#include "ZipFwFileReader.h"

#include <optional>

#include "PackageArchive.h"

ZipFwFileReader::ZipFwFileReader(const std::string& aAuxiliary, const std::string& aFilePath)
    : NxFwFileReader(aAuxiliary, aFilePath) {}

ZipFwFileReader::~ZipFwFileReader() {
    for (const std::string& path : mTempFiles) {
        DeleteTempFile(NyString(path.c_str()));
    }
}

std::string ZipFwFileReader::ExtractFile(const std::string& aName) {
    const PackageArchive archive(GetFilePath());
    const std::optional<std::size_t> member = archive.Find(aName);
    if (!member) {
        return {};
    }
    // From the name asked for, not from the stored one, which may be longer.
    const std::string tag = aName.substr(aName.rfind('.') + 1);
    std::string path = CreateTempFile(NyString(tag.c_str())).GetAscii();
    if (!archive.Extract(*member, path)) {
        // The file stays in /tmp on purpose, after the end of this reader too.
        return {};
    }
    mTempFiles.push_back(path);
    return path;
}

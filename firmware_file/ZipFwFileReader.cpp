#include "ZipFwFileReader.h"

#include <optional>

#include <miniz.h>

namespace {

/// An archive open for reading, closed with this object.
class OpenArchive {
  public:
    explicit OpenArchive(const std::string& path)
        : mIsOpen(mz_zip_reader_init_file(&mArchive, path.c_str(), 0) != 0) {}
    ~OpenArchive() {
        if (mIsOpen) {
            (void)mz_zip_reader_end(&mArchive);
        }
    }
    OpenArchive(const OpenArchive&) = delete;
    OpenArchive& operator=(const OpenArchive&) = delete;

    [[nodiscard]] bool IsOpen() const { return mIsOpen; }

    std::optional<mz_uint> Find(const std::string& name) {
        const mz_uint count = mz_zip_reader_get_num_files(&mArchive);
        mz_zip_archive_file_stat member = {};
        // Member 0 must be readable on purpose, even when another one is asked for.
        if (count == 0 || mz_zip_reader_file_stat(&mArchive, 0, &member) == 0) {
            return std::nullopt;
        }
        for (mz_uint i = 0; i < count; ++i) {
            // A part of the stored name is enough on purpose, so a member in a folder is found by
            // its bare name.
            if (mz_zip_reader_file_stat(&mArchive, i, &member) != 0 &&
                std::string(member.m_filename).find(name) != std::string::npos) {
                return i;
            }
        }
        return std::nullopt;
    }

    [[nodiscard]] bool Extract(mz_uint index, const std::string& destination) {
        return mz_zip_reader_extract_to_file(&mArchive, index, destination.c_str(), 0) != 0;
    }

  private:
    mz_zip_archive mArchive = {};
    bool mIsOpen;
};

}  // namespace

ZipFwFileReader::ZipFwFileReader(const std::string& aAuxiliary, const std::string& aFilePath)
    : NxFwFileReader(aAuxiliary, aFilePath) {}

ZipFwFileReader::~ZipFwFileReader() {
    for (const std::string& path : mTempFiles) {
        DeleteTempFile(NyString(path.c_str()));
    }
}

std::string ZipFwFileReader::ExtractFile(const std::string& aName) {
    OpenArchive archive(GetFilePath());
    if (!archive.IsOpen()) {
        return {};
    }
    const std::optional<mz_uint> member = archive.Find(aName);
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

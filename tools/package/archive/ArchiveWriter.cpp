#include "ArchiveWriter.h"

#include <algorithm>
#include <memory>

#include <zip.h>

namespace {

struct Discarder {
    void operator()(zip_t* archive) const { zip_discard(archive); }
};

// The first moment that a zip archive can hold: 1980-01-01 00:00:00.
constexpr zip_uint16_t kFirstTime = 0;
constexpr zip_uint16_t kFirstDate = 1U << 5U | 1U;

}  // namespace

void ArchiveWriter::AddText(const std::string& name, const std::string& text) {
    mMembers.push_back({name, text, ""});
}

void ArchiveWriter::AddFile(const std::string& name, const std::string& path) {
    mMembers.push_back({name, "", path});
}

std::string ArchiveWriter::Write(const std::string& path) {
    std::stable_sort(mMembers.begin(), mMembers.end(), [](const Member& one, const Member& two) {
        return one.name.size() < two.name.size();
    });
    int code = 0;
    std::unique_ptr<zip_t, Discarder> archive(
        zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &code));
    if (!archive) {
        zip_error_t error;
        zip_error_init_with_code(&error, code);
        const std::string text = zip_error_strerror(&error);
        zip_error_fini(&error);
        return path + ": " + text;
    }
    for (const Member& member : mMembers) {
        zip_source_t* const source =
            member.file.empty()
                ? zip_source_buffer(archive.get(), member.text.data(), member.text.size(), 0)
                : zip_source_file(archive.get(), member.file.c_str(), 0, -1);
        const zip_int64_t index =
            source == nullptr
                ? -1
                : zip_file_add(archive.get(), member.name.c_str(), source, ZIP_FL_ENC_UTF_8);
        if (index < 0) {
            const std::string error = member.name + ": " + zip_strerror(archive.get());
            zip_source_free(source);
            return error;
        }
        const auto added = static_cast<zip_uint64_t>(index);
        if (zip_set_file_compression(archive.get(), added, ZIP_CM_DEFLATE, 9) != 0 ||
            zip_file_set_dostime(archive.get(), added, kFirstTime, kFirstDate, 0) != 0 ||
            zip_file_set_external_attributes(archive.get(), added, 0, ZIP_OPSYS_UNIX,
                                             0100644U << 16U) != 0) {
            return member.name + ": " + zip_strerror(archive.get());
        }
    }
    if (zip_close(archive.get()) != 0) {
        return path + ": " + zip_strerror(archive.get());
    }
    (void)archive.release();
    return {};
}

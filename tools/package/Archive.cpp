#include "Archive.h"

#include <array>
#include <cstring>
#include <fstream>

#include <zip.h>

namespace {

struct Closer {
    void operator()(zip_t* archive) const { zip_discard(archive); }
    void operator()(zip_file_t* file) const { (void)zip_fclose(file); }
};

std::string DescribeError(int code) {
    zip_error_t error;
    zip_error_init_with_code(&error, code);
    std::string text = zip_error_strerror(&error);
    zip_error_fini(&error);
    return text;
}

}  // namespace

class Archive::Impl {
  public:
    std::unique_ptr<zip_t, Closer> zip;
};

Archive::Archive() : mImpl(std::make_unique<Impl>()) {}

Archive::~Archive() = default;

std::string Archive::Open(const std::string& path) {
    int code = 0;
    mImpl->zip.reset(zip_open(path.c_str(), ZIP_RDONLY, &code));
    mMembers.clear();
    if (!mImpl->zip) {
        return DescribeError(code);
    }
    const auto count = static_cast<zip_uint64_t>(zip_get_num_entries(mImpl->zip.get(), 0));
    for (zip_uint64_t index = 0; index < count; ++index) {
        zip_stat_t stat;
        if (zip_stat_index(mImpl->zip.get(), index, ZIP_FL_ENC_RAW, &stat) != 0 ||
            (stat.valid & ZIP_STAT_NAME) == 0) {
            return "member " + std::to_string(index) + " cannot be read";
        }
        const bool readable =
            stat.encryption_method == ZIP_EM_NONE &&
            (stat.comp_method == ZIP_CM_STORE || stat.comp_method == ZIP_CM_DEFLATE);
        mMembers.push_back({stat.name, stat.size, stat.comp_size, readable});
    }
    return {};
}

std::optional<std::size_t> Archive::FindAsUpdater(const std::string& name) const {
    for (std::size_t index = 0; index < mMembers.size(); ++index) {
        if (mMembers[index].name.find(name) != std::string::npos) {
            return index;
        }
    }
    return std::nullopt;
}

std::string Archive::Read(std::size_t member, const Take& take) const {
    const std::string name = mMembers.at(member).name;
    if (!name.empty() && name.back() == '/') {
        return "it is a folder";
    }
    if (!mMembers[member].isReadable) {
        return "it is encrypted, or compressed by another method than deflate";
    }
    const std::unique_ptr<zip_file_t, Closer> file(zip_fopen_index(mImpl->zip.get(), member, 0));
    if (!file) {
        return zip_strerror(mImpl->zip.get());
    }
    std::array<char, 65536> buffer{};
    for (;;) {
        const zip_int64_t count = zip_fread(file.get(), buffer.data(), buffer.size());
        if (count < 0) {
            return zip_file_strerror(file.get());
        }
        if (count == 0) {
            return {};
        }
        const std::string error = take(buffer.data(), static_cast<std::size_t>(count));
        if (!error.empty()) {
            return error;
        }
    }
}

std::string Archive::ReadText(std::size_t member, std::size_t longest, std::string& text) const {
    text.clear();
    return Read(member, [&text, longest](const char* bytes, std::size_t count) {
        text.append(bytes, count);
        return text.size() > longest ? "it is larger than " + std::to_string(longest) + " bytes"
                                     : std::string();
    });
}

std::string Archive::Extract(std::size_t member, const std::string& path) const {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    const auto write = [&file](const char* bytes, std::size_t count) {
        file.write(bytes, static_cast<std::streamsize>(count));
        return file ? std::string() : std::strerror(errno);
    };
    if (!file) {
        return std::strerror(errno);
    }
    const std::string error = Read(member, write);
    if (!error.empty()) {
        return error;
    }
    file.close();
    return file ? std::string() : std::strerror(errno);
}

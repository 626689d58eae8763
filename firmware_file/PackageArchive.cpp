#include "PackageArchive.h"

#include <miniz.h>

class PackageArchive::Impl {
  public:
    mz_zip_archive archive = {};
    bool isOpen = false;
};

PackageArchive::PackageArchive(const std::string& path) : mImpl(std::make_unique<Impl>()) {
    mImpl->isOpen = mz_zip_reader_init_file(&mImpl->archive, path.c_str(), 0) != 0;
}

PackageArchive::~PackageArchive() {
    if (mImpl->isOpen) {
        (void)mz_zip_reader_end(&mImpl->archive);
    }
}

bool PackageArchive::IsOpen() const {
    return mImpl->isOpen;
}

std::size_t PackageArchive::Count() const {
    return mImpl->isOpen ? mz_zip_reader_get_num_files(&mImpl->archive) : 0;
}

std::optional<PackageArchive::Member> PackageArchive::At(std::size_t index) const {
    mz_zip_archive_file_stat stat = {};
    if (index >= Count() ||
        mz_zip_reader_file_stat(&mImpl->archive, static_cast<mz_uint>(index), &stat) == 0) {
        return std::nullopt;
    }
    return Member{stat.m_filename, stat.m_uncomp_size, stat.m_comp_size, stat.m_is_directory != 0,
                  stat.m_is_supported != 0};
}

std::optional<std::size_t> PackageArchive::Find(const std::string& name) const {
    // Member 0 must be readable on purpose, even when another one is asked for.
    if (!At(0)) {
        return std::nullopt;
    }
    for (std::size_t index = 0; index < Count(); ++index) {
        // A part of the stored name is enough on purpose, so a member in a folder is found by its
        // bare name.
        const auto member = At(index);
        if (member && member->name.find(name) != std::string::npos) {
            return index;
        }
    }
    return std::nullopt;
}

bool PackageArchive::Extract(std::size_t index, const std::string& destination) const {
    return index < Count() &&
           mz_zip_reader_extract_to_file(&mImpl->archive, static_cast<mz_uint>(index),
                                         destination.c_str(), 0) != 0;
}

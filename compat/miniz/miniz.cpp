#include "miniz.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <zip.h>

namespace {

// An end-of-central-directory record without anything else (PKWARE APPNOTE 6.3, section 4.3.16).
constexpr off_t kSmallestArchive = 22;
constexpr std::size_t kChunkSize = 256UL * 1024;
constexpr zip_uint32_t kDosDirectory = 0x10;

zip_t* Handle(const mz_zip_archive* archive) {
    return archive != nullptr ? static_cast<zip_t*>(archive->m_pState) : nullptr;
}

bool IsDirectory(zip_t* zip, mz_uint index, const char* name) {
    const std::size_t length = std::strlen(name);
    if (length > 0 && name[length - 1] == '/') {
        return true;
    }
    zip_uint8_t system = 0;
    zip_uint32_t attributes = 0;
    return zip_file_get_external_attributes(zip, index, ZIP_FL_UNCHANGED, &system, &attributes) ==
               0 &&
           (attributes & kDosDirectory) != 0;
}

bool WriteAll(int descriptor, const char* data, std::size_t length) {
    while (length > 0) {
        const ssize_t written = write(descriptor, data, length);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        data += written;
        length -= static_cast<std::size_t>(written);
    }
    return true;
}

// libzip checks the CRC when the last byte is read.
bool CopyMember(zip_file_t* member, mz_uint64 size, int descriptor) {
    std::vector<char> chunk(kChunkSize);
    mz_uint64 copied = 0;
    for (;;) {
        const zip_int64_t count = zip_fread(member, chunk.data(), chunk.size());
        if (count <= 0) {
            return count == 0 && copied == size;
        }
        // A member that unpacks to more than it declares must not fill the disk.
        const mz_uint64 wanted = std::min<mz_uint64>(static_cast<mz_uint64>(count), size - copied);
        if (!WriteAll(descriptor, chunk.data(), wanted)) {
            return false;
        }
        copied += wanted;
        if (wanted < static_cast<mz_uint64>(count)) {
            return false;
        }
    }
}

}  // namespace

mz_bool mz_zip_reader_init_file(mz_zip_archive* archive, const char* path, mz_uint32 flags) {
    struct stat file = {};
    // libzip takes an empty file for an empty archive.
    if (archive == nullptr || path == nullptr || flags != 0 || stat(path, &file) != 0 ||
        !S_ISREG(file.st_mode) || file.st_size < kSmallestArchive) {
        return MZ_FALSE;
    }
    archive->m_pState = zip_open(path, ZIP_RDONLY, nullptr);
    return archive->m_pState != nullptr ? MZ_TRUE : MZ_FALSE;
}

mz_uint mz_zip_reader_get_num_files(mz_zip_archive* archive) {
    zip_t* const zip = Handle(archive);
    return zip != nullptr ? static_cast<mz_uint>(zip_get_num_entries(zip, ZIP_FL_UNCHANGED)) : 0;
}

mz_bool mz_zip_reader_file_stat(mz_zip_archive* archive, mz_uint index,
                                mz_zip_archive_file_stat* stat) {
    zip_t* const zip = Handle(archive);
    zip_stat_t entry = {};
    if (zip == nullptr || stat == nullptr ||
        zip_stat_index(zip, index, ZIP_FL_UNCHANGED | ZIP_FL_ENC_RAW, &entry) != 0) {
        return MZ_FALSE;
    }
    constexpr zip_uint64_t kNeeded = ZIP_STAT_NAME | ZIP_STAT_SIZE | ZIP_STAT_COMP_SIZE |
                                     ZIP_STAT_COMP_METHOD | ZIP_STAT_ENCRYPTION_METHOD |
                                     ZIP_STAT_CRC;
    if ((entry.valid & kNeeded) != kNeeded) {
        return MZ_FALSE;
    }
    *stat = {};
    stat->m_file_index = index;
    stat->m_crc32 = entry.crc;
    stat->m_comp_size = entry.comp_size;
    stat->m_uncomp_size = entry.size;
    stat->m_is_directory = IsDirectory(zip, index, entry.name) ? MZ_TRUE : MZ_FALSE;
    stat->m_is_encrypted = entry.encryption_method != ZIP_EM_NONE ? MZ_TRUE : MZ_FALSE;
    const bool readable = entry.comp_method == ZIP_CM_STORE || entry.comp_method == ZIP_CM_DEFLATE;
    stat->m_is_supported = readable && stat->m_is_encrypted == MZ_FALSE ? MZ_TRUE : MZ_FALSE;
    std::strncpy(stat->m_filename, entry.name, sizeof stat->m_filename - 1);
    return MZ_TRUE;
}

mz_bool mz_zip_reader_extract_to_file(mz_zip_archive* archive, mz_uint index,
                                      const char* destination, mz_uint flags) {
    mz_zip_archive_file_stat stat;
    if (destination == nullptr || flags != 0 ||
        mz_zip_reader_file_stat(archive, index, &stat) == MZ_FALSE ||
        stat.m_is_directory != MZ_FALSE || stat.m_is_supported == MZ_FALSE) {
        return MZ_FALSE;
    }
    const std::unique_ptr<zip_file_t, int (*)(zip_file_t*)> member(
        zip_fopen_index(Handle(archive), index, ZIP_FL_UNCHANGED), zip_fclose);
    if (member == nullptr) {
        return MZ_FALSE;
    }
    const int descriptor = open(destination, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (descriptor < 0) {
        return MZ_FALSE;
    }
    const bool copied = CopyMember(member.get(), stat.m_uncomp_size, descriptor);
    const bool closed = close(descriptor) == 0;
    return copied && closed ? MZ_TRUE : MZ_FALSE;
}

mz_bool mz_zip_reader_end(mz_zip_archive* archive) {
    zip_t* const zip = Handle(archive);
    if (zip == nullptr) {
        return MZ_FALSE;
    }
    // Nothing was changed, so nothing is written: discarding it is closing it.
    zip_discard(zip);
    archive->m_pState = nullptr;
    return MZ_TRUE;
}

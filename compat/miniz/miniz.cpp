#include "miniz.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <zlib.h>

#include "ZipBytes.h"
#include "ZipDirectory.h"

namespace {

constexpr std::size_t kChunkSize = 256UL * 1024;
constexpr std::uint32_t kLocalSignature = 0x04034b50;
constexpr std::uint32_t kDosDirectory = 0x10;
constexpr std::uint16_t kStored = 0;
constexpr std::uint16_t kDeflated = 8;
constexpr std::uint16_t kEncrypted = 1U << 0U | 1U << 6U;
constexpr std::uint16_t kPatch = 1U << 5U;

class Descriptor {
  public:
    explicit Descriptor(int number) : mNumber(number) {}
    ~Descriptor() { (void)Close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    [[nodiscard]] int Number() const { return mNumber; }
    bool Close() {
        const int number = mNumber;
        mNumber = -1;
        return number >= 0 && close(number) == 0;
    }

  private:
    int mNumber;
};

struct OpenFile {
    explicit OpenFile(int number) : descriptor(number) {}

    Descriptor descriptor;
    std::uint64_t size = 0;
    ZipDirectory directory;
};

const OpenFile* Handle(const mz_zip_archive* archive) {
    return archive != nullptr ? static_cast<const OpenFile*>(archive->m_pState) : nullptr;
}

/// Writes a member's bytes to a file and adds up what is to be compared with the directory.
class Sink {
  public:
    Sink(int descriptor, std::uint64_t size) : mDescriptor(descriptor), mLeft(size) {}

    /// @return false when writing fails, and at more bytes than the directory announces: a member
    ///         must not fill the disk. What still belongs to it is written then.
    [[nodiscard]] bool Take(const unsigned char* bytes, std::size_t count) {
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(count, mLeft));
        mCrc = crc32_z(mCrc, bytes, wanted);
        mLeft -= wanted;
        return WriteAll(bytes, wanted) && wanted == count;
    }
    [[nodiscard]] bool IsWhole(std::uint32_t crc) const { return mLeft == 0 && mCrc == crc; }

  private:
    [[nodiscard]] bool WriteAll(const unsigned char* bytes, std::size_t count) const {
        while (count > 0) {
            const ssize_t written = write(mDescriptor, bytes, count);
            if (written < 0 && errno == EINTR) {
                continue;
            }
            if (written <= 0) {
                return false;
            }
            bytes += written;
            count -= static_cast<std::size_t>(written);
        }
        return true;
    }

    int mDescriptor;
    std::uint64_t mLeft;
    uLong mCrc = 0;
};

/// A member's bytes as stored in the archive.
class Source {
  public:
    Source(const OpenFile& file, std::uint64_t offset, std::uint64_t size)
        : mFile(file), mOffset(offset), mLeft(size) {}

    /// @return false when reading fails; true without bytes at the member's end
    [[nodiscard]] bool Read(std::vector<unsigned char>& chunk) {
        chunk.resize(static_cast<std::size_t>(std::min<std::uint64_t>(kChunkSize, mLeft)));
        if (!ReadAt(mFile.descriptor.Number(), mOffset, chunk.data(), chunk.size())) {
            return false;
        }
        mOffset += chunk.size();
        mLeft -= chunk.size();
        return true;
    }

  private:
    const OpenFile& mFile;
    std::uint64_t mOffset;
    std::uint64_t mLeft;
};

bool CopyStored(Source source, Sink& sink) {
    std::vector<unsigned char> chunk;
    chunk.reserve(kChunkSize);
    while (source.Read(chunk)) {
        if (chunk.empty()) {
            return true;
        }
        if (!sink.Take(chunk.data(), chunk.size())) {
            return false;
        }
    }
    return false;
}

bool Inflate(z_stream& stream, Source& source, Sink& sink) {
    std::vector<unsigned char> in;
    std::vector<unsigned char> out(kChunkSize);
    in.reserve(kChunkSize);
    for (;;) {
        if (stream.avail_in == 0) {
            if (!source.Read(in) || in.empty()) {
                return false;
            }
            stream.next_in = in.data();
            stream.avail_in = static_cast<uInt>(in.size());
        }
        do {
            stream.next_out = out.data();
            stream.avail_out = static_cast<uInt>(out.size());
            const int status = inflate(&stream, Z_NO_FLUSH);
            if ((status != Z_OK && status != Z_STREAM_END && status != Z_BUF_ERROR) ||
                !sink.Take(out.data(), out.size() - stream.avail_out)) {
                return false;
            }
            if (status == Z_STREAM_END) {
                return true;
            }
        } while (stream.avail_out == 0);
    }
}

bool CopyDeflated(Source source, Sink& sink) {
    z_stream stream = {};
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK) {
        return false;
    }
    const bool done = Inflate(stream, source, sink);
    (void)inflateEnd(&stream);
    return done;
}

bool CopyMember(const OpenFile& file, const ZipDirectory::Entry& entry, int destination) {
    if (entry.compressedSize == 0) {
        return true;  // without asking for the CRC, as miniz does
    }
    std::array<unsigned char, 30> header{};
    if (entry.localHeaderOffset > file.size ||
        !ReadAt(file.descriptor.Number(), entry.localHeaderOffset, header.data(), header.size()) ||
        Little32(header.data()) != kLocalSignature) {
        return false;
    }
    const std::uint64_t offset =
        entry.localHeaderOffset + header.size() + Little16(&header[26]) + Little16(&header[28]);
    if (offset > file.size || entry.compressedSize > file.size - offset) {
        return false;
    }
    const Source source(file, offset, entry.compressedSize);
    Sink sink(destination, entry.size);
    return (entry.method == kStored ? CopyStored(source, sink) : CopyDeflated(source, sink)) &&
           sink.IsWhole(entry.crc);
}

}  // namespace

mz_bool mz_zip_reader_init_file(mz_zip_archive* archive, const char* path, mz_uint32 flags) {
    if (archive == nullptr || path == nullptr || flags != 0) {
        return MZ_FALSE;
    }
    // Opening a pipe must not wait for its writer.
    auto file = std::make_unique<OpenFile>(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    const int descriptor = file->descriptor.Number();
    struct stat status = {};
    if (descriptor < 0 || fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        return MZ_FALSE;
    }
    file->size = static_cast<std::uint64_t>(status.st_size);
    if (!file->directory.Read(descriptor, file->size)) {
        return MZ_FALSE;
    }
    archive->m_pState = file.release();
    return MZ_TRUE;
}

mz_uint mz_zip_reader_get_num_files(mz_zip_archive* archive) {
    const OpenFile* const file = Handle(archive);
    return file != nullptr ? static_cast<mz_uint>(file->directory.Count()) : 0;
}

mz_bool mz_zip_reader_file_stat(mz_zip_archive* archive, mz_uint index,
                                mz_zip_archive_file_stat* stat) {
    const OpenFile* const file = Handle(archive);
    if (file == nullptr || stat == nullptr) {
        return MZ_FALSE;
    }
    const auto entry = file->directory.At(index);
    if (!entry) {
        return MZ_FALSE;
    }
    *stat = {};
    stat->m_file_index = index;
    stat->m_crc32 = entry->crc;
    stat->m_comp_size = entry->compressedSize;
    stat->m_uncomp_size = entry->size;
    const bool isFolder = (!entry->name.empty() && entry->name.back() == '/') ||
                          (entry->externalAttributes & kDosDirectory) != 0;
    const bool isPlain = (entry->flags & (kEncrypted | kPatch)) == 0;
    const bool isKnown = entry->method == kStored || entry->method == kDeflated;
    stat->m_is_directory = isFolder ? MZ_TRUE : MZ_FALSE;
    stat->m_is_encrypted = (entry->flags & kEncrypted) != 0 ? MZ_TRUE : MZ_FALSE;
    stat->m_is_supported = isPlain && isKnown ? MZ_TRUE : MZ_FALSE;
    (void)entry->name.copy(stat->m_filename, sizeof stat->m_filename - 1);
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
    Descriptor file(open(destination, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (file.Number() < 0) {
        return MZ_FALSE;
    }
    const OpenFile& opened = *Handle(archive);
    const bool copied = CopyMember(opened, *opened.directory.At(index), file.Number());
    return file.Close() && copied ? MZ_TRUE : MZ_FALSE;
}

mz_bool mz_zip_reader_end(mz_zip_archive* archive) {
    if (Handle(archive) == nullptr) {
        return MZ_FALSE;
    }
    delete static_cast<OpenFile*>(archive->m_pState);
    archive->m_pState = nullptr;
    return MZ_TRUE;
}

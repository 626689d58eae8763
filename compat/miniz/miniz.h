#pragma once

#include <cstdint>

/// The five operations of miniz that read a zip archive, for a system without miniz: the same
/// names, the same linkage and the same outcomes. Archives follow PKWARE APPNOTE 6.3, zip64
/// included; zlib inflates. docs/building.md names what still differs, and why no other zip library
/// is used.

using mz_bool = int;
using mz_uint = unsigned int;
using mz_uint32 = std::uint32_t;
using mz_uint64 = std::uint64_t;

inline constexpr mz_bool MZ_FALSE = 0;
inline constexpr mz_bool MZ_TRUE = 1;
inline constexpr unsigned int MZ_ZIP_MAX_ARCHIVE_FILENAME_SIZE = 512;

/// An archive open for reading; all zero when it is not.
struct mz_zip_archive {
    void* m_pState = nullptr;
};

/// What the central directory says of one member.
struct mz_zip_archive_file_stat {
    mz_uint m_file_index = 0;
    mz_uint32 m_crc32 = 0;        ///< CRC-32 (IEEE 802.3) of the uncompressed bytes
    mz_uint64 m_comp_size = 0;    ///< bytes
    mz_uint64 m_uncomp_size = 0;  ///< bytes
    mz_bool m_is_directory = MZ_FALSE;
    mz_bool m_is_encrypted = MZ_FALSE;
    mz_bool m_is_supported = MZ_FALSE;  ///< stored or deflated, and neither encrypted nor a patch
    /// The bytes as stored, whatever an extra field says, zero-terminated, cut to what fits.
    char m_filename[MZ_ZIP_MAX_ARCHIVE_FILENAME_SIZE] = {};
};

extern "C" {

/// @param flags 0
/// @return false if there is no such file or it is not a zip archive; then there is nothing to end
mz_bool mz_zip_reader_init_file(mz_zip_archive* archive, const char* path, mz_uint32 flags);
mz_uint mz_zip_reader_get_num_files(mz_zip_archive* archive);
mz_bool mz_zip_reader_file_stat(mz_zip_archive* archive, mz_uint index,
                                mz_zip_archive_file_stat* stat);
/// Creates or empties the file at `destination` and writes the member's uncompressed bytes to it,
/// in chunks of fixed size.
/// @param flags 0
/// @return false for a directory, an encrypted member, any compression but stored and deflated
///         (the file is not touched then), and when reading, writing or the check of length and
///         CRC fails (the file keeps what was written by then)
mz_bool mz_zip_reader_extract_to_file(mz_zip_archive* archive, mz_uint index,
                                      const char* destination, mz_uint flags);
mz_bool mz_zip_reader_end(mz_zip_archive* archive);

}  // extern "C"

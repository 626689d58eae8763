#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

/// The central directory of a zip archive (PKWARE APPNOTE 6.3, sections 4.3.12 to 4.3.16, zip64
/// included). It accepts and refuses what miniz does, so that a package means the same to both.
class ZipDirectory {
  public:
    /// A larger directory is refused: it is held in memory, and a package has few members.
    static constexpr std::uint64_t kMaximumSize = std::uint64_t{64} << 20U;

    struct Entry {
        std::uint16_t flags = 0;
        std::uint16_t method = 0;
        std::uint32_t crc = 0;
        std::uint64_t compressedSize = 0;     ///< bytes
        std::uint64_t size = 0;               ///< bytes, uncompressed
        std::uint64_t localHeaderOffset = 0;  ///< bytes from the beginning of the file
        std::uint32_t externalAttributes = 0;
        std::string_view name;  ///< as stored; lives as long as the directory
    };

    /// Reads the directory that the last end record of the file names.
    /// @param fileSize in bytes
    /// @return false when the file is not an archive, or an inconsistent one
    [[nodiscard]] bool Read(int descriptor, std::uint64_t fileSize);
    [[nodiscard]] std::size_t Count() const { return mOffsets.size(); }
    /// @return std::nullopt without that entry, or if its zip64 field is malformed
    [[nodiscard]] std::optional<Entry> At(std::size_t index) const;

  private:
    struct EndRecord;

    [[nodiscard]] static bool FindEnd(int descriptor, std::uint64_t fileSize, EndRecord& end);
    [[nodiscard]] bool ReadEntries(const EndRecord& end, std::uint64_t fileSize);

    std::vector<unsigned char> mBytes;
    std::vector<std::size_t> mOffsets;  ///< of each entry in mBytes
};

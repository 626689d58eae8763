#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// One member of a zip archive that a test makes, damaged where the test wants it so.
struct ZipMember {
    static constexpr std::uint16_t kStored = 0;
    static constexpr std::uint16_t kDeflated = 8;

    std::string name;
    std::string content;
    std::uint16_t method = kStored;
    bool zip64 = false;
    std::uint16_t flags = 0;
    std::uint32_t externalAttributes = 0;
    /// Added to the true value wherever it is written.
    std::uint32_t crcError = 0;
    std::int64_t sizeError = 0;  ///< of the uncompressed size
    /// Raw deflated bytes in the place of `content`, with their uncompressed size and CRC.
    std::string deflated = {};
    std::uint64_t deflatedSize = 0;
    std::uint32_t deflatedCrc = 0;
    std::string extra = {};  ///< further extra fields of both headers
};

/// The bytes of an archive of these members, in this order (PKWARE APPNOTE 6.3).
/// @param offset number of bytes before it in its file
std::string MakeZip(const std::vector<ZipMember>& members, std::size_t offset = 0);

/// An extra field, for ZipMember::extra.
std::string ZipExtra(std::uint16_t id, const std::string& data);

/// A member of that many MiB of zeros, deflated; made without holding or deflating them all.
ZipMember MakeBomb(const std::string& name, unsigned int mebibytes);

#include <NxDevice/NxDfwPayload.h>

#include <algorithm>
#include <array>
#include <span>
#include <string>
#include <vector>

#include <NxBase/NxResultCodes.h>
#include <internal/NxBase/LocalFile.h>
#include <internal/NxBase/ReturnIfFailed.h>

#include "AtomicFile.h"
#include "DfwHeaderCodec.h"

namespace {

constexpr std::size_t kChunkSize{256U << 10U};

NxResult NotAPayload(const NxString& file, const std::string& problem) {
    return NxResult(kNxNotAPayload,
                    std::string(file.GetAscii()) + " is not a firmware payload: " + problem);
}

NxResult ReadHeaderOf(const LocalFile& file, const NxString& path, NxDfwHeader& header) {
    DfwHeaderCodec::Bytes bytes{};
    std::size_t length = 0;
    NX_RETURN_IF_FAILED(file.ReadAt(0, bytes, length));
    if (length < bytes.size()) {
        return NotAPayload(
            path, "it ends after " + std::to_string(length) + " of the 64 bytes of its header");
    }
    const std::string problem = DfwHeaderCodec::Decode(bytes, header);
    return problem.empty() ? NxResult() : NotAPayload(path, problem);
}

NxResult WriteRecord(const NxDfwHeader& header, const std::string& body, unsigned char* buffer,
                     unsigned int bufferSize, unsigned int& length) {
    const std::size_t size = NxDfwHeader::kSize + body.size();
    if (buffer == nullptr || bufferSize < size) {
        return NxResult(kNxBufferTooSmall, "The record needs " + std::to_string(size) +
                                               " bytes, but the buffer has " +
                                               std::to_string(bufferSize));
    }
    const DfwHeaderCodec::Bytes bytes = DfwHeaderCodec::Encode(header);
    auto* const end = std::ranges::copy(bytes, reinterpret_cast<std::byte*>(buffer)).out;
    std::ranges::copy(std::as_bytes(std::span(body)), end);
    length = static_cast<unsigned int>(size);
    return NxResult();
}

// Calls `take` with every piece of the file from `offset` on.
template <typename Take>
NxResult ForEachChunk(const LocalFile& file, std::uint64_t offset, const Take& take) {
    std::vector<std::byte> chunk(kChunkSize);
    for (std::size_t length = chunk.size(); length == chunk.size(); offset += length) {
        NX_RETURN_IF_FAILED(file.ReadAt(offset, chunk, length));
        NX_RETURN_IF_FAILED(take(std::span<const std::byte>(chunk).first(length)));
    }
    return NxResult();
}

}  // namespace

NxResult NxDfwPayload::GetDeviceIdRecord(const NxString& payloadFile, const NxString& newId,
                                         unsigned char* buffer, unsigned int bufferSize,
                                         unsigned int& length) {
    const std::string body = newId.GetAscii();
    if (!DfwHeaderCodec::IsPrintable(body, DfwHeaderCodec::kLongestDeviceId)) {
        return NxResult(kNxInvalidArgument,
                        "The device ID must have 1 to 63 printable ASCII characters");
    }
    NxDfwHeader header;
    NX_RETURN_IF_FAILED(ReadHeader(payloadFile, header));
    header.kind = NxDfwHeader::Kind::kDeviceId;
    header.bodyLength = body.size();
    header.bodyCrc = DfwHeaderCodec::Crc32(std::as_bytes(std::span(body)));
    return WriteRecord(header, body, buffer, bufferSize, length);
}

NxResult NxDfwPayload::GetResetRecord(const NxString& payloadFile, unsigned char* buffer,
                                      unsigned int bufferSize, unsigned int& length) {
    NxDfwHeader header;
    NX_RETURN_IF_FAILED(ReadHeader(payloadFile, header));
    header.kind = NxDfwHeader::Kind::kReset;
    header.bodyLength = 0;
    header.bodyCrc = DfwHeaderCodec::Crc32({});
    return WriteRecord(header, {}, buffer, bufferSize, length);
}

NxResult NxDfwPayload::ReadHeader(const NxString& payloadFile, NxDfwHeader& header) {
    LocalFile file;
    NX_RETURN_IF_FAILED(file.Open(payloadFile));
    return ReadHeaderOf(file, payloadFile, header);
}

NxResult NxDfwPayload::Verify(const NxString& payloadFile, NxDfwHeader& header) {
    LocalFile file;
    NxDfwHeader read;
    NX_RETURN_IF_FAILED(file.Open(payloadFile));
    NX_RETURN_IF_FAILED(ReadHeaderOf(file, payloadFile, read));
    const std::uint64_t bodySize = file.Size() - NxDfwHeader::kSize;
    if (bodySize != read.bodyLength) {
        return NotAPayload(payloadFile, "its body has " + std::to_string(bodySize) +
                                            " bytes, but its header says " +
                                            std::to_string(read.bodyLength));
    }
    std::uint32_t crc = 0;
    NX_RETURN_IF_FAILED(
        ForEachChunk(file, NxDfwHeader::kSize, [&crc](std::span<const std::byte> chunk) {
            crc = DfwHeaderCodec::Crc32(chunk, crc);
            return NxResult();
        }));
    if (crc != read.bodyCrc) {
        return NotAPayload(payloadFile, "checksum error in its body");
    }
    header = read;
    return NxResult();
}

NxResult NxDfwPayload::Create(const NxString& bodyFile, const NxString& family,
                              unsigned short major, unsigned short minor,
                              const NxString& payloadFile) {
    NxDfwHeader header;
    header.family = family.GetAscii();
    header.major = major;
    header.minor = minor;
    if (!DfwHeaderCodec::IsPrintable(header.family, DfwHeaderCodec::kLongestFamily)) {
        return NxResult(kNxInvalidArgument,
                        "The device family must have 1 to 32 printable ASCII characters");
    }
    LocalFile body;
    NX_RETURN_IF_FAILED(body.Open(bodyFile));
    if (body.Size() == 0) {
        return NxResult(kNxInvalidArgument, std::string(bodyFile.GetAscii()) + " is empty");
    }
    if (body.IsSameFileAs(payloadFile.GetAscii())) {
        return NxResult(kNxInvalidArgument,
                        std::string(payloadFile.GetAscii()) +
                            " is the input file; choose another name for the payload");
    }
    AtomicFile payload;
    NX_RETURN_IF_FAILED(payload.Open(payloadFile));
    // The checksum is known last, so the header's place is filled in at the end.
    NX_RETURN_IF_FAILED(payload.WriteAt(0, DfwHeaderCodec::Bytes{}));
    NX_RETURN_IF_FAILED(ForEachChunk(body, 0, [&](std::span<const std::byte> chunk) {
        NxResult written = payload.WriteAt(NxDfwHeader::kSize + header.bodyLength, chunk);
        header.bodyLength += chunk.size();
        header.bodyCrc = DfwHeaderCodec::Crc32(chunk, header.bodyCrc);
        return written;
    }));
    NX_RETURN_IF_FAILED(payload.WriteAt(0, DfwHeaderCodec::Encode(header)));
    return payload.Publish();
}

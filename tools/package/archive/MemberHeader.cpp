#include "MemberHeader.h"

#include <algorithm>
#include <fstream>

#include <NxDevice/NxDfwPayload.h>

#include "TemporaryFile.h"

std::optional<NxDfwHeader> ReadMemberHeader(const Archive& archive, std::size_t member) {
    std::string bytes;
    // Ends the reading once there is enough; a member that cannot be read gives too few bytes.
    (void)archive.Read(member, [&bytes](const char* piece, std::size_t count) -> std::string {
        bytes.append(piece, std::min<std::size_t>(count, NxDfwHeader::kSize - bytes.size()));
        return bytes.size() == NxDfwHeader::kSize ? "enough" : "";
    });
    const TemporaryFile copy;
    std::ofstream file(copy.Path(), std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    NxDfwHeader header;
    if (!file || !NxDfwPayload::ReadHeader(copy.Path(), header).IsOK()) {
        return std::nullopt;
    }
    return header;
}

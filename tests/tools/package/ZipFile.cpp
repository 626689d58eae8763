#include "ZipFile.h"

#include <zlib.h>

namespace {

std::string Little(std::size_t value, int bytes) {
    std::string text;
    for (int index = 0; index < bytes; ++index, value >>= 8U) {
        text += static_cast<char>(value & 0xFFU);
    }
    return text;
}

}  // namespace

void ZipFile::Add(const std::string& name, const std::string& content, unsigned int method,
                  unsigned int flags) {
    const auto crc =
        crc32(0, reinterpret_cast<const Bytef*>(content.data()), static_cast<uInt>(content.size()));
    // PKWARE APPNOTE 6.3, sections 4.3.7 and 4.3.12: what both headers of a member share.
    const std::string common = Little(20, 2) + Little(flags, 2) + Little(method, 2) + Little(0, 2) +
                               Little(0x21, 2) + Little(crc, 4) + Little(content.size(), 4) +
                               Little(content.size(), 4) + Little(name.size(), 2) + Little(0, 2);
    mDirectory +=
        "PK\1\2" + Little(20, 2) + common + Little(0, 10) + Little(mMembers.size(), 4) + name;
    mMembers += "PK\3\4" + common + name + content;
    ++mCount;
}

std::string ZipFile::Bytes() const {
    return mMembers + mDirectory + "PK\5\6" + Little(0, 4) + Little(mCount, 2) + Little(mCount, 2) +
           Little(mDirectory.size(), 4) + Little(mMembers.size(), 4) + Little(0, 2);
}

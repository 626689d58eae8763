#pragma once

#include <zlib.h>

#include <cstdint>

#include "simulator/registers/ByteOrder.h"

namespace simulator {

/// CRC-32 of IEEE 802.3 (reflected, polynomial 0x04c11db7, as Ethernet's frame check sequence),
/// taken over any number of pieces.
class Crc32 {
  public:
    void Add(ConstBytes bytes) {
        // zlib restarts the checksum at a null pointer, which an empty span may have.
        if (!bytes.empty()) {
            mValue = crc32_z(mValue, bytes.data(), bytes.size());
        }
    }
    [[nodiscard]] std::uint32_t Value() const { return static_cast<std::uint32_t>(mValue); }

    [[nodiscard]] static std::uint32_t Of(ConstBytes bytes) {
        Crc32 crc;
        crc.Add(bytes);
        return crc.Value();
    }

  private:
    uLong mValue = 0;
};

}  // namespace simulator

#pragma once

#include <cstdint>

#include "simulator/registers/ByteOrder.h"

namespace simulator {

/// CRC-32 of IEEE 802.3 (reflected, polynomial 0x04c11db7, as Ethernet's frame check sequence),
/// taken over any number of pieces.
class Crc32 {
  public:
    void Add(ConstBytes bytes);
    [[nodiscard]] std::uint32_t Value() const { return ~mRemainder; }

    [[nodiscard]] static std::uint32_t Of(ConstBytes bytes);

  private:
    std::uint32_t mRemainder = 0xffffffffU;
};

}  // namespace simulator

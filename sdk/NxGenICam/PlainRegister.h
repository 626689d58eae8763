#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <NxGenICam/GenPort.h>

#include "NodeMap.h"

/// An integer, enumeration or command feature that is nothing but four or eight bytes of device
/// memory at an address that stays the same while a file is open and its operation selected.
class PlainRegister {
  public:
    /// @param steady nodes that do not change meanwhile: the selectors
    /// @return false, `plain` untouched, when the feature is anything more
    static bool Resolve(NodeMap& nodes, const char* feature, const std::vector<ArvGcNode*>& steady,
                        PlainRegister& plain);
    /// Whether the register's address depends on nothing but constants and `steady`, and whether
    /// it is reached through the device's own port.
    static bool IsSteady(const NodeMap& nodes, ArvGcNode* registerNode,
                         const std::vector<ArvGcNode*>& steady);

    /// Number of four-byte registers that it takes: 1 or 2.
    [[nodiscard]] std::size_t Count() const { return mLength / 4; }
    /// Adds the registers that hold the value.
    void Append(std::int64_t value, std::vector<GenPort::Register>& registers) const;
    /// Adds registers to be read.
    void Append(std::vector<GenPort::Register>& registers) const;
    /// The value in registers that Append added.
    [[nodiscard]] std::int64_t Value(const GenPort::Register* registers) const;

  private:
    std::uint64_t mAddress = 0;
    std::size_t mLength = 4;
    bool mIsBigEndian = false;
    bool mIsSigned = false;
};

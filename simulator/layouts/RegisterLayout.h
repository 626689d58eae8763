#pragma once

#include <bit>
#include <optional>
#include <string>

#include "simulator/device/NameTable.h"
#include "simulator/registers/Bus.h"

namespace simulator {

/// How the features of file access are laid over registers. Each has a page in layouts/.
enum class RegisterLayout {
    kPlain,              ///< a register for each, at one address
    kSelectorDependent,  ///< at addresses that depend on FileSelector and FileOperationSelector
    kBitFields,          ///< status and result in one word, limits in registers
    kLocalSelectors,     ///< operation and open mode are in the command's value
    kCommandRegister,    ///< status and result are in the register that starts the operation
    kWriteOnlyExecute,   ///< the register that starts an operation cannot be read
    kReadOnlyOffset,     ///< the device keeps the position in the file
    kWide,               ///< registers of 8 bytes at addresses of 48 bits
    kLittleEndian,       ///< as plain, little-endian on either bus
    kLegacyEndian        ///< little-endian registers that are described as big-endian
};

inline constexpr NameTable<RegisterLayout, 10> kLayoutNames{{{
    {RegisterLayout::kPlain, "plain"},
    {RegisterLayout::kSelectorDependent, "selector"},
    {RegisterLayout::kBitFields, "bitfields"},
    {RegisterLayout::kLocalSelectors, "local-selectors"},
    {RegisterLayout::kCommandRegister, "command-register"},
    {RegisterLayout::kWriteOnlyExecute, "write-only-execute"},
    {RegisterLayout::kReadOnlyOffset, "read-only-offset"},
    {RegisterLayout::kWide, "wide"},
    {RegisterLayout::kLittleEndian, "little-endian"},
    {RegisterLayout::kLegacyEndian, "legacy-endian"},
}}};
/// Takes "selector-dependent" for "selector" as well.
[[nodiscard]] std::optional<RegisterLayout> LayoutNamed(const std::string& name);

/// Byte order of the numbers in the device's own registers. Bootstrap registers have their bus's.
[[nodiscard]] std::endian RegisterOrder(RegisterLayout layout, Bus bus);
/// Byte order of them that the description claims.
[[nodiscard]] std::endian DescribedOrder(RegisterLayout layout, Bus bus);

}  // namespace simulator

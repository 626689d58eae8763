#pragma once

#include <cstdint>

namespace simulator {

/// Where a device's features are in its address space. What lies below belongs to the bus: its
/// bootstrap registers.
namespace features {

inline constexpr std::uint32_t kBase = 0x10000;
inline constexpr std::uint32_t kSize = 0x2000;

inline constexpr std::uint32_t kTextSize = 64;
inline constexpr std::uint32_t kVendorName = 0x10000;
inline constexpr std::uint32_t kModelName = 0x10040;
inline constexpr std::uint32_t kFirmwareVersion = 0x10080;
inline constexpr std::uint32_t kSerialNumber = 0x100c0;
inline constexpr std::uint32_t kUserId = 0x10100;
inline constexpr std::uint32_t kManufacturerInfo = 0x10140;

inline constexpr std::uint32_t kReset = 0x10200;
inline constexpr std::uint32_t kWidth = 0x10204;
inline constexpr std::uint32_t kFirmwareLoad = 0x10208;

inline constexpr std::uint32_t kWidthMax = 4096;

// Where most layouts have their file registers; what differs is in layouts/.
inline constexpr std::uint32_t kFileSelector = 0x10300;
inline constexpr std::uint32_t kOperationSelector = 0x10304;

// One block of file registers for all files and operations, or, selector-dependent, one for each.
inline constexpr std::uint32_t kPlainBlock = 0x10310;
inline constexpr std::uint32_t kFirstBlock = 0x11000;
inline constexpr std::uint32_t kFileStride = 0x400;
inline constexpr std::uint32_t kOperationStride = 0x100;

inline constexpr std::uint32_t kAccessOffset = 0x00;
inline constexpr std::uint32_t kAccessLength = 0x04;
inline constexpr std::uint32_t kExecute = 0x08;
inline constexpr std::uint32_t kStatus = 0x0c;
inline constexpr std::uint32_t kResult = 0x10;
inline constexpr std::uint32_t kOpenMode = 0x14;
inline constexpr std::uint32_t kFileSize = 0x18;

inline constexpr std::uint32_t kXml = 0x100000;
inline constexpr std::uint32_t kBuffer = 0x1000000;  // selector-dependent: that of the first file
inline constexpr std::uint32_t kBufferStride = 0x1000000;

inline constexpr std::uint32_t kFileCount = 3;
inline constexpr std::uint32_t kOperationCount = 4;

}  // namespace features

}  // namespace simulator

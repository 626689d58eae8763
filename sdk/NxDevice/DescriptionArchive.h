#pragma once

#include <cstddef>
#include <span>
#include <string>

/// Takes a device's GenICam description out of the zip archive in which the device stores it: the
/// first member, stored or deflated, of at most 64 MiB, its CRC checked. Anything that is not a
/// zip archive is the description itself; zeros at its end are padding.
/// @param xml untouched on failure
/// @return false when it is an archive, but damaged, encrypted, empty or too large
[[nodiscard]] bool UnpackDescription(std::span<const std::byte> stored, std::string& xml);

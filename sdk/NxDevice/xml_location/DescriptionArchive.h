#pragma once

#include <cstddef>
#include <span>
#include <string>

/// Takes a device's GenICam description out of what the device stores, a zip archive or the text
/// itself; its bytes decide which, whatever its name says (APPNOTE.TXT 6.3). Of an archive, the
/// first member that is named as XML is taken, or else its first file: stored or deflated, of at
/// most 16 MiB, its CRC checked. What follows the archive, its text or the text's last element is
/// not looked at: devices pad, and keep the rest of what they stored before.
///
/// Needs no more memory than the text itself has.
/// @param xml untouched on failure
/// @param why set on failure, e.g. "its zip archive is encrypted"
/// @return false when it is an archive of which nothing can be taken
[[nodiscard]] bool UnpackDescription(std::span<const std::byte> stored, std::string& xml,
                                     std::string& why);

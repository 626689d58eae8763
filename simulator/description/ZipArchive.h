#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace simulator {

enum class ZipStyle {
    kUsual,
    kOdd  ///< sizes in a data descriptor, unknown extra fields, bytes of 0xff behind the end
};

/// A zip archive with one deflated file (PKWARE APPNOTE 6.3, sections 4.3.7, 4.3.9, 4.3.12, 4.3.16,
/// 4.5.1).
[[nodiscard]] std::vector<std::uint8_t> ZipOneFile(const std::string& name,
                                                   const std::string& content,
                                                   ZipStyle style = ZipStyle::kUsual);

}  // namespace simulator

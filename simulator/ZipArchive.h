#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace simulator {

/// A zip archive with one deflated file (PKWARE APPNOTE 6.3, sections 4.3.7, 4.3.12, 4.3.16).
[[nodiscard]] std::vector<std::uint8_t> ZipOneFile(const std::string& name,
                                                   const std::string& content);

}  // namespace simulator

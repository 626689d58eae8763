#pragma once

#include <cstdint>
#include <string>

namespace simulator {

/// Error codes of RFC 1350, appendix I, and RFC 2347.
enum class TftpErrorCode : std::uint16_t {
    kNotDefined = 0,
    kFileNotFound = 1,
    kAccessViolation = 2,
    kDiskFull = 3,
    kIllegalOperation = 4,
    kUnknownTransferId = 5,
    kFileExists = 6,
    kNoSuchUser = 7,
    kOptionNegotiation = 8,
};

/// What an ERROR packet carries.
struct TftpError {
    TftpErrorCode code = TftpErrorCode::kNotDefined;
    std::string text;  ///< printable ASCII
};

}  // namespace simulator

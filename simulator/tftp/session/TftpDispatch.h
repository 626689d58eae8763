#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "TftpSession.h"

namespace simulator {

/// The session that answers a datagram sent to the server's own port, a refusal where the request
/// is malformed or not in octet mode; null if it is not a request and must not be answered.
[[nodiscard]] std::unique_ptr<TftpSession> DispatchTftpRequest(
    const TftpSession::Context& context, std::span<const std::uint8_t> datagram);

}  // namespace simulator

#include "TftpDispatch.h"

#include "TftpReadSession.h"
#include "TftpRefusal.h"
#include "TftpWriteSession.h"

namespace simulator {

namespace {

bool LooksLikeRequest(std::span<const std::uint8_t> datagram) {
    return datagram.size() >= 2 && datagram[0] == 0 && (datagram[1] == 1 || datagram[1] == 2);
}

}  // namespace

std::unique_ptr<TftpSession> DispatchTftpRequest(const TftpSession::Context& context,
                                                 std::span<const std::uint8_t> datagram) {
    if (!LooksLikeRequest(datagram)) {
        return nullptr;
    }
    const std::optional<TftpPacket> request = TftpPacket::Parse(datagram);
    if (!request) {
        return std::make_unique<TftpRefusal>(
            context, TftpPacket{},
            TftpError{TftpErrorCode::kIllegalOperation, "Malformed request"});
    }
    if (request->mode != "octet") {
        return std::make_unique<TftpRefusal>(
            context, *request,
            TftpError{TftpErrorCode::kNotDefined, "Only octet (binary) mode is supported"});
    }
    if (request->opcode == TftpOpcode::kWriteRequest) {
        return std::make_unique<TftpWriteSession>(context, *request);
    }
    return std::make_unique<TftpReadSession>(context, *request);
}

}  // namespace simulator

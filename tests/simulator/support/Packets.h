#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/tftp/session/TftpSession.h"

/// The bytes of a text, zeros included: Bytes("\0\x04\0\0"sv).
inline simulator::TftpPacket::Bytes Bytes(std::string_view text) {
    return {text.begin(), text.end()};
}

inline simulator::TftpPacket::Bytes DataPacket(std::uint16_t block, std::string_view content) {
    return simulator::TftpPacket::Data(block, Bytes(content));
}

/// The request of `session` tests: octet mode.
inline simulator::TftpPacket RequestPacket(simulator::TftpOpcode opcode, const std::string& file,
                                           const simulator::TftpOptionList& options = {}) {
    simulator::TftpPacket packet;
    packet.opcode = opcode;
    packet.file = file;
    packet.mode = "octet";
    packet.options = options;
    return packet;
}

/// Hands a session an encoded packet.
inline void Deliver(simulator::TftpSession& session, const simulator::TftpPacket::Bytes& datagram,
                    simulator::TftpSession::Time now) {
    session.Receive(simulator::TftpPacket::Parse(datagram).value(), now);
}

using Datagrams = std::vector<simulator::TftpPacket::Bytes>;

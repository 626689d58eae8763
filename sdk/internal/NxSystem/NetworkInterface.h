#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include <NxBase/NxApi.h>

/// One IPv4 address of a network interface that is up.
struct NetworkInterface {
    std::string name;                   ///< "eth1"
    std::uint32_t address = 0;          ///< host byte order
    std::uint32_t netmask = 0;          ///< host byte order
    std::array<std::uint8_t, 6> mac{};  ///< all zero for loopback
    unsigned int mtu = 1500;            ///< bytes of an IP packet
};

/// Every IPv4 address of every interface that is up, loopback included, in the system's order.
/// Empty when the system cannot be asked.
NX_API std::vector<NetworkInterface> ListNetworkInterfaces();

/// "192.168.1.20"
NX_API std::string FormatAddress(std::uint32_t address);
/// Dotted decimal, exactly four numbers; false when it is anything else.
NX_API bool ParseAddress(const std::string& text, std::uint32_t& address);
/// Six hexadecimal pairs joined by ':' or '-'; false when it is anything else.
NX_API bool ParseMac(const std::string& text, std::array<std::uint8_t, 6>& mac);
/// "00:11:22:ab:cd:ef"
NX_API std::string FormatMac(const std::array<std::uint8_t, 6>& mac);

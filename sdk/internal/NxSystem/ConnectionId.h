#pragma once

#include <cstdint>
#include <string>

#include <NxBase/NxApi.h>
#include <NxBase/NxResult.h>
#include <NxBase/NxString.h>

/// A parsed connection ID: "192.168.1.20%eth1", "192.168.1.20" or "u3v:<GUID>".
struct NX_API ConnectionId {
    enum class Kind { kNetwork, kUsb };

    Kind kind = Kind::kNetwork;
    std::uint32_t address = 0;  ///< host byte order; network devices
    std::string interfaceName;  ///< empty: whichever the routes say; network devices
    std::string guid;           ///< USB devices

    /// @return kNxInvalidArgument, `id` untouched, if the text is not a connection ID
    static NxResult Parse(const NxString& text, ConnectionId& id);
    [[nodiscard]] std::string Format() const;
};

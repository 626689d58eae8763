// Acks of USB3 Vision devices, as they come from the bus.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "u3v/U3vPackets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto bytes = std::as_bytes(std::span(data, size));
    U3vPackets::Ack ack;
    if (!U3vPackets::ParseAck(bytes, ack)) {
        return 0;
    }
    // The payload must lie within the packet, behind the header.
    const std::byte* const end = ack.payload.data() + ack.payload.size();
    if (ack.payload.data() < bytes.data() + U3vPackets::kHeaderLength ||
        end > bytes.data() + bytes.size() || U3vPackets::DescribeStatus(ack.status).empty()) {
        std::abort();
    }
    return 0;
}

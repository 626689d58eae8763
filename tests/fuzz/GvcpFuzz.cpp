// What a GigE Vision device sends: acks, and the location of its description.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

#include "gvcp/GvcpPacket.h"
#include "xml_location/DescriptionArchive.h"
#include "xml_location/DescriptionLocation.h"
#include "xml_location/DescriptionText.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

namespace {

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const auto datagram = std::as_bytes(std::span(bytes, size));
    if (const auto ack = GvcpPacket::ParseAck(datagram)) {
        Require(datagram.size() >= 8 && ack->payload.data() == datagram.data() + 8);
        Require(ack->payload.size() <= datagram.size() - 8);
        (void)GvcpPacket::PendingMilliseconds(*ack);
        Require(!GvcpPacket::StatusName(ack->status).empty());
    }
    const std::string url(reinterpret_cast<const char*>(bytes), size);
    DescriptionLocation location;
    if (DescriptionLocation::Parse(url, location).empty()) {
        Require(location.length > 0 && location.length <= (16U << 20U));
        Require(location.fileName.find('\0') == std::string::npos);
    }
    std::string xml;
    std::string why;
    if (UnpackDescription(datagram, xml, why)) {
        Require(FindDocument(xml).size() <= xml.size() && xml.size() <= (16U << 20U));
    } else {
        Require(!why.empty());
    }
    return 0;
}

#include "PayloadBuilder.h"

#include <zlib.h>

namespace {

void AppendBig(std::string& bytes, std::uint64_t value, unsigned int size) {
    while (size > 0) {
        --size;
        bytes.push_back(static_cast<char>(value >> (8U * size) & 0xFFU));
    }
}

std::uint64_t Crc(const std::string& bytes) {
    return crc32_z(0, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size());
}

}  // namespace

std::string MakePayload(const std::string& body, const PayloadFields& fields) {
    std::string payload = "MDFW";
    AppendBig(payload, 1, 2);  // format version
    AppendBig(payload, fields.kind, 2);
    AppendBig(payload, 64, 4);  // header length
    AppendBig(payload, body.size(), 8);
    AppendBig(payload, Crc(body), 4);
    std::string family = fields.family;
    family.resize(32, '\0');
    payload += family;
    AppendBig(payload, fields.majorNumber, 2);
    AppendBig(payload, fields.minorNumber, 2);
    AppendBig(payload, Crc(payload), 4);
    return payload + body;
}

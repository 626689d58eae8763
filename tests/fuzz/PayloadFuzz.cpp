// A device judges any payload, however it is cut into chunks, and survives it.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "simulator/firmware/FirmwareStore.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

// The input: the size of the chunks in a byte, then the payload. An odd chunk size also sends every
// chunk twice.
int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    using namespace simulator;
    static EventLog events;
    if (size == 0) {
        return 0;
    }
    std::string why;
    static const std::unique_ptr<FirmwareStore> kFirmware = FirmwareStore::Open({}, events, why);
    const std::size_t chunk = std::size_t{bytes[0]} + 1;
    const ConstBytes payload(bytes + 1, size - 1);
    const auto upload = kFirmware->BeginUpload(why);
    if (!upload) {
        std::abort();
    }
    for (std::size_t at = 0; at < payload.size(); at += chunk) {
        const ConstBytes part = payload.subspan(at, std::min(chunk, payload.size() - at));
        if (!upload->Write(at, part) || (chunk % 2 == 1 && !upload->Write(at, part))) {
            std::abort();
        }
    }
    upload->Finish();
    const std::string status = kFirmware->State().lastStatus;
    if (status.empty() || status.size() > 1000 || kFirmware->State().deviceId.size() > 63) {
        std::abort();
    }
    return 0;
}

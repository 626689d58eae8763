// A GigE Vision device answers any sequence of datagrams and survives it.
#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "simulator/gvcp/GvcpHandler.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

namespace {

using namespace simulator;

// A state folder per input would be all that is measured.
FirmwareStore& SharedFirmware() {
    static EventLog events;
    static std::string why;
    static const std::unique_ptr<FirmwareStore> kFirmware = FirmwareStore::Open({}, events, why);
    if (!kFirmware) {
        std::abort();
    }
    return *kFirmware;
}

void CheckReply(const GvcpReply& reply, ConstBytes command) {
    constexpr std::size_t kHeader = 8;
    constexpr std::size_t kMaxPayload = 540;
    const std::vector<std::uint8_t>& packet = reply.acknowledge;
    const bool consistent = packet.size() >= kHeader && packet.size() <= kHeader + kMaxPayload &&
                            LoadBig<std::uint16_t>(packet, 4) == packet.size() - kHeader &&
                            LoadBig<std::uint16_t>(packet, 6) == LoadBig<std::uint16_t>(command, 6);
    if (!consistent) {
        std::abort();
    }
}

}  // namespace

// The input: the device's options in two bytes; then datagrams, each behind a byte that says who
// sends it and how much time has passed, and two that give its length.
int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    constexpr std::size_t kOptionSize = 2;
    constexpr std::size_t kFrameSize = 3;
    ConstBytes input(bytes, size);
    if (input.size() < kOptionSize) {
        return 0;
    }
    DeviceOptions options;
    options.profile = static_cast<Profile>(input[0] % 7);
    static const std::vector<RegisterLayout> layouts = kLayoutNames.Values();
    options.layout = (input[1] & 1U) != 0 ? RegisterLayout::kSelectorDependent
                                          : layouts[input[0] / 7 % layouts.size()];
    options.concatenation = (input[1] & 2U) == 0;
    options.bufferSize = (input[1] & 4U) != 0 ? 64 : 1024;
    options.shortWriteEvery = input[1] >> 5U;
    input = input.subspan(kOptionSize);

    EventLog events;
    CommandCounters counters;
    simulator::IpSettings ip(SharedFirmware().Folder());
    GvcpHandler handler(
        options, SharedFirmware(), events, counters, [] {}, {0x7f000001, 0xff000000, 0}, ip);
    GvcpHandler::Clock::time_point now{};
    while (input.size() >= kFrameSize) {
        const Peer peer{0x7f000001, static_cast<std::uint16_t>(1000 + (input[0] & 3U))};
        now += std::chrono::milliseconds(input[0] >> 2U) * 40;
        const std::size_t length =
            std::min<std::size_t>(LoadBig<std::uint16_t>(input, 1), input.size() - kFrameSize);
        const ConstBytes datagram = input.subspan(kFrameSize, length);
        handler.Tick(now);
        if (const auto reply = handler.Handle(peer, datagram, now)) {
            CheckReply(*reply, datagram);
        }
        input = input.subspan(kFrameSize + length);
    }
    handler.Abandon();
    return 0;
}

#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <random>
#include <vector>

#include "simulator/device/FaultOptions.h"
#include "simulator/gvcp/ControlPrivilege.h"

namespace simulator {

/// A datagram and who is at its other end.
struct Datagram {
    Peer peer;
    std::vector<std::uint8_t> bytes;
    bool operator==(const Datagram&) const = default;
};

/// One direction of a bad network. The decisions for the n-th datagram depend on the seed and n
/// alone.
class FaultyLine {
  public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::chrono::milliseconds kReorderLimit{50};

    FaultyLine(const DatagramFaults& faults, std::uint32_t seed);

    /// Puts a datagram in. @return what comes out by this, in order
    [[nodiscard]] std::vector<Datagram> Pass(Datagram datagram, Clock::time_point now);
    /// @return what was held back and is due
    [[nodiscard]] std::vector<Datagram> TakeDue(Clock::time_point now);
    /// When TakeDue is to be called next.
    [[nodiscard]] std::optional<Clock::time_point> NextDue() const;

  private:
    struct Held {
        Datagram datagram;
        Clock::time_point due;
        bool untilNext;  // leaves behind the next datagram
    };

    const DatagramFaults mFaults;
    std::mt19937 mChance;
    std::vector<Held> mHeld;
};

}  // namespace simulator

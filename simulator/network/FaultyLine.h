#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

#include "Chance.h"
#include "DatagramFaults.h"
#include "Peer.h"

namespace simulator {

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
        bool untilNext;  // leaves behind the next datagram; at most one does
    };

    const DatagramFaults mFaults;
    Chance mChance;
    std::vector<Held> mHeld;
};

}  // namespace simulator

#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <random>
#include <vector>

#include "simulator/tftp/session/TftpFaults.h"

namespace simulator {

/// One direction of one transfer's packets: loses, doubles, swaps and delays them as the faults
/// say. What becomes of the n-th datagram depends on the seed and n alone.
class TftpFaultyLine {
  public:
    using Time = std::chrono::steady_clock::time_point;
    using Bytes = std::vector<std::uint8_t>;

    /// @param line tells the lines of one server apart
    TftpFaultyLine(const TftpFaults& faults, std::uint64_t line);

    void Put(Bytes datagram, Time now);
    /// The datagrams that come out at the far end until now, in their order.
    [[nodiscard]] std::vector<Bytes> Take(Time now);
    /// When the next datagram comes out.
    [[nodiscard]] Time NextAt() const;

  private:
    struct Entry {
        Time at;
        Bytes datagram;
    };

    [[nodiscard]] bool Happens(double percent);

    TftpFaults mFaults;
    std::mt19937_64 mRandom;
    std::vector<Entry> mQueue;
    std::optional<Entry> mHeldBack;  // waits for the datagram that overtakes it
};

}  // namespace simulator

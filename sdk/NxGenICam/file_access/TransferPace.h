#pragma once

#include <chrono>
#include <cstdint>

#include <NxBase/NxResult.h>

/// Ends a transfer with a device that answers and hardly moves: it would take days. A device may
/// still erase its flash, twice, within a transfer of any size.
class TransferPace {
  public:
    using Clock = std::chrono::steady_clock;

    explicit TransferPace(Clock::time_point start) : mStart(start) {}

    /// @param moved bytes since the start
    /// @return kNxTimeout when it took longer than two minutes and a second for every 4 KiB
    [[nodiscard]] NxResult Check(std::uint64_t moved, Clock::time_point now) const;

  private:
    Clock::time_point mStart;
};

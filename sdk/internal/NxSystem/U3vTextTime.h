#pragma once

#include <chrono>
#include <cstddef>

#include <NxBase/NxApi.h>

/// The time in which the texts of several devices are read one after the other, from its making on,
/// however many they are. Slow ones leave time to the others.
class NX_API U3vTextTime {
  public:
    using Clock = std::chrono::steady_clock;

    explicit U3vTextTime(std::size_t devices,
                         std::chrono::milliseconds forAll = std::chrono::milliseconds(800));

    /// How long the next device may take: an equal share of what the ones before have left, half a
    /// second at most; 0 when nothing is left.
    std::chrono::milliseconds TakeShare();

  private:
    Clock::time_point mEnd;
    std::size_t mDevices;
};

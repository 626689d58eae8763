#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <vector>

#include <NxBase/NxResult.h>

#include "Camera.h"

class NxSystem;

/// Finds the cameras of this computer. The cameras found first keep their device records as long as
/// this object lives. Any thread.
class CameraSearch {
  public:
    using Cameras = std::vector<Camera>;
    using Clock = std::chrono::steady_clock;

    CameraSearch();
    ~CameraSearch();
    CameraSearch(const CameraSearch&) = delete;
    CameraSearch& operator=(const CameraSearch&) = delete;

    /// The thorough search at the start of a run: two seconds, up to five more for slow USB3 Vision
    /// cameras. A camera behind two interfaces is listed once, where it can be reached. Sorted by
    /// interface and serial number.
    /// @return as NxSystem::FindAll
    NxResult FindAll(Cameras& cameras);
    /// Cameras found by the latest search, if it began at that time or later; else by a new one,
    /// which takes about a second. Threads that ask at the same time share a search, so that many
    /// waiting for their cameras do not flood the network.
    [[nodiscard]] std::shared_ptr<const Cameras> FoundSince(Clock::time_point earliest);

  private:
    std::unique_ptr<NxSystem> mSystem;
    std::mutex mMutex;
    Clock::time_point mLatestBegin;
    std::shared_ptr<const Cameras> mLatest;
};

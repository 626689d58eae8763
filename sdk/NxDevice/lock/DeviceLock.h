#pragma once

#include <memory>
#include <string>
#include <vector>

#include <NxBase/NxResult.h>
#include <internal/NxSystem/ConnectionId.h>

class LockFile;

/// Keeps other programs of this computer away from a device while this one works with it.
///
/// Everything in this process that works with the device shares the lock; it is given up with the
/// last of them, and by the system when the process ends. Safe to use from any thread.
class DeviceLock {
  public:
    /// Does not wait.
    ///
    /// A device is known by its hardware address, if this process has discovered it, and
    /// by its connection ID. Where the computer has no folder in which every user may create a
    /// file, or the file cannot be created there, nothing is locked: updating has priority.
    /// @param lock set on success, to be kept as long as the device is worked with
    /// @return kNxAccessDenied when another program holds it
    static NxResult Acquire(const ConnectionId& id, std::shared_ptr<DeviceLock>& lock);

    ~DeviceLock();
    DeviceLock(const DeviceLock&) = delete;
    DeviceLock& operator=(const DeviceLock&) = delete;

  private:
    DeviceLock();

    std::vector<std::shared_ptr<LockFile>> mFiles;
};

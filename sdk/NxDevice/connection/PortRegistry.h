#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <NxBase/NxResult.h>
#include <internal/NxSystem/ConnectionId.h>

#include "OpenDevicePort.h"

/// The control channels that this process holds. A device gives control to one program only, so
/// connections to the same device share one. Safe to call from any thread.
class PortRegistry {
  public:
    /// One device's control channel and its description; closed when the last share is released.
    struct Share {
        std::shared_ptr<DevicePort> port;
        std::shared_ptr<const std::string> xml;
        std::shared_ptr<std::mutex> device;  ///< the registry's own
    };

    using Opener = NxResult (*)(const ConnectionId& id, std::shared_ptr<DevicePort>& port);

    static PortRegistry& OfThisProcess();

    /// @param open opens the control channel of a device that this process holds none of
    explicit PortRegistry(Opener open = OpenDevicePort) : mOpen(open) {}

    /// A channel that is there already is handed out only after the device was asked whether it is
    /// still controlled by it. A device that this process has told to restart is given the time for
    /// that.
    /// @param share untouched on failure
    NxResult Acquire(const ConnectionId& id, Share& share);
    /// Gives a share back, and control of the device when it was the last.
    void Release(Share& share);

  private:
    using Clock = std::chrono::steady_clock;

    struct Entry {
        ConnectionId id;
        Clock::time_point opened;
        std::weak_ptr<DevicePort> port;
        std::shared_ptr<const std::string> xml;
    };

    static NxResult AwaitRestart(const ConnectionId& id, DevicePort& port);

    /// Held while that device is connected or released: the next connection to it must wait for
    /// both, those to other devices need not.
    std::shared_ptr<std::mutex> MutexOf(const ConnectionId& id);
    std::vector<Entry> EntriesOf(const ConnectionId& id);

    Opener mOpen;
    std::mutex mMutex;  // guards what follows, never while a device is asked
    std::map<std::string, std::weak_ptr<std::mutex>> mMutexes;
    std::vector<Entry> mEntries;
};

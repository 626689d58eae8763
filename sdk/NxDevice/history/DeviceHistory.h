#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <internal/NxSystem/ConnectionId.h>

#include "DescriptionCopy.h"

/// Whether two connection IDs name one device. Without an interface, any path to the address will
/// do.
[[nodiscard]] bool NameSameDevice(const ConnectionId& one, const ConnectionId& other);

/// What this process remembers of the devices it dealt with, beyond its connections to them: the
/// 64 devices that it dealt with last. Safe to call from any thread.
class DeviceHistory {
  public:
    using Clock = std::chrono::steady_clock;

    static DeviceHistory& OfThisProcess();

    /// The device was told to restart; its next firmware may have another description.
    void NoteReset(const ConnectionId& device);
    /// Whether it was told to restart at or after that time.
    [[nodiscard]] bool WasResetSince(const ConnectionId& device, Clock::time_point time) const;

    /// GenICam file access to the device was not possible, for that reason. It is kept as one
    /// printable line of at most 400 bytes, until the device was connected to.
    void NoteNoFileAccess(const ConnectionId& device, const std::string& reason);
    void NoteConnected(const ConnectionId& device);
    /// Empty when it was possible, or not tried.
    [[nodiscard]] std::string WhyNoFileAccess(const ConnectionId& device) const;

    /// What was read of a device that this process controlled until now. Kept for 10 seconds, in
    /// which no device gets another firmware and restarts with it, for the 8 devices that were
    /// controlled last; not when the device was told to restart in the minute before.
    void KeepDescription(const ConnectionId& device, std::shared_ptr<const DescriptionCopy> copy);
    /// Null when there is none.
    [[nodiscard]] std::shared_ptr<const DescriptionCopy> Description(
        const ConnectionId& device) const;

  private:
    struct Entry {
        ConnectionId device;
        std::optional<Clock::time_point> reset;
        std::string noFileAccess;
        std::shared_ptr<const DescriptionCopy> description;
        Clock::time_point described;
    };

    // With the mutex held.
    [[nodiscard]] const Entry* Find(const ConnectionId& device) const;
    Entry& FindOrAdd(const ConnectionId& device);

    mutable std::mutex mMutex;
    std::vector<Entry> mEntries;  // the one that was dealt with last is last
};

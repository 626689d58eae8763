#pragma once

#include <memory>
#include <optional>
#include <string>

#include <internal/NxGenICam/GenPort.h>
#include <internal/NxSystem/ConnectionId.h>

#include "history/DescriptionCopy.h"

/// The control channel of one device, held by this process until it is destroyed.
///
/// Once a command went unanswered or control was lost, every later command fails at once with the
/// same description, so that closing down after a failure takes no further time.
class DevicePort : public GenPort {
  public:
    /// Names the device to what the process remembers of it; without it nothing is remembered.
    void SetConnectionId(const ConnectionId& id) { mId = id; }

    /// Reads the device's GenICam XML, unpacked when the device stores it zipped.
    /// @param xml the text; untouched on failure
    virtual NxResult ReadDescription(std::string& xml) = 0;
    /// False once commands fail at once.
    [[nodiscard]] virtual bool IsAlive() const = 0;
    /// Asks the device whether it is still the one that was connected, and controlled by this port.
    /// A failure after which the port is alive is that of a device which is there and refuses.
    virtual NxResult Probe();
    /// Kept until the device is connected to again.
    void NoteNoFileAccess(const std::string& reason) override;

  protected:
    /// What this process has read of this device before; null when nothing.
    [[nodiscard]] std::shared_ptr<const DescriptionCopy> EarlierDescription() const;
    void KeepDescription(std::shared_ptr<const DescriptionCopy> copy) const;

  private:
    std::optional<ConnectionId> mId;
};

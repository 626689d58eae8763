#pragma once

#include <atomic>
#include <functional>
#include <string>

#include "IpSettings.h"

namespace simulator {

/// Where a device is on the network.
struct NetworkPlace {
    std::string address = "127.0.0.1";  ///< IPv4, dotted
    std::string interfaceName = "lo";   ///< every socket is bound to it (SO_BINDTODEVICE)
    std::uint32_t mask = 0;             ///< host byte order; 0: that of the interface
    std::uint32_t gateway = 0;          ///< host byte order
};

struct DeviceOptions;
class EventLog;
class FirmwareStore;

/// What a device lends its services; outlives them.
struct DeviceContext {
    const DeviceOptions& options;
    FirmwareStore& firmware;
    EventLog& events;
    const std::atomic<bool>& muted;        ///< while set, nothing may be sent
    const std::atomic<bool>& controlLost;  ///< once set, another application has control
    std::function<void()>
        resetRequested;  ///< reboots the device soon after; may be called anywhere
    /// To be called after each command, once its answer was sent; discovery does not count.
    std::function<void()> commandAnswered;
    IpSettings* ip = nullptr;  ///< null: only for services that do not need it
    /// Restarts the services soon after, at that address; at that of power-on if it is 0.
    std::function<void(const IpAddress&)> moveRequested = {};
};

/// A server that runs while the device is on, e.g. for GVCP or TFTP. Started and stopped by the
/// device's own thread, at power-on, reset and power-off, any number of times.
class DeviceService {
  public:
    virtual ~DeviceService() = default;
    /// A short name for the ready file, e.g. "gvcp".
    [[nodiscard]] virtual std::string Name() const = 0;
    /// Returns once requests are answered.
    /// @param[out] why one line, set when false is returned
    [[nodiscard]] virtual bool Start(const NetworkPlace& place, std::string& why) = 0;
    /// Returns once every socket is closed and no thread runs; a transfer under way is dropped.
    virtual void Stop() = 0;
};

}  // namespace simulator

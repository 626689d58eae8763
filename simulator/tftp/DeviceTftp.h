#pragma once

#include "DeviceTftpFiles.h"
#include "TftpServer.h"

namespace simulator {

class EventLog;

/// The TFTP side of a device. Every transfer ends as an event "tftp" with the members of
/// TftpTransfer.
class DeviceTftp : public DeviceService {
  public:
    /// @param store, events must outlive this object
    DeviceTftp(FirmwareStore& store, EventLog& events, const TftpSettings& settings,
               const TftpFaults& faults);

    [[nodiscard]] std::string Name() const override { return mServer.Name(); }
    [[nodiscard]] bool Start(const NetworkPlace& place, std::string& why) override {
        return mServer.Start(place, why);
    }
    void Stop() override { mServer.Stop(); }
    /// The port that it answers on, between Start and Stop.
    [[nodiscard]] std::uint16_t Port() const { return mServer.Port(); }

  private:
    DeviceTftpFiles mFiles;
    TftpServer mServer;
};

}  // namespace simulator

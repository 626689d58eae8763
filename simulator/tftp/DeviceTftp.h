#pragma once

#include "../DeviceService.h"
#include "DeviceTftpFiles.h"
#include "TftpServer.h"

namespace simulator {

/// The TFTP side of a device. Every transfer ends as an event "tftp" with the members of
/// TftpTransfer.
class DeviceTftp : public DeviceService {
  public:
    /// @param store, events, muted must outlive this object
    /// @param muted while set, nothing is sent
    DeviceTftp(FirmwareStore& store, EventLog& events, const std::atomic<bool>& muted,
               const NetworkPlace& place, const TftpSettings& settings, const TftpFaults& faults);

    [[nodiscard]] std::string Name() const override { return "tftp"; }
    [[nodiscard]] bool Start(std::string& why) override {
        return mServer.Start(mPlace.address, mPlace.interfaceName, why);
    }
    void Stop() override { mServer.Stop(); }
    /// The port that it answers on, between Start and Stop.
    [[nodiscard]] std::uint16_t Port() const { return mServer.Port(); }

  private:
    const NetworkPlace mPlace;
    DeviceTftpFiles mFiles;
    TftpServer mServer;
};

}  // namespace simulator

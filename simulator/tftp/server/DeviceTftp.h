#pragma once

#include "DeviceTftpFiles.h"
#include "TftpServer.h"
#include "simulator/device/DeviceService.h"

namespace simulator {

/// The TFTP side of a device. Every transfer ends as an event "tftp" with the members of
/// TftpTransfer.
class DeviceTftp : public DeviceService {
  public:
    explicit DeviceTftp(const DeviceContext& context);

    [[nodiscard]] std::string Name() const override { return "tftp"; }
    [[nodiscard]] bool Start(const NetworkPlace& place, std::string& why) override {
        return mServer.Start(place.address, place.interfaceName, why);
    }
    void Stop() override { mServer.Stop(); }
    /// The port that it answers on, between Start and Stop.
    [[nodiscard]] std::uint16_t Port() const { return mServer.Port(); }

  private:
    DeviceTftpFiles mFiles;
    TftpServer mServer;
};

}  // namespace simulator

#pragma once

#include "simulator/tftp/protocol/TftpSettings.h"
#include "simulator/tftp/session/TftpFaults.h"
#include "simulator/tftp/session/TftpFiles.h"

namespace simulator {

class FirmwareStore;

/// What a device offers by TFTP: "RemoteUpdateDfw", which payloads and records are written to, and
/// "status", which reports the outcome.
///
/// The store's upload begins with the first DATA packet, not with the request: a late copy of a
/// request must not spoil the status of the transfer that it had already brought about.
class DeviceTftpFiles : public TftpFiles {
  public:
    /// @param store must outlive this object and everything opened
    DeviceTftpFiles(FirmwareStore& store, const TftpSettings& settings, const TftpFaults& faults);

    [[nodiscard]] ForWriting OpenForWriting(const std::string& name,
                                            std::optional<std::uint64_t> size) override;
    [[nodiscard]] ForReading OpenForReading(const std::string& name) override;

  private:
    FirmwareStore& mStore;
    const bool mHoldStatus;
    const std::uint64_t mStatusSize;
    bool mWriting = false;  // a transfer whose DATA has begun to come
};

}  // namespace simulator

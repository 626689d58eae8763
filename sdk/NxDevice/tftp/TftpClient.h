#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include <NxBase/NxResult.h>
#include <NxBase/NxString.h>
#include <internal/NxSystem/ConnectionId.h>

#include "TftpMonitor.h"
#include "TftpSource.h"
#include "TftpWriter.h"
#include "tftp/protocol/TftpOptions.h"

class DeviceLock;

/// What tests and benchmarks may choose for themselves.
struct TftpClientSettings {
    static constexpr std::uint16_t kServerPort = 69;

    std::uint16_t port = kServerPort;
    unsigned int blockSize = 0;   ///< bytes to ask for; 0: what suits the path
    unsigned int windowSize = 0;  ///< blocks to ask for; 0: what suits the block size
};

/// NxTftpClient's work, with settings.
class TftpClient {
  public:
    explicit TftpClient(const TftpClientSettings& settings = {});

    NxResult Init(const NxString& connectionID, const NxString& remoteFileName);
    NxResult SendFile(const NxString& localPath);
    NxResult SendData(std::span<const std::byte> data);
    NxResult GetData(std::span<std::byte> buffer, std::size_t& received);
    [[nodiscard]] const TftpMonitor& Monitor() const { return mMonitor; }

  private:
    using LastSilence = TftpWriter::LastSilence;

    NxResult Send(TftpSource& source, LastSilence lastSilence);
    template <typename Transfer>
    NxResult Run(std::uint64_t size, const Transfer& transfer);
    [[nodiscard]] TftpOptions WantedOptions() const;
    [[nodiscard]] std::string ServerName() const;

    TftpClientSettings mSettings;
    ConnectionId mServer;
    std::shared_ptr<DeviceLock> mLock;  ///< of mServer
    std::string mRemoteFileName;        ///< empty: not initialised
    bool mServerIsSilent = false;       ///< the last transfer ended so
    TftpMonitor mMonitor;
};

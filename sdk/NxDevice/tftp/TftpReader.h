#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include <NxBase/NxResult.h>

#include "TftpSession.h"
#include "tftp/protocol/TftpBlockNumbers.h"
#include "tftp/protocol/TftpOptions.h"
#include "tftp/protocol/TftpTimer.h"

/// Receives a file from a server. One object makes one transfer.
class TftpReader {
  public:
    /// @param buffer receives the file; a longer one is truncated, and the server told so
    TftpReader(TftpSession& session, std::span<std::byte> buffer);

    NxResult Run(const std::string& fileName, TftpOptions wanted);
    /// Bytes put into the buffer so far.
    [[nodiscard]] std::size_t Received() const { return mReceived; }

  private:
    NxResult ReceiveBlocks();
    NxResult OnPacket(const TftpPacket& packet);
    NxResult OnData(const TftpPacket& packet);
    NxResult Store(std::span<const std::byte> data);
    NxResult OnTimeout();
    NxResult SendAck();
    void CutOff();
    [[nodiscard]] std::uint64_t FindBlock(std::uint16_t number);

    TftpSession& mSession;
    std::span<std::byte> mBuffer;
    TftpOptions mOptions;
    TftpTimer mTimer;
    TftpBlockNumbers mNumbers;

    std::size_t mReceived = 0;
    std::uint64_t mBlocks = 0;  ///< blocks received in order
    unsigned int mBlocksSinceAck = 0;
    bool mGapReported = false;  ///< since the last block that came in order
    bool mComplete = false;
    bool mIsCut = false;  ///< the file is longer than the buffer
    TftpSession::TimePoint mAckedAt;
    TftpSession::TimePoint mMovedAt;
};

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <NxBase/NxResult.h>

#include "TftpSession.h"
#include "TftpSource.h"
#include "tftp/protocol/TftpBlockNumbers.h"
#include "tftp/protocol/TftpOptions.h"
#include "tftp/protocol/TftpPacing.h"
#include "tftp/protocol/TftpTimer.h"

/// Sends a file to a server. One object makes one transfer.
class TftpWriter {
  public:
    /// What it means when a server that was sent everything never answers the last block.
    enum class LastSilence {
        kIsFailure,
        kIsArrival,  ///< for what makes the server go away the moment that it has it
    };

    TftpWriter(TftpSession& session, TftpSource& source,
               LastSilence lastSilence = LastSilence::kIsFailure);

    /// @return OK when the server acknowledged the last block; also when it acknowledged all blocks
    ///         before, and answers a repeat of the last one that the transfer is closed
    NxResult Run(const std::string& fileName, TftpOptions wanted);

  private:
    NxResult Open(const std::string& fileName, const TftpOptions& wanted);
    [[nodiscard]] unsigned int LongestWindow(const TftpOptions& options) const;
    NxResult SendBurst();
    NxResult SendBlock(std::uint64_t block);
    NxResult AwaitAcknowledgement();
    [[nodiscard]] bool IsFirstAnswer(const TftpPacket& packet) const;
    [[nodiscard]] bool IsLastAnswer(const TftpPacket& packet) const;
    void Acknowledge(std::uint64_t block);
    NxResult OnTimeout();
    void OnGap();
    void GoBack();
    [[nodiscard]] bool LacksLastBlockAtMost() const;
    [[nodiscard]] bool ShowsClosedTransfer(const TftpPacket& packet) const;
    [[nodiscard]] TftpTimer::Duration SilenceLimit() const;
    [[nodiscard]] bool SilenceIsArrival() const;
    NxResult FellSilent();
    [[nodiscard]] std::uint64_t WindowEnd() const;
    [[nodiscard]] std::uint64_t BytesIn(std::uint64_t blocks) const;

    TftpSession& mSession;
    TftpSource& mSource;
    LastSilence mLastSilence;
    TftpOptions mOptions;
    TftpTimer mTimer;
    TftpPacing mPacing;
    TftpBlockNumbers mNumbers;

    // Blocks are counted from 1; the last one is shorter than a block, perhaps empty.
    std::uint64_t mBlockCount = 0;
    std::uint64_t mAcknowledged = 0;  ///< all blocks up to this one have arrived
    std::uint64_t mNext = 1;          ///< the block to be sent next
    std::uint64_t mHighest = 0;       ///< the highest block sent so far
    std::uint64_t mRepeatedUpTo = 0;  ///< blocks up to this one may have been sent twice
    bool mProbing = false;            ///< the next burst asks what has arrived
    bool mLacksFirstBlock = false;    ///< the server said so, and nothing else since
    bool mAnswerWasRepeated = false;  ///< the last one, since the blocks after it were sent
    bool mEnded = false;

    TftpSession::TimePoint mSentAt;      ///< of the last block sent
    TftpSession::TimePoint mMovedAt;     ///< of the last acknowledgement of something new
    std::vector<std::byte> mPackets;     ///< the window's DATA packets, block modulo window
    std::vector<std::uint64_t> mStored;  ///< which block each of them is
};

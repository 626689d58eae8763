#pragma once

#include <deque>
#include <memory>

#include "TftpSession.h"

namespace simulator {

/// Sends a file, a window of blocks at a time. An acknowledgement of part of a window makes it go
/// on from there (RFC 7440, section 4); a repeated one makes it send nothing twice in lock-step
/// (RFC 1123, section 4.2.3.1). A file that cannot be read yet lets the client wait.
class TftpReadSession : public TftpSession {
  public:
    using TftpSession::TftpSession;

    void Start(Time now) override;
    void MeetRepeatedRequest() override;
    [[nodiscard]] Time Deadline() const override;
    [[nodiscard]] bool HasBegun() const override { return mAcknowledged > 0; }

  private:
    void Take(const TftpPacket& packet, Time now) override;
    void Proceed(Time now) override;
    void Open(Time now);
    void TakeAck(std::uint16_t block, Time now);
    void FillWindow();
    void SendWindow();

    std::unique_ptr<TftpSource> mSource;
    std::deque<Bytes> mWindow;        // DATA packets that are not acknowledged yet
    std::uint64_t mAcknowledged = 0;  // blocks
    bool mAllRead = false;            // the last block is in the window, or acknowledged
    bool mOptionsPending = false;     // the OACK is not acknowledged yet
    bool mStrayAnswered = false;
    Time mHoldEnd;
    Time mNextTry = Time::max();  // to open the file
};

}  // namespace simulator

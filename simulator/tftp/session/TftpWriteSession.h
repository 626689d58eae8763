#pragma once

#include <memory>

#include "TftpSession.h"

namespace simulator {

/// Receives a file: acknowledges each full window and the last block, and at once what it has when
/// a block is missing (RFC 7440, section 4). Repeated blocks are acknowledged and not stored
/// again. The last acknowledgement is repeated on demand for a while.
class TftpWriteSession : public TftpSession {
  public:
    using TftpSession::TftpSession;

    void Start(Time now) override;
    void MeetRepeatedRequest() override;
    [[nodiscard]] Time Deadline() const override;
    [[nodiscard]] bool HasBegun() const override { return mStored > 0; }

  private:
    void Take(const TftpPacket& packet, Time now) override;
    void Proceed(Time now) override;
    void Store(std::span<const std::uint8_t> data, Time now);
    void MeetStray(std::int64_t distance, Time now);
    void Complete(Time now);
    void Acknowledge();

    std::unique_ptr<TftpSink> mSink;
    Bytes mAnswer;              // what is repeated while the client is silent
    std::uint64_t mStored = 0;  // blocks
    unsigned int mInWindow = 0;
    bool mStrayAnswered = false;
    unsigned int mLastAcks = 0;
    Time mDallyEnd = Time::max();
};

}  // namespace simulator

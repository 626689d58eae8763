#include "TftpWriteSession.h"

#include <algorithm>
#include <utility>

namespace simulator {

namespace {

// A client that never stops repeating its last block is not answered for ever.
constexpr unsigned int kMaxLastAcks = 100;

}  // namespace

void TftpWriteSession::Start(Time now) {
    if (!Negotiate(std::nullopt)) {
        return;
    }
    auto opened =
        mContext.files.OpenForWriting(mTransfer.file, TftpAgreement::AnnouncedSize(mRequested));
    if (const auto* refusal = std::get_if<TftpError>(&opened)) {
        Fail(*refusal);
        return;
    }
    mSink = std::get<std::unique_ptr<TftpSink>>(std::move(opened));
    mAnswer = OptionAnswer().value_or(TftpPacket::Ack(0));
    mTimer.Sent(now);
    if (!MeetsFaultAt(0)) {
        Send(mAnswer);
    }
}

void TftpWriteSession::MeetRepeatedRequest() {
    Send(mAnswer);
}

void TftpWriteSession::Take(const TftpPacket& packet, Time now) {
    if (packet.opcode != TftpOpcode::kData) {
        return;
    }
    if (packet.data.size() > mAgreement.blockSize) {
        Fail({TftpErrorCode::kIllegalOperation, "DATA is longer than the block size"});
        return;
    }
    const std::optional<std::int64_t> distance = mNumbers.Distance(mStored, packet.block);
    if (!distance) {
        return;
    }
    if (*distance == 1 && !mTransfer.complete) {
        Store(packet.data, now);
    } else {
        MeetStray(*distance, now);
    }
}

void TftpWriteSession::Store(std::span<const std::uint8_t> data, Time now) {
    if (!mSink->Write(data)) {
        Fail({TftpErrorCode::kDiskFull, "The device cannot take the file"});
        return;
    }
    ++mStored;
    ++mInWindow;
    mStrayAnswered = false;
    mTransfer.bytes += data.size();
    mTimer.Answered(now);
    if (MeetsFaultAt(mTransfer.bytes)) {
        return;
    }
    if (data.size() < mAgreement.blockSize) {
        Complete(now);
    } else if (mInWindow >= mAgreement.windowSize) {
        Acknowledge();
        mTimer.Sent(now);
    }
}

void TftpWriteSession::MeetStray(std::int64_t distance, Time now) {
    if (distance <= 0) {
        ++mTransfer.duplicates;
    }
    // One answer to each burst of strays: the client may take every one as a request to go back.
    // The end of a repeated window is always answered, else its sender would wait.
    if (mStrayAnswered && distance != 0) {
        return;
    }
    mStrayAnswered = true;
    // The timer runs on: strays are not progress, and a client that sends nothing else is given up.
    if (!mTransfer.complete) {
        Acknowledge();
    } else if (mLastAcks < kMaxLastAcks) {
        mDallyEnd =
            std::min(mDallyEnd + mContext.settings.dally / 2, now + mContext.settings.dally);
        Acknowledge();
    }
}

void TftpWriteSession::Complete(Time now) {
    mTransfer.complete = true;
    mDallyEnd = now + mContext.settings.dally;
    mSink->Finish();
    mSink.reset();
    Acknowledge();
}

void TftpWriteSession::Acknowledge() {
    mInWindow = 0;
    mAnswer = mStored == 0 ? OptionAnswer().value_or(TftpPacket::Ack(0))
                           : TftpPacket::Ack(mNumbers.OnWire(mStored));
    if (mTransfer.complete && mLastAcks++ < mContext.faults.lostLastAcks) {
        return;
    }
    Send(mAnswer);
}

void TftpWriteSession::Proceed(Time now) {
    if (mTransfer.complete) {
        End({});
    } else if (MayRepeat(now)) {
        mInWindow = 0;
        mStrayAnswered = false;
        Send(mAnswer);
    }
}

TftpSession::Time TftpWriteSession::Deadline() const {
    return mTransfer.complete ? mDallyEnd : mTimer.Deadline();
}

}  // namespace simulator

#include "TftpReadSession.h"

#include <algorithm>
#include <utility>

namespace simulator {

namespace {

constexpr std::chrono::milliseconds kOpenInterval{20};
constexpr std::size_t kDataHeader = 4;

}  // namespace

void TftpReadSession::Start(Time now) {
    mHoldEnd = now + mContext.settings.maxHold;
    Open(now);
}

void TftpReadSession::Open(Time now) {
    auto opened = mContext.files.OpenForReading(mTransfer.file);
    if (std::holds_alternative<TftpNotYet>(opened)) {
        if (now >= mHoldEnd) {
            Fail({TftpErrorCode::kNotDefined, "The file is not ready"});
        }
        mNextTry = now + kOpenInterval;
        return;
    }
    mNextTry = Time::max();
    if (const auto* refusal = std::get_if<TftpError>(&opened)) {
        Fail(*refusal);
        return;
    }
    mSource = std::get<std::unique_ptr<TftpSource>>(std::move(opened));
    if (!Negotiate(mSource->Size())) {
        return;
    }
    mTimer.Sent(now);
    mOptionsPending = OptionAnswer().has_value();
    if (!MeetsFaultAt(0)) {
        FillWindow();
        SendWindow();
    }
}

void TftpReadSession::MeetRepeatedRequest() {
    if (mSource != nullptr) {
        SendWindow();
    }
}

void TftpReadSession::Take(const TftpPacket& packet, Time now) {
    if (packet.opcode == TftpOpcode::kAck && mSource != nullptr) {
        TakeAck(packet.block, now);
    }
}

void TftpReadSession::TakeAck(std::uint16_t block, Time now) {
    if (mOptionsPending) {
        if (block == 0) {
            mOptionsPending = false;
            mTimer.Answered(now);
            mTimer.Sent(now);
            SendWindow();
        }
        return;
    }
    const std::optional<std::int64_t> distance = mNumbers.Distance(mAcknowledged, block);
    if (!distance || *distance > static_cast<std::int64_t>(mWindow.size())) {
        return;
    }
    if (*distance <= 0) {
        ++mTransfer.duplicates;
        // A whole window was lost but for a block behind the gap; in lock-step there is no such
        // case, and answering would double every packet from here on.
        if (*distance == 0 && mAgreement.windowSize > 1 && mAcknowledged > 0 && !mStrayAnswered) {
            mStrayAnswered = true;
            SendWindow();
        }
        return;
    }
    for (std::int64_t taken = 0; taken < *distance; ++taken) {
        mTransfer.bytes += mWindow.front().size() - kDataHeader;
        mWindow.pop_front();
    }
    mAcknowledged += static_cast<std::uint64_t>(*distance);
    mStrayAnswered = false;
    mTimer.Answered(now);
    if (mWindow.empty() && mAllRead) {
        mTransfer.complete = true;
        End({});
    } else if (!MeetsFaultAt(mTransfer.bytes)) {
        FillWindow();
        mTimer.Sent(now);
        SendWindow();
    }
}

void TftpReadSession::FillWindow() {
    Bytes block(mAgreement.blockSize);
    while (!mAllRead && mWindow.size() < mAgreement.windowSize) {
        const std::size_t size = mSource->Read(block);
        mAllRead = size < block.size();
        const std::uint64_t number = mAcknowledged + mWindow.size() + 1;
        mWindow.push_back(
            TftpPacket::Data(mNumbers.OnWire(number), std::span(block).subspan(0, size)));
    }
}

void TftpReadSession::SendWindow() {
    if (mOptionsPending) {
        Send(OptionAnswer().value_or(TftpPacket::Bytes{}));
        return;
    }
    for (const Bytes& datagram : mWindow) {
        Send(datagram);
    }
}

void TftpReadSession::Proceed(Time now) {
    if (mSource == nullptr) {
        Open(now);
    } else if (MayRepeat(now)) {
        mStrayAnswered = false;
        SendWindow();
    }
}

TftpSession::Time TftpReadSession::Deadline() const {
    return mSource == nullptr ? mNextTry : mTimer.Deadline();
}

}  // namespace simulator

#include "TftpWriter.h"

#include <algorithm>
#include <chrono>

#include <NxBase/NxResultCodes.h>
#include <internal/NxBase/ReturnIfFailed.h>

namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;

constexpr TftpTimer::Duration kShortestTimeout = milliseconds(20);

// A server repeats its first answer, after its time-out of a second or more, until it has the first
// block: one that comes that late shows that the block was lost. An earlier one may be a copy that
// the network made.
constexpr TftpTimer::Duration kLateFirstAnswer = milliseconds(500);

// Answers of one server do not follow each other more evenly than that.
constexpr TftpTimer::Duration kShortestWaitAtGap = microseconds(100);

// When block 65536 stays unanswered that often and that long, its number is tried the other way.
constexpr unsigned int kRetriesBeforeOtherRollover = 3;
constexpr TftpTimer::Duration kWaitBeforeOtherRollover = milliseconds(500);

constexpr std::size_t kHeaderSize = std::tuple_size_v<TftpEncoder::Header>;

}  // namespace

TftpWriter::TftpWriter(TftpSession& session, TftpSource& source, LastSilence lastSilence)
    : mSession(session),
      mSource(source),
      mLastSilence(lastSilence),
      mTimer(kShortestTimeout),
      mPacing(1) {}

NxResult TftpWriter::Run(const std::string& fileName, TftpOptions wanted) {
    wanted.transferSize = mSource.Size();
    wanted.windowSize = LongestWindow(wanted);
    NX_RETURN_IF_FAILED(Open(fileName, wanted));
    if (mOptions.windowSize > LongestWindow(mOptions)) {
        // Smaller blocks were granted, and so there are too many of them for windows.
        (void)mSession.Abort(TftpErrorCode::kOptionsRefused, kNxProtocol,
                             "A file with that many blocks cannot be sent with windows");
        wanted.windowSize = 1;
        NX_RETURN_IF_FAILED(Open(fileName, wanted));
    }
    mBlockCount = mSource.Size() / mOptions.blockSize + 1;
    mPacing = TftpPacing(mOptions.windowSize);
    mPackets.resize(std::size_t{mOptions.windowSize} * (kHeaderSize + mOptions.blockSize));
    mStored.assign(mOptions.windowSize, 0);
    mMovedAt = mSession.Now();
    while (mAcknowledged < mBlockCount && !mEnded) {
        NX_RETURN_IF_FAILED(SendBurst());
        NX_RETURN_IF_FAILED(AwaitAcknowledgement());
    }
    return NxResult();
}

NxResult TftpWriter::Open(const std::string& fileName, const TftpOptions& wanted) {
    TftpPacket answer;
    return mSession.Open(TftpOpcode::kWriteRequest, fileName, wanted, mTimer, mOptions, answer);
}

unsigned int TftpWriter::LongestWindow(const TftpOptions& options) const {
    const std::uint64_t blocks = mSource.Size() / options.blockSize + 1;
    // Where a window goes beyond number 65535, the second block after it could have the number
    // that the server expects of the first one.
    if (blocks > TftpBlockNumbers::kLastBeforeRollover) {
        return 1;
    }
    // At least one acknowledgement is to come before the last window: a server that takes a window
    // to be what it is not shows that before everything has been sent.
    return static_cast<unsigned int>(std::min<std::uint64_t>(options.windowSize, (blocks + 1) / 2));
}

NxResult TftpWriter::SendBurst() {
    const std::uint64_t burst = mProbing ? 1 : mPacing.Burst();
    mProbing = false;
    const std::uint64_t end = std::min(WindowEnd(), mNext + burst - 1);
    for (; mNext <= end; ++mNext) {
        NX_RETURN_IF_FAILED(SendBlock(mNext));
    }
    mHighest = std::max(mHighest, end);
    mSentAt = mSession.Now();
    return NxResult();
}

NxResult TftpWriter::SendBlock(std::uint64_t block) {
    const std::size_t slot = block % mOptions.windowSize;
    const auto packet = std::span(mPackets).subspan(slot * (kHeaderSize + mOptions.blockSize),
                                                    kHeaderSize + mOptions.blockSize);
    const std::uint64_t offset = (block - 1) * mOptions.blockSize;
    const auto length = static_cast<std::size_t>(
        std::min<std::uint64_t>(mOptions.blockSize, mSource.Size() - offset));
    if (mStored[slot] != block) {
        const NxResult result = mSource.Read(offset, packet.subspan(kHeaderSize, length));
        if (!result.IsOK()) {
            return mSession.Abort(TftpErrorCode::kNotDefined, result.GetCode(),
                                  result.GetDescription().GetAscii());
        }
        mStored[slot] = block;
    }
    const TftpEncoder::Header header = TftpEncoder::DataHeader(mNumbers.NumberOf(block));
    std::copy(header.begin(), header.end(), packet.begin());
    mSession.Send(packet.first(kHeaderSize + length));
    return NxResult();
}

NxResult TftpWriter::AwaitAcknowledgement() {
    const bool wholeWindowSent = mNext > WindowEnd();
    bool gap = false;
    TftpSession::TimePoint deadline =
        wholeWindowSent ? std::min(mSentAt + mTimer.Timeout(), mMovedAt + SilenceLimit())
                        : mSentAt + mTimer.Pause();
    for (;;) {
        TftpPacket packet;
        bool timedOut = false;
        NxResult result = mSession.Receive(deadline, packet, timedOut);
        if (!result.IsOK()) {
            mEnded = ShowsClosedTransfer(packet);
            return mEnded ? NxResult() : result;
        }
        if (!timedOut && packet.opcode == TftpOpcode::kData) {
            return mSession.Abort(TftpErrorCode::kIllegalOperation, kNxProtocol,
                                  "its TFTP server replied to a write request with data");
        }
        mAnswerWasRepeated = mAnswerWasRepeated || (!timedOut && IsLastAnswer(packet));
        if (!timedOut && IsFirstAnswer(packet) && wholeWindowSent &&
            mSession.Now() - mSentAt >= kLateFirstAnswer) {
            mLacksFirstBlock = true;
            GoBack();
            return mSession.CheckPace(0);
        }
        // An acknowledgement of nothing new is ignored, never answered: if each copy of an
        // acknowledgement drew a copy of the data, copies would breed copies (RFC 1123, 4.2.3.1).
        const std::uint64_t block =
            !timedOut && packet.opcode == TftpOpcode::kAck
                ? mNumbers.FindAfter(mAcknowledged, packet.number, mHighest - mAcknowledged)
                : 0;
        const TftpSession::TimePoint now = mSession.Now();
        if (block != 0) {
            Acknowledge(block);
            if (block == mHighest) {
                return mSession.CheckPace(BytesIn(mAcknowledged));
            }
            // The server lacks the next block, or it answers more often than agreed. In the
            // second case the next answers are on their way, so wait a little before going back.
            gap = true;
            deadline = now + std::max(mTimer.Pause(), kShortestWaitAtGap);
        } else if (timedOut || now >= deadline) {
            if (gap) {
                OnGap();
                return mSession.CheckPace(BytesIn(mAcknowledged));
            }
            return wholeWindowSent ? OnTimeout() : NxResult();
        }
    }
}

bool TftpWriter::IsFirstAnswer(const TftpPacket& packet) const {
    return mAcknowledged == 0 && (packet.opcode == TftpOpcode::kOptionAck ||
                                  (packet.opcode == TftpOpcode::kAck && packet.number == 0));
}

bool TftpWriter::IsLastAnswer(const TftpPacket& packet) const {
    return IsFirstAnswer(packet) ||
           (packet.opcode == TftpOpcode::kAck && packet.number == mNumbers.NumberOf(mAcknowledged));
}

void TftpWriter::Acknowledge(std::uint64_t block) {
    const TftpSession::TimePoint now = mSession.Now();
    const bool wholeWindow = block == mHighest;
    mAcknowledged = block;
    mLacksFirstBlock = false;
    mAnswerWasRepeated = false;
    mNext = std::max(mNext, block + 1);
    mMovedAt = now;
    mTimer.EndBackOff();
    if (wholeWindow && block > mRepeatedUpTo) {
        mTimer.AddSample(now - mSentAt);
        mPacing.OnCleanWindow();
    }
    mSession.Monitor().Move(BytesIn(block));
}

void TftpWriter::OnGap() {
    mPacing.OnLoss();
    GoBack();
}

void TftpWriter::GoBack() {
    mRepeatedUpTo = mHighest;
    mNext = mAcknowledged + 1;
}

NxResult TftpWriter::OnTimeout() {
    const TftpSession::TimePoint now = mSession.Now();
    if (now - mMovedAt >= SilenceLimit()) {
        return FellSilent();
    }
    mTimer.BackOff();
    mSession.Monitor().Stall(
        mSession.ServerName() + " to acknowledge byte " + std::to_string(BytesIn(mAcknowledged)),
        mMovedAt, mTimer.Retry());
    if (mAcknowledged == TftpBlockNumbers::kLastBeforeRollover &&
        mTimer.Retry() > kRetriesBeforeOtherRollover &&
        now - mMovedAt >= kWaitBeforeOtherRollover) {
        mNumbers.SetRollover(mNumbers.GetRollover() == TftpBlockNumbers::Rollover::kToZero
                                 ? TftpBlockNumbers::Rollover::kToOne
                                 : TftpBlockNumbers::Rollover::kToZero);
    }
    GoBack();
    // One block first: the answer to it says what was lost, some blocks or only an acknowledgement.
    mProbing = true;
    return mSession.CheckPace(BytesIn(mAcknowledged));
}

NxResult TftpWriter::FellSilent() {
    mEnded = SilenceIsArrival();
    if (mEnded) {
        return NxResult();
    }
    std::string reason = "its TFTP server stopped responding after " +
                         std::to_string(BytesIn(mAcknowledged)) + " of " +
                         std::to_string(mSource.Size()) + " bytes";
    if (mHighest == mBlockCount) {
        reason += "; the rest was sent but never acknowledged";
    }
    return mSession.Silence(reason);
}

bool TftpWriter::LacksLastBlockAtMost() const {
    return mAcknowledged + 1 == mBlockCount && mHighest == mBlockCount;
}

// Nobody acknowledges an acknowledgement: a server that has everything may close the transfer
// although its last one was lost, and then knows no transfer when the last block comes once more.
// One that went on to repeat the answer before it was waiting for the last block and gave up.
bool TftpWriter::ShowsClosedTransfer(const TftpPacket& packet) const {
    const bool lastBlockWasRepeated = mRepeatedUpTo == mBlockCount && mNext > mBlockCount;
    return packet.opcode == TftpOpcode::kError &&
           packet.number == static_cast<std::uint16_t>(TftpErrorCode::kUnknownTransferId) &&
           LacksLastBlockAtMost() && lastBlockWasRepeated && !mAnswerWasRepeated;
}

// A simple server writes its flash between the last block and the acknowledgement.
TftpTimer::Duration TftpWriter::SilenceLimit() const {
    const bool maybeFlashing = mLastSilence != LastSilence::kIsArrival && mBlockCount > 1 &&
                               mHighest == mBlockCount && LacksLastBlockAtMost();
    return maybeFlashing ? TftpTimer::kSilenceLimitAtEnd : TftpTimer::kSilenceLimit;
}

// A server that was last heard to lack the first block has not got everything.
bool TftpWriter::SilenceIsArrival() const {
    return mLastSilence == LastSilence::kIsArrival && LacksLastBlockAtMost() && !mLacksFirstBlock &&
           mSession.CanSend();
}

std::uint64_t TftpWriter::WindowEnd() const {
    return std::min(mAcknowledged + mOptions.windowSize, mBlockCount);
}

std::uint64_t TftpWriter::BytesIn(std::uint64_t blocks) const {
    return std::min(blocks * mOptions.blockSize, mSource.Size());
}

#include "TftpReader.h"

#include <algorithm>
#include <chrono>

#include <NxBase/NxResultCodes.h>
#include <internal/NxBase/ReturnIfFailed.h>

namespace {

// It is the server that repeats lost data; acknowledging again only covers lost acknowledgements.
constexpr TftpTimer::Duration kShortestTimeout = std::chrono::milliseconds(100);

}  // namespace

TftpReader::TftpReader(TftpSession& session, std::span<std::byte> buffer)
    : mSession(session), mBuffer(buffer), mTimer(kShortestTimeout) {}

NxResult TftpReader::Run(const std::string& fileName, TftpOptions wanted) {
    wanted.transferSize = 0;
    // With windows, block 1 after number 65535 could be the first one after a rollover to 1 or the
    // second one after a rollover to 0. A buffer too small for that many blocks rules both out.
    if (mBuffer.size() / wanted.blockSize >= TftpBlockNumbers::kLastBeforeRollover) {
        wanted.windowSize = 1;
    }
    TftpPacket answer;
    NX_RETURN_IF_FAILED(
        mSession.Open(TftpOpcode::kReadRequest, fileName, wanted, mTimer, mOptions, answer));
    mMovedAt = mSession.Now();
    if (answer.opcode == TftpOpcode::kOptionAck) {
        mSession.Monitor().SetTotal(
            std::min<std::uint64_t>(mOptions.transferSize.value_or(0), mBuffer.size()));
        NX_RETURN_IF_FAILED(SendAck());
    } else {
        NX_RETURN_IF_FAILED(OnData(answer));
    }
    NX_RETURN_IF_FAILED(ReceiveBlocks());
    mSession.Monitor().SetTotal(mReceived);
    return {};
}

NxResult TftpReader::ReceiveBlocks() {
    while (!mComplete) {
        const TftpSession::TimePoint deadline =
            std::min(mAckedAt + mTimer.Timeout(), mMovedAt + TftpTimer::kSilenceLimit);
        TftpPacket packet;
        bool timedOut = false;
        NX_RETURN_IF_FAILED(mSession.Receive(deadline, packet, timedOut));
        if (!timedOut) {
            NX_RETURN_IF_FAILED(OnPacket(packet));
        }
        if (!mComplete && mSession.Now() >= deadline) {
            NX_RETURN_IF_FAILED(OnTimeout());
        }
        NX_RETURN_IF_FAILED(mSession.CheckPace(mReceived));
    }
    return NxResult();
}

NxResult TftpReader::OnPacket(const TftpPacket& packet) {
    if (packet.opcode == TftpOpcode::kData) {
        return OnData(packet);
    }
    if (packet.opcode == TftpOpcode::kOptionAck) {
        // Sent again: the acknowledgement of the first one was lost.
        return mBlocks == 0 ? SendAck() : NxResult();
    }
    return mSession.Abort(TftpErrorCode::kIllegalOperation, kNxProtocol,
                          "its TFTP server replied to a read request with an ACK");
}

NxResult TftpReader::OnData(const TftpPacket& packet) {
    const std::uint64_t block = FindBlock(packet.number);
    if (block == mBlocks + 1) {
        NxResult result = Store(packet.data);
        if (!result.IsOK() || mIsCut) {
            return result;
        }
        return mComplete || mBlocksSinceAck == mOptions.windowSize ? SendAck() : NxResult();
    }
    if (block != 0) {
        // A block is missing in between. The server goes back when told to (RFC 7440, section 4);
        // once is enough.
        const bool reported = mGapReported;
        mGapReported = true;
        return reported ? NxResult() : SendAck();
    }
    const bool isLastReceived = mBlocks > 0 && packet.number == mNumbers.NumberOf(mBlocks);
    // Sent again: its acknowledgement was lost.
    return isLastReceived ? SendAck() : NxResult();
}

std::uint64_t TftpReader::FindBlock(std::uint16_t number) {
    if (mBlocks == TftpBlockNumbers::kLastBeforeRollover && mOptions.windowSize == 1 &&
        number <= 1) {
        mNumbers.SetRollover(number == 0 ? TftpBlockNumbers::Rollover::kToZero
                                         : TftpBlockNumbers::Rollover::kToOne);
    }
    return mNumbers.FindAfter(mBlocks, number, mOptions.windowSize);
}

NxResult TftpReader::Store(std::span<const std::byte> data) {
    if (data.size() > mOptions.blockSize) {
        return mSession.Abort(TftpErrorCode::kIllegalOperation, kNxProtocol,
                              "its TFTP server sent a block of " + std::to_string(data.size()) +
                                  " bytes; the negotiated size is " +
                                  std::to_string(mOptions.blockSize));
    }
    const auto kept = data.first(std::min(data.size(), mBuffer.size() - mReceived));
    std::copy(kept.begin(), kept.end(), mBuffer.begin() + static_cast<std::ptrdiff_t>(mReceived));
    mReceived += kept.size();
    if (kept.size() < data.size()) {
        CutOff();
        return NxResult();
    }
    ++mBlocks;
    ++mBlocksSinceAck;
    mGapReported = false;
    mComplete = data.size() < mOptions.blockSize;
    mMovedAt = mSession.Now();
    if (mTimer.Retry() == 0 && mBlocksSinceAck == 1) {
        mTimer.AddSample(mMovedAt - mAckedAt);
    }
    mTimer.EndBackOff();
    mSession.Monitor().Move(mReceived);
    return NxResult();
}

NxResult TftpReader::OnTimeout() {
    const TftpSession::TimePoint now = mSession.Now();
    if (now - mMovedAt >= TftpTimer::kSilenceLimit) {
        return mSession.Silence("its TFTP server stopped sending after " +
                                std::to_string(mReceived) + " bytes");
    }
    mTimer.BackOff();
    mSession.Monitor().Stall(mSession.ServerName() + " to send byte " + std::to_string(mReceived),
                             mMovedAt, mTimer.Retry());
    return SendAck();
}

NxResult TftpReader::SendAck() {
    mBlocksSinceAck = 0;
    mAckedAt = mSession.Now();
    mSession.Send(TftpEncoder::Ack(mNumbers.NumberOf(mBlocks)));
    return NxResult();
}

// The beginning of a text is worth more to the user than a complaint about its length.
void TftpReader::CutOff() {
    mIsCut = true;
    mComplete = true;
    (void)mSession.Abort(TftpErrorCode::kDiskFull, kNxBufferTooSmall,
                         "Only the first " + std::to_string(mBuffer.size()) + " bytes are needed");
}

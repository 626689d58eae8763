#include "TftpSession.h"

#include <utility>

namespace simulator {

namespace {

void Replace(TftpOptionList& options, const std::string& name, const std::string& value) {
    for (auto& option : options) {
        if (option.first == name) {
            option.second = value;
            return;
        }
    }
    options.emplace_back(name, value);
}

}  // namespace

TftpSession::TftpSession(const Context& context, const TftpPacket& request)
    : mContext(context),
      mRequested(request.options),
      mNumbers(mContext.settings.rollover),
      mTimer(mContext.settings) {
    mTransfer.write = request.opcode == TftpOpcode::kWriteRequest;
    mTransfer.file = request.file;
}

TftpSession::~TftpSession() = default;

std::vector<TftpSession::Bytes> TftpSession::TakeOutgoing() {
    return std::exchange(mOutgoing, {});
}

void TftpSession::Receive(const TftpPacket& packet, Time now) {
    if (!IsOver() && packet.opcode == TftpOpcode::kError) {
        End("client: " + packet.error.text);
    } else if (!IsOver()) {
        Take(packet, now);
    }
}

void TftpSession::Expire(Time now) {
    if (!IsOver()) {
        Proceed(now);
    }
}

bool TftpSession::MayRepeat(Time now) {
    if (!mTimer.Repeat(now)) {
        Fail({TftpErrorCode::kNotDefined, "Timed out"});
        return false;
    }
    ++mTransfer.repetitions;
    return true;
}

void TftpSession::NoteAnswered() const {
    if (mContext.packetAnswered && (mContext.muted == nullptr || !*mContext.muted)) {
        mContext.packetAnswered();
    }
}

void TftpSession::Abandon(const std::string& why) {
    if (!IsSettled()) {
        End(why);
    }
}

bool TftpSession::Negotiate(std::optional<std::uint64_t> fileSize) {
    if (mContext.faults.firstAnswer == TftpFirstAnswer::kError) {
        Fail({TftpErrorCode::kNotDefined, "Try again later"});
        return false;
    }
    auto terms =
        TftpAgreement::Negotiate(mRequested, mContext.settings, fileSize, mContext.receiveBuffer);
    if (const auto* refusal = std::get_if<TftpError>(&terms)) {
        Fail(*refusal);
        return false;
    }
    mAgreement = std::get<TftpAgreement>(std::move(terms));
    mTransfer.blockSize = mAgreement.blockSize;
    mTransfer.windowSize = mAgreement.windowSize;
    if (mAgreement.timeout) {
        mTimer.Fix(*mAgreement.timeout);
    }
    return true;
}

std::optional<TftpSession::Bytes> TftpSession::OptionAnswer() const {
    TftpOptionList options = mAgreement.granted;
    switch (mContext.faults.firstAnswer) {
        case TftpFirstAnswer::kRegular:
        case TftpFirstAnswer::kError:
            break;
        case TftpFirstAnswer::kBlockSizeAboveRequest:
            Replace(options, "blksize", std::to_string(mAgreement.blockSize + 1));
            break;
        case TftpFirstAnswer::kBlockSizeTooSmall:
            Replace(options, "blksize", "7");
            break;
        case TftpFirstAnswer::kWindowSizeZero:
            Replace(options, "windowsize", "0");
            break;
        case TftpFirstAnswer::kUnrequestedOption:
            Replace(options, "multicast", "224.0.0.5,1758,1");
            break;
        case TftpFirstAnswer::kGarbage:
            for (auto& option : options) {
                option.second = "-" + option.second + "x";
            }
            break;
    }
    return options.empty() ? std::nullopt : std::optional(TftpPacket::OptionAck(options));
}

bool TftpSession::MeetsFaultAt(std::uint64_t bytes) {
    if (mContext.faults.errorAtByte && bytes >= *mContext.faults.errorAtByte) {
        Fail({TftpErrorCode::kDiskFull, "Flash write error"});
        return true;
    }
    mSilent = mSilent || (mContext.faults.silentAtByte && bytes >= *mContext.faults.silentAtByte);
    return mSilent;
}

void TftpSession::Send(Bytes datagram) {
    const bool muted = mContext.muted != nullptr && *mContext.muted;
    if (!mSilent && !muted) {
        mOutgoing.push_back(std::move(datagram));
    }
}

void TftpSession::Fail(const TftpError& error) {
    Send(TftpPacket::Error(error));
    End(error.text);
}

void TftpSession::End(const std::string& failure) {
    mOver = true;
    if (!mTransfer.complete) {
        mTransfer.failure = failure;
    }
}

}  // namespace simulator

#include "TftpSession.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

#include <NxBase/NxResultCodes.h>
#include <internal/NxBase/ReturnIfFailed.h>

namespace {

constexpr std::size_t kLargestDatagram = 65536;

// A server that answers now and then could hold a transfer up for ever otherwise.
constexpr std::chrono::seconds kPaceGrace{60};
constexpr std::uint64_t kSlowestBytesPerSecond = 4096;

// By the ERROR packet's code (RFC 1350, appendix; RFC 2347 for the last).
constexpr std::array kMeanings{
    "not defined",         "file not found",    "access violation",
    "disk full",           "illegal operation", "unknown transfer",
    "file already exists", "no such user",      "option negotiation failed",
};

const char* Meaning(std::uint16_t errorCode) {
    return errorCode < kMeanings.size() ? kMeanings[errorCode] : "unknown code";
}

bool IsFirstAnswer(TftpOpcode request, bool withOptions, const TftpPacket& packet) {
    switch (packet.opcode) {
        case TftpOpcode::kAck:
            return request == TftpOpcode::kWriteRequest && packet.number == 0;
        case TftpOpcode::kData:
            return request == TftpOpcode::kReadRequest && packet.number == 1;
        case TftpOpcode::kOptionAck:
            return withOptions;
        case TftpOpcode::kError:
            // Without options asked for, it can only be a late answer to an earlier request.
            return withOptions ||
                   packet.number != static_cast<std::uint16_t>(TftpErrorCode::kOptionsRefused);
        default:
            return false;
    }
}

}  // namespace

TftpSession::TftpSession(DatagramSocket& socket, const Endpoint& server, std::string serverName,
                         TftpMonitor& monitor)
    : mSocket(socket),
      mServer(server),
      mServerName(std::move(serverName)),
      mMonitor(monitor),
      mStart(socket.Now()),
      mBuffer(kLargestDatagram) {}

NxResult TftpSession::Open(TftpOpcode request, const std::string& fileName,
                           const TftpOptions& wanted, TftpTimer& timer, TftpOptions& agreed,
                           TftpPacket& answer) {
    mAction = (request == TftpOpcode::kWriteRequest ? "send " : "read ") + fileName +
              (request == TftpOpcode::kWriteRequest ? " to " : " from ") + mServerName;
    const std::vector<TftpOption> options = wanted.ToRequest();
    const bool withOptions = !options.empty();
    NxResult result = Request(TftpEncoder::Request(request, fileName, options), request,
                              withOptions, timer, answer);
    if (result.IsOK() && withOptions && answer.opcode == TftpOpcode::kError &&
        answer.number == static_cast<std::uint16_t>(TftpErrorCode::kOptionsRefused)) {
        mPeer.reset();
        result =
            Request(TftpEncoder::Request(request, fileName, {}), request, false, timer, answer);
    }
    NX_RETURN_IF_FAILED(result);
    if (answer.opcode == TftpOpcode::kError) {
        return ServerError(answer);
    }
    agreed = TftpOptions();
    if (answer.opcode == TftpOpcode::kOptionAck) {
        const std::string problem = wanted.Agree(answer, agreed);
        if (!problem.empty()) {
            return Abort(TftpErrorCode::kOptionsRefused, kNxProtocol, problem);
        }
    }
    return NxResult();
}

NxResult TftpSession::Request(std::span<const std::byte> request, TftpOpcode opcode,
                              bool withOptions, TftpTimer& timer, TftpPacket& answer) {
    const TimePoint start = Now();
    const TimePoint giveUp = start + mAnswerLimit;
    // No back-off: a lost request is the likeliest cause of silence.
    const TftpTimer::Duration timeout = std::min(TftpTimer::kFirstTimeout, mAnswerLimit / 4);
    timer.EndBackOff();
    for (;;) {
        const TimePoint sentAt = Now();
        mSendFailure = mSocket.Send(mServer, request);
        bool timedOut = false;
        NX_RETURN_IF_FAILED(
            AwaitAnswer(opcode, withOptions, std::min(sentAt + timeout, giveUp), answer, timedOut));
        if (!timedOut) {
            if (timer.Retry() == 0) {
                timer.AddSample(Now() - sentAt);
            }
            timer.EndBackOff();
            mMonitor.Move(0);
            return NxResult();
        }
        if (Now() >= giveUp) {
            return Silence(
                "its TFTP server has not responded for " +
                std::to_string(
                    std::chrono::duration_cast<std::chrono::seconds>(mAnswerLimit).count()) +
                " s; check cable, power and address");
        }
        timer.BackOff();
        mMonitor.Stall(mServerName + " to reply to the request", start, timer.Retry());
    }
}

template <typename Take>
NxResult TftpSession::ReceiveUntil(TimePoint deadline, bool& timedOut, const Take& take) {
    for (;;) {
        std::size_t length = 0;
        Endpoint from;
        NxResult result = mSocket.Receive(mBuffer, deadline, length, from, timedOut);
        if (!result.IsOK()) {
            return Failure(result.GetCode(), result.GetDescription().GetAscii());
        }
        if (timedOut || take(from, std::span<const std::byte>(mBuffer).first(length))) {
            return {};
        }
        // Datagrams that are not taken may come without end.
        if (Now() >= deadline) {
            timedOut = true;
            return {};
        }
    }
}

NxResult TftpSession::AwaitAnswer(TftpOpcode request, bool withOptions, TimePoint deadline,
                                  TftpPacket& answer, bool& timedOut) {
    return ReceiveUntil(deadline, timedOut, [&](const Endpoint& from, auto datagram) {
        if (from.address != mServer.address || !TftpPacket::Parse(datagram, answer) ||
            !IsFirstAnswer(request, withOptions, answer)) {
            return false;
        }
        // It fixes the server's port for the rest of the transfer.
        mPeer = from;
        return true;
    });
}

void TftpSession::Send(std::span<const std::byte> datagram) {
    mSendFailure = mSocket.Send(*mPeer, datagram);
}

NxResult TftpSession::Receive(TimePoint deadline, TftpPacket& packet, bool& timedOut) {
    NX_RETURN_IF_FAILED(ReceiveUntil(deadline, timedOut, [&](const Endpoint& from, auto datagram) {
        if (from != *mPeer) {
            RejectForeign(from, datagram);
            return false;
        }
        return TftpPacket::Parse(datagram, packet);
    }));
    return !timedOut && packet.opcode == TftpOpcode::kError ? ServerError(packet) : NxResult();
}

void TftpSession::RejectForeign(const Endpoint& from, std::span<const std::byte> datagram) {
    TftpPacket packet;
    // An ERROR is never answered with an ERROR: two programs could go on like that for ever.
    if (TftpPacket::Parse(datagram, packet) && packet.opcode != TftpOpcode::kError) {
        (void)mSocket.Send(
            from, TftpEncoder::Error(TftpErrorCode::kUnknownTransferId, "Unknown transfer ID"));
    }
}

NxResult TftpSession::CheckPace(std::uint64_t done) const {
    const auto elapsed = std::chrono::duration_cast<std::chrono::seconds>(Now() - mStart);
    const std::chrono::seconds allowed =
        kPaceGrace + std::chrono::seconds(done / kSlowestBytesPerSecond);
    if (elapsed <= allowed) {
        return NxResult();
    }
    return Failure(kNxTimeout, "only " + std::to_string(done) + " bytes were transferred in " +
                                   std::to_string(elapsed.count()) + " s");
}

NxResult TftpSession::Abort(TftpErrorCode code, unsigned int resultCode,
                            const std::string& reason) {
    if (mPeer.has_value()) {
        (void)mSocket.Send(*mPeer, TftpEncoder::Error(code, reason));
    }
    return Failure(resultCode, reason);
}

NxResult TftpSession::Failure(unsigned int resultCode, const std::string& reason) const {
    return NxResult(resultCode, "Cannot " + mAction + ": " + reason);
}

NxResult TftpSession::Silence(const std::string& reason) {
    mEndedInSilence = true;
    return mSendFailure.IsOK()
               ? Failure(kNxTimeout, reason)
               : Failure(mSendFailure.GetCode(), mSendFailure.GetDescription().GetAscii());
}

NxResult TftpSession::ServerError(const TftpPacket& packet) const {
    std::string reason = "its TFTP server sent ERROR " + std::to_string(packet.number) + " (" +
                         Meaning(packet.number) + ")";
    if (!packet.text.empty()) {
        reason += ": \"" + packet.text + "\"";
    }
    return Failure(kNxTftpError, reason);
}

#include "TftpConnection.h"

#include <algorithm>
#include <array>
#include <utility>

namespace simulator {

namespace {

constexpr std::size_t kMaxDatagram = 65536;
// Other connections get their turn after so many datagrams.
constexpr int kMaxAtOnce = 128;

}  // namespace

TftpConnection::TftpConnection(TftpSocket socket, std::optional<TftpSocket> stranger,
                               const TftpEndpoint& peer, Bytes request,
                               std::unique_ptr<TftpSession> session, const TftpFaults& faults,
                               std::uint64_t line, Time now)
    : mSocket(std::move(socket)),
      mStranger(std::move(stranger)),
      mPeer(peer),
      mRequest(std::move(request)),
      mSession(std::move(session)),
      mDisturbed(faults.DisturbDatagrams()),
      mInward(faults, line * 2),
      mOutward(faults, line * 2 + 1),
      mBegun(now) {
    mSession->Start(now);
    Flush(now);
}

void TftpConnection::Advance(Time now) {
    std::array<std::uint8_t, kMaxDatagram> buffer;  // NOLINT: 64 KiB need no zeros
    TftpEndpoint from;
    for (int taken = 0; taken < kMaxAtOnce; ++taken) {
        const std::optional<std::size_t> size = mSocket.Receive(buffer, from);
        if (!size) {
            break;
        }
        const std::span<const std::uint8_t> datagram = std::span(buffer).subspan(0, *size);
        if (from != mPeer) {
            RejectStranger(from, datagram);
        } else if (mDisturbed) {
            mInward.Put({datagram.begin(), datagram.end()}, now);
        } else {
            Deliver(datagram, now);
        }
    }
    for (const Bytes& datagram : mInward.Take(now)) {
        Deliver(datagram, now);
    }
    if (!mSession->IsOver() && mSession->Deadline() <= now) {
        mSession->Expire(now);
    }
    CountRejections();
    Flush(now);
}

void TftpConnection::Deliver(std::span<const std::uint8_t> datagram, Time now) {
    if (const std::optional<TftpPacket> packet = TftpPacket::Parse(datagram)) {
        mSession->Receive(*packet, now);
        Flush(now);
    }
}

bool TftpConnection::Absorb(std::span<const std::uint8_t> request, Time now) {
    if (mSession->IsSettled() || !std::ranges::equal(request, mRequest)) {
        return false;
    }
    if (!mSession->HasBegun()) {
        mSession->MeetRepeatedRequest(now);
        Flush(now);
    }
    return true;
}

TftpConnection::Time TftpConnection::Deadline() const {
    const Time disturbed = std::min(mInward.NextAt(), mOutward.NextAt());
    return mSession->IsOver() ? disturbed : std::min(disturbed, mSession->Deadline());
}

bool TftpConnection::IsOver() const {
    return mSession->IsOver() && mOutward.NextAt() == Time::max();
}

std::optional<TftpTransfer> TftpConnection::TakeAccount() {
    if (mAccounted || !mSession->IsSettled()) {
        return std::nullopt;
    }
    mAccounted = true;
    TftpTransfer transfer = mSession->Transfer();
    transfer.peer = mPeer.Text();
    transfer.rejectedForgeries = mRejections;
    return transfer;
}

void TftpConnection::RejectStranger(const TftpEndpoint& from,
                                    std::span<const std::uint8_t> datagram) const {
    const std::optional<TftpPacket> packet = TftpPacket::Parse(datagram);
    // An ERROR is never answered, else two parties could send them to and fro for ever.
    if (packet && packet->opcode != TftpOpcode::kError) {
        mSocket.Send(from,
                     TftpPacket::Error({TftpErrorCode::kUnknownTransferId, "Unknown transfer ID"}));
    }
}

void TftpConnection::Forge(const Bytes& datagram) {
    Bytes forged = datagram;
    if (forged.size() >= 4 && forged[1] == static_cast<std::uint8_t>(TftpOpcode::kAck)) {
        forged[3] = static_cast<std::uint8_t>(forged[3] + 1);
    } else if (forged.size() >= 4 && forged[1] == static_cast<std::uint8_t>(TftpOpcode::kData)) {
        std::for_each(forged.begin() + 4, forged.end(), [](std::uint8_t& byte) { byte ^= 0xFFU; });
    } else {
        forged = TftpPacket::Error({TftpErrorCode::kNotDefined, "Forged"});
    }
    mStranger->Send(mPeer, forged);
}

void TftpConnection::CountRejections() {
    std::array<std::uint8_t, 64> buffer{};
    TftpEndpoint from;
    while (mStranger) {
        const std::optional<std::size_t> size = mStranger->Receive(buffer, from);
        if (!size) {
            break;
        }
        const auto packet = TftpPacket::Parse(std::span(buffer).subspan(0, *size));
        if (packet && packet->opcode == TftpOpcode::kError &&
            packet->error.code == TftpErrorCode::kUnknownTransferId) {
            ++mRejections;
        }
    }
}

void TftpConnection::Flush(Time now) {
    for (Bytes& datagram : mSession->TakeOutgoing()) {
        // The request's first answer stays genuine: it is what tells the client the true port.
        if (mStranger && mSession->HasBegun()) {
            Forge(datagram);
        }
        if (mDisturbed) {
            mOutward.Put(std::move(datagram), now);
        } else {
            mSocket.Send(mPeer, datagram);
        }
    }
    for (const Bytes& datagram : mOutward.Take(now)) {
        mSocket.Send(mPeer, datagram);
    }
}

}  // namespace simulator

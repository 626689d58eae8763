#include "TftpConnection.h"

#include <algorithm>
#include <utility>

namespace simulator {

namespace {

// Other connections get their turn after so many datagrams.
constexpr int kMaxAtOnce = 128;

}  // namespace

TftpConnection::TftpConnection(BoundSocket socket, std::optional<BoundSocket> stranger,
                               const Peer& peer, Bytes request,
                               std::unique_ptr<TftpSession> session, const DatagramFaults& faults,
                               std::uint32_t seed, std::chrono::microseconds latency, Time now)
    : mSocket(std::move(socket)),
      mStranger(std::move(stranger)),
      mPeer(peer),
      mRequest(std::move(request)),
      mSession(std::move(session)),
      mInward(faults, seed),
      mOutward(faults, ~seed),
      mLatency(latency),
      mBegun(now) {
    mSession->Start(now);
    Flush(now);
    mSession->NoteAnswered();
}

void TftpConnection::Advance(Time now) {
    for (int taken = 0; taken < kMaxAtOnce; ++taken) {
        std::optional<Datagram> datagram = mSocket.Receive();
        if (!datagram) {
            break;
        }
        if (datagram->peer != mPeer) {
            RejectStranger(*datagram);
        } else {
            Deliver(mInward.Pass(std::move(*datagram), now), now);
        }
    }
    Deliver(mInward.TakeDue(now), now);
    if (!mSession->IsOver() && mSession->Deadline() <= now) {
        mSession->Expire(now);
    }
    CountRejections();
    Flush(now);
}

void TftpConnection::Deliver(const std::vector<Datagram>& arrived, Time now) {
    for (const Datagram& datagram : arrived) {
        if (const std::optional<TftpPacket> packet = TftpPacket::Parse(datagram.bytes)) {
            mSession->Receive(*packet, now);
            Flush(now);
            mSession->NoteAnswered();
        }
    }
}

void TftpConnection::Send(std::vector<Datagram> leaving, Time now) {
    for (Datagram& datagram : leaving) {
        mUnderWay.emplace_back(now + mLatency, std::move(datagram));
    }
    SendDue(now);
}

void TftpConnection::SendDue(Time now) {
    while (!mUnderWay.empty() && mUnderWay.front().first <= now) {
        mSocket.Send(mUnderWay.front().second);
        mUnderWay.pop_front();
    }
}

bool TftpConnection::Absorb(std::span<const std::uint8_t> request, Time now) {
    if (mSession->IsSettled() || !std::ranges::equal(request, mRequest)) {
        return false;
    }
    if (!mSession->HasBegun()) {
        mSession->MeetRepeatedRequest();
        Flush(now);
    }
    return true;
}

TftpConnection::Time TftpConnection::Deadline() const {
    Time next = mSession->IsOver() ? Time::max() : mSession->Deadline();
    for (const auto& due : {mInward.NextDue(), mOutward.NextDue()}) {
        next = std::min(next, due.value_or(next));
    }
    return mUnderWay.empty() ? next : std::min(next, mUnderWay.front().first);
}

bool TftpConnection::IsOver() const {
    return mSession->IsOver() && !mOutward.NextDue() && mUnderWay.empty();
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

void TftpConnection::RejectStranger(const Datagram& datagram) const {
    const std::optional<TftpPacket> packet = TftpPacket::Parse(datagram.bytes);
    // An ERROR is never answered, else two parties could send them to and fro for ever.
    if (packet && packet->opcode != TftpOpcode::kError) {
        mSocket.Send(datagram.peer,
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
    while (mStranger) {
        const std::optional<Datagram> datagram = mStranger->Receive();
        if (!datagram) {
            break;
        }
        const auto packet = TftpPacket::Parse(datagram->bytes);
        if (packet && packet->opcode == TftpOpcode::kError &&
            packet->error.code == TftpErrorCode::kUnknownTransferId) {
            ++mRejections;
        }
    }
}

void TftpConnection::Flush(Time now) {
    for (Bytes& datagram : mSession->TakeOutgoing()) {
        // The request's first answer stays genuine: it gives the client the true port.
        if (mStranger && mSession->HasBegun()) {
            Forge(datagram);
        }
        Send(mOutward.Pass({mPeer, std::move(datagram)}, now), now);
    }
    Send(mOutward.TakeDue(now), now);
}

}  // namespace simulator

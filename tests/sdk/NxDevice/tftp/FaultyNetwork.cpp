#include "FaultyNetwork.h"

#include <algorithm>

#include "Bytes.h"
#include "TftpScript.h"

namespace {

using std::chrono::microseconds;

constexpr microseconds kLatency{80};
constexpr microseconds kSendTime{1};

}  // namespace

FaultyNetwork::FaultyNetwork(FakeTftpServer& server, const Faults& faults, unsigned int seed)
    : mServer(server), mFaults(faults), mRandom(seed), mNextForeign(mNow) {}

bool FaultyNetwork::Happens(double probability) {
    return std::uniform_real_distribution<>(0, 1)(mRandom) < probability;
}

DatagramSocket::Clock::duration FaultyNetwork::UpTo(microseconds longest) {
    return microseconds(std::uniform_int_distribution<long>(0, longest.count())(mRandom));
}

void FaultyNetwork::Transmit(const Event& event, Clock::duration delay) {
    delay += kLatency;
    if (Happens(mFaults.reordering)) {
        delay += UpTo(std::chrono::milliseconds(5));
    }
    if (!Happens(mFaults.loss)) {
        mEvents.emplace(mNow + delay, event);
    }
    if (Happens(mFaults.duplication)) {
        mEvents.emplace(mNow + delay + UpTo(microseconds(100)), event);
    }
    if (Happens(mFaults.lateDuplication)) {
        mEvents.emplace(mNow + delay + UpTo(std::chrono::milliseconds(300)), event);
    }
}

NxResult FaultyNetwork::Send(const Endpoint& to, std::span<const std::byte> datagram) {
    mNow += kSendTime;
    if (to.address == TftpScript::kServer.address) {
        Transmit({true, to, TextOf(datagram)}, {});
    } else if (TextOf(datagram.first(4)) == TftpScript::Number(5) + TftpScript::Number(5)) {
        ++mRejections;
    }
    return NxResult();
}

void FaultyNetwork::ToClient(const std::vector<FakeTftpServer::Datagram>& datagrams) {
    Clock::duration delay = mServer.AnswerDelay();
    for (const FakeTftpServer::Datagram& datagram : datagrams) {
        delay += kSendTime;
        Transmit({false, {TftpScript::kServer.address, datagram.port}, datagram.bytes}, delay);
    }
}

NxResult FaultyNetwork::Receive(std::span<std::byte> buffer, Clock::time_point deadline,
                                std::size_t& length, Endpoint& from, bool& timedOut) {
    timedOut = false;
    for (;;) {
        Clock::time_point next = deadline;
        const auto timer = mServer.NextTimer();
        if (timer.has_value()) {
            next = std::min(next, *timer);
        }
        if (!mEvents.empty()) {
            next = std::min(next, mEvents.begin()->first);
        }
        const bool foreign = mFaults.foreignEvery.count() > 0 && mNextForeign <= next;
        if (foreign) {
            mNow = std::max(mNow, mNextForeign);
            mNextForeign = mNow + mFaults.foreignEvery;
            const std::string bytes = TftpScript::Ack(1);
            length = bytes.size();
            std::copy_n(BytesOf(bytes).begin(), length, buffer.begin());
            from = TftpScript::kForeignAddress;
            return NxResult();
        }
        mNow = std::max(mNow, next);
        if (!mEvents.empty() && mEvents.begin()->first <= mNow) {
            const Event event = mEvents.begin()->second;
            mEvents.erase(mEvents.begin());
            if (event.toServer) {
                ToClient(mServer.OnDatagram({event.endpoint.port, event.bytes}, mNow));
                continue;
            }
            length = std::min(event.bytes.size(), buffer.size());
            std::copy_n(BytesOf(event.bytes).begin(), length, buffer.begin());
            from = event.endpoint;
            return NxResult();
        }
        if (timer.has_value() && *timer <= mNow) {
            ToClient(mServer.OnTimer(mNow));
            continue;
        }
        timedOut = true;
        return NxResult();
    }
}

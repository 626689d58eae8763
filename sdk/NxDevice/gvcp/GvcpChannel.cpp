#include "GvcpChannel.h"

#include <algorithm>
#include <thread>
#include <utility>

#include <sys/random.h>

#include <NxBase/Hexadecimal.h>
#include <NxBase/NxResultCodes.h>
#include <internal/NxBase/ReturnIfFailed.h>

namespace {

using std::chrono::milliseconds;

// After the long waits of a command that may take long. Enough for 16 sendings where answers come
// within the longest wait before a resend: at a loss of a fifth each way one command in ten million
// stays unanswered.
constexpr milliseconds kReplyTimeout{4600};
// What a device announces with PENDING_ACK is believed up to here in all.
constexpr milliseconds kPendingInAll{60000};
constexpr milliseconds kTimeoutAfterPending{2000};
constexpr milliseconds kBusyTimeout{5000};
constexpr milliseconds kFirstBusyPause{10};
constexpr milliseconds kLongestBusyPause{200};
// A device that replied this recently is not silent.
constexpr milliseconds kLatelyHeardOf{1000};
// So often a command that may take long is waited for that long before it is sent again; longer
// when the device says so.
constexpr int kLongWaits = 2;
constexpr milliseconds kShortestLongWait{500};
constexpr milliseconds kLongestPendingTimeout{2000};
constexpr milliseconds kPendingMargin{100};
constexpr milliseconds kLongestLearntWait{3000};
// Of datagrams that wait in the socket; so many never keep a command from being sent.
constexpr int kMostWaiting = 1000;
// Sending on an interface that is down fails at once; it may come up again.
constexpr milliseconds kPauseAfterSocketFailure{100};

// What a write changes; of size 0 for a read. Blocks of data are larger than any register.
LateCopies::Write DescribeWrite(GvcpPacket::Command command, std::span<const std::byte> packet,
                                std::uint16_t id, std::uint32_t address) {
    constexpr std::size_t kLargestRegister = 8;
    constexpr std::size_t kBytesBeforeData = 12;
    LateCopies::Write write{.id = id, .address = address};
    if (command == GvcpPacket::Command::kWriteRegister) {
        write.size = 4;
        write.mayStartOperation = true;
    } else if (command == GvcpPacket::Command::kWriteMemory) {
        write.size = packet.size() - kBytesBeforeData;
        write.mayStartOperation = write.size <= kLargestRegister;
    }
    return write;
}

}  // namespace

GvcpChannel::GvcpChannel(std::unique_ptr<DatagramSocket> socket, Endpoint device,
                         std::string deviceName, std::uint16_t lastId)
    : mSocket(std::move(socket)),
      mDevice(device),
      mDeviceName(std::move(deviceName)),
      mId(lastId) {}

std::uint16_t GvcpChannel::RandomId() {
    std::uint16_t id = 0;
    if (getrandom(&id, sizeof id, GRND_NONBLOCK) != static_cast<ssize_t>(sizeof id)) {
        id = static_cast<std::uint16_t>(Clock::now().time_since_epoch().count());
    }
    return id;
}

void GvcpChannel::Fail(NxResult failure) {
    if (mFailure.IsOK()) {
        mFailure = std::move(failure);
        mIsAlive = mFailure.IsOK();
    }
}

// 0 is reserved (section 15.3).
std::uint16_t GvcpChannel::NextId() {
    mId = mId == 0xFFFF ? std::uint16_t{1} : static_cast<std::uint16_t>(mId + 1);
    return mId;
}

RetransmissionTimer& GvcpChannel::TimerOf(GvcpPacket::Command command) {
    return command == GvcpPacket::Command::kWriteRegister ? mWriteTimer : mTimer;
}

void GvcpChannel::Pause(Clock::duration time) {
    const Clock::time_point end = mSocket->Now() + time;
    while (mSocket->Now() < end) {
        std::size_t length = 0;
        Endpoint from;
        bool timedOut = false;
        if (!mSocket->Receive(mBuffer, end, length, from, timedOut).IsOK()) {
            std::this_thread::sleep_for(std::min<Clock::duration>(time, milliseconds(10)));
        }
    }
}

NxResult GvcpChannel::Transact(GvcpPacket::Command command, std::vector<std::byte> packet,
                               std::uint32_t address, std::span<const std::byte>& payload,
                               Effect effect) {
    const Clock::time_point start = mSocket->Now();
    milliseconds pause = kFirstBusyPause;
    GvcpPacket::Ack ack;
    while (true) {
        NX_RETURN_IF_FAILED(mFailure);
        if (const auto write = DescribeWrite(command, packet, 0, address); write.size > 0) {
            WaitForLateCopies(write);
        }
        // A new id after BUSY: with the old one the device would repeat its old answer.
        const std::uint16_t id = NextId();
        GvcpPacket::SetId(packet, id);
        if (NxResult result = Exchange(command, packet, id, address, effect, ack); !result.IsOK()) {
            Fail(result);
            return result;
        }
        mStatus = ack.status;
        const bool mayWait = mSocket->Now() + pause < std::min(start + kBusyTimeout, mDeadline);
        if (ack.status != GvcpPacket::kStatusBusy || !mayWait) {
            break;
        }
        Pause(pause);
        pause = std::min(pause * 2, kLongestBusyPause);
    }
    payload = ack.payload;
    // Statuses without the highest bit are remarks (section 19 "Status codes").
    if ((ack.status & 0x8000U) == 0) {
        return {};
    }
    return NxResult(
        ack.status == GvcpPacket::kStatusAccessDenied ? kNxAccessDenied : kNxDeviceError,
        mDeviceName + " refused GVCP " + GvcpPacket::CommandName(command) + " at " +
            Hexadecimal(address, 8) + ": " + GvcpPacket::StatusName(ack.status));
}

NxResult GvcpChannel::Exchange(GvcpPacket::Command command, const std::vector<std::byte>& packet,
                               std::uint16_t id, std::uint32_t address, Effect effect,
                               GvcpPacket::Ack& ack) {
    const LateCopies::Write write = DescribeWrite(command, packet, id, address);
    DropWaiting();
    RetransmissionTimer& timer = TimerOf(command);
    mStart = mSocket->Now();
    const Clock::duration longWaits =
        effect == Effect::kMayTakeLong ? kLongWaits * LongWait() : Clock::duration::zero();
    mGiveUp = std::min(mStart + longWaits + kReplyTimeout, mDeadline);
    mWasPending = false;
    mSocketFailure = NxResult();
    mSendings = 0;
    do {
        ++mSendings;
        const RetransmissionTimer::Duration wait = WaitAfterSending(timer, effect);
        const NxResult sent = mSocket->Send(mDevice, packet);
        mLastSent = mSocket->Now();
        if (sent.IsOK()) {
            mWaitEnd = std::min(mLastSent + wait, mGiveUp);
        } else {
            mSocketFailure = sent;
            mWaitEnd = std::min(
                mLastSent + std::max<Clock::duration>(wait, kPauseAfterSocketFailure), mGiveUp);
        }
        if (WaitForAck(command, id, ack) == Wait::kAnswered) {
            const Clock::time_point now = mSocket->Now();
            if (mSendings == 1 && !mWasPending && effect == Effect::kQuick) {
                timer.Learn(
                    std::chrono::duration_cast<RetransmissionTimer::Duration>(now - mStart));
            }
            mLateCopies.Add(write, mSendings - 1, mStart, mLastSent, now);
            if (write.size > 0) {
                mLastWrite = ack.status == GvcpPacket::kStatusSuccess ? now : mLastWrite;
            }
            return {};
        }
    } while (mSocket->Now() < mGiveUp);
    if (!mSocketFailure.IsOK()) {
        return NxResult(kNxSocket, mDeviceName + " cannot be reached: " +
                                       mSocketFailure.GetDescription().GetAscii());
    }
    if (mGiveUp >= mDeadline && mGiveUp - mLastAnswer < kLatelyHeardOf) {
        mWasCutShort = true;
        return NxResult(kNxTimeout, mDeviceName + ": connecting took too long: no reply to GVCP " +
                                        GvcpPacket::CommandName(command) + " at " +
                                        Hexadecimal(address, 8) + " in time; check the network");
    }
    return NxResult(kNxTimeout,
                    mDeviceName + " does not respond (GVCP " + GvcpPacket::CommandName(command) +
                        " at " + Hexadecimal(address, 8) + ", sent " + std::to_string(mSendings) +
                        " times); check its power, cable and address");
}

RetransmissionTimer::Duration GvcpChannel::WaitAfterSending(const RetransmissionTimer& timer,
                                                            Effect effect) const {
    if (effect == Effect::kQuick) {
        return timer.Wait(mSendings);
    }
    return mSendings > kLongWaits ? RetransmissionTimer::kLongest : LongWait();
}

milliseconds GvcpChannel::LongWait() const {
    return std::max({kShortestLongWait, mLearntWait,
                     std::min(mPendingTimeout, kLongestPendingTimeout) + kPendingMargin});
}

void GvcpChannel::Resume() {
    mWasCutShort = false;
    mFailure = NxResult();
    mIsAlive = true;
}

void GvcpChannel::KeepAlive(std::uint32_t address, Clock::duration interval) {
    mHeartbeatAddress = address;
    mHeartbeatInterval = interval;
}

// Whether it is answered is of no interest here: the command that waits will show it.
void GvcpChannel::SendHeartbeat() {
    std::vector<std::byte> packet = GvcpPacket::ReadRegisters(std::array{mHeartbeatAddress});
    const std::uint16_t id = NextId();
    GvcpPacket::SetId(packet, id);
    GvcpPacket::Ack ack;
    (void)Exchange(GvcpPacket::Command::kReadRegister, packet, id, mHeartbeatAddress,
                   Effect::kQuick, ack);
    mLastHeartbeat = mSocket->Now();
}

void GvcpChannel::WaitForLateCopies(const LateCopies::Write& write) {
    while (true) {
        const Clock::time_point now = mSocket->Now();
        const Clock::time_point safe = std::min(mLateCopies.SafeTime(write, now), mDeadline);
        if (safe <= now) {
            return;
        }
        Clock::time_point end = safe;
        // With a deadline the wait is short.
        if (mHeartbeatInterval < Clock::duration::max() && mDeadline == Clock::time_point::max()) {
            const Clock::time_point heartbeat =
                std::max(mLastWrite, mLastHeartbeat) + mHeartbeatInterval;
            if (heartbeat <= now) {
                SendHeartbeat();
                continue;
            }
            end = std::min(safe, heartbeat);
        }
        bool timedOut = false;
        if (!ReceiveLateAck(end, timedOut).IsOK()) {
            std::this_thread::sleep_for(milliseconds(1));
        }
    }
}

NxResult GvcpChannel::ReceiveLateAck(Clock::time_point end, bool& timedOut) {
    std::size_t length = 0;
    Endpoint from;
    NX_RETURN_IF_FAILED(mSocket->Receive(mBuffer, end, length, from, timedOut));
    if (!timedOut && from == mDevice) {
        if (const auto ack = GvcpPacket::ParseAck(std::span(mBuffer).first(length))) {
            (void)NoteLateAck(*ack);
        }
    }
    return {};
}

// A device that carries a command out before it looks at the next one takes as long for each copy
// of it, and is given more time from now on.
bool GvcpChannel::NoteLateAck(const GvcpPacket::Ack& ack) {
    if (ack.code == GvcpPacket::kPendingAck) {
        return false;
    }
    const auto took = mLateCopies.NoteLateAck(ack.id, mSocket->Now());
    if (!took.has_value()) {
        return false;
    }
    const bool ofRegister =
        ack.code == static_cast<std::uint16_t>(GvcpPacket::Command::kWriteRegister) + 1;
    RetransmissionTimer& timer = ofRegister ? mWriteTimer : mTimer;
    if (*took > LateCopies::kSlow) {
        timer.Learn(std::chrono::duration_cast<RetransmissionTimer::Duration>(*took));
        mLearntWait = std::clamp(std::chrono::duration_cast<milliseconds>(*took * 3 / 2),
                                 mLearntWait, kLongestLearntWait);
    }
    timer.WasTooShort();
    return true;
}

// An answer that is there before its command was sent is not one to it.
void GvcpChannel::DropWaiting() {
    for (int i = 0; i < kMostWaiting; ++i) {
        bool timedOut = false;
        if (!ReceiveLateAck(mSocket->Now(), timedOut).IsOK() || timedOut) {
            return;
        }
    }
}

GvcpChannel::Wait GvcpChannel::WaitForAck(GvcpPacket::Command command, std::uint16_t id,
                                          GvcpPacket::Ack& ack) {
    while (true) {
        std::size_t length = 0;
        Endpoint from;
        bool timedOut = false;
        const NxResult received = mSocket->Receive(mBuffer, mWaitEnd, length, from, timedOut);
        if (!received.IsOK()) {
            mSocketFailure = received;
            std::this_thread::sleep_for(milliseconds(10));
            timedOut = mSocket->Now() >= mWaitEnd;
        }
        if (timedOut) {
            return Wait::kTimedOut;
        }
        if (received.IsOK() && from == mDevice && TakeAnswer(command, id, length, ack)) {
            return Wait::kAnswered;
        }
        // Datagrams that are not what is waited for may come without end.
        if (mSocket->Now() >= mWaitEnd) {
            return Wait::kTimedOut;
        }
    }
}

bool GvcpChannel::TakeAnswer(GvcpPacket::Command command, std::uint16_t id, std::size_t length,
                             GvcpPacket::Ack& ack) {
    const auto answer = GvcpPacket::ParseAck(std::span(mBuffer).first(length));
    if (!answer.has_value()) {
        return false;
    }
    mLastAnswer = mSocket->Now();
    if (answer->id != id) {
        if (NoteLateAck(*answer)) {
            mGiveUp = std::max(mGiveUp, std::min({mLastAnswer + kReplyTimeout,
                                                  mStart + kPendingInAll, mDeadline}));
        }
        return false;
    }
    if (answer->code == GvcpPacket::kPendingAck) {
        HonourPending(*answer);
        return false;
    }
    ack = *answer;
    return answer->code == static_cast<std::uint16_t>(command) + 1;
}

void GvcpChannel::HonourPending(const GvcpPacket::Ack& ack) {
    mWasPending = true;
    const milliseconds announced(GvcpPacket::PendingMilliseconds(ack));
    const Clock::time_point end =
        std::min({mSocket->Now() + announced, mStart + kPendingInAll, mDeadline});
    mWaitEnd = std::max(mWaitEnd, end);
    mGiveUp = std::min(std::max(mGiveUp, end + kTimeoutAfterPending), mDeadline);
}

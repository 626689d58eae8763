#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <NxBase/NxResult.h>
#include <internal/NxSystem/DatagramSocket.h>

#include "GvcpPacket.h"
#include "LateCopies.h"
#include "RetransmissionTimer.h"

/// Commands to one device and their acks, over a network that loses, repeats and reorders
/// datagrams. One thread at a time.
class GvcpChannel {
  public:
    using Clock = DatagramSocket::Clock;

    /// How long a command is given to which a device may not answer before it has carried it out.
    /// The first two resends come no sooner, since a device may carry out each copy.
    enum class Effect { kQuick, kMayTakeLong };

    /// @param deviceName for descriptions of failures: "192.168.1.20 on eth1"
    /// @param lastId the first request id is the one after it
    GvcpChannel(std::unique_ptr<DatagramSocket> socket, Endpoint device, std::string deviceName,
                std::uint16_t lastId = RandomId());

    /// Sends a command until it is answered.
    /// @param packet without its request id
    /// @param address what the command accesses first
    /// @param payload of the ack; valid until the next command
    /// @return kNxAccessDenied and kNxDeviceError for a status other than success; once a command
    ///         goes unanswered, kNxTimeout or kNxSocket, and the same again for every later one
    NxResult Transact(GvcpPacket::Command command, std::vector<std::byte> packet,
                      std::uint32_t address, std::span<const std::byte>& payload,
                      Effect effect = Effect::kQuick);

    /// Every command fails that is not answered by then.
    void SetDeadline(Clock::time_point deadline) { mDeadline = deadline; }
    void ClearDeadline() { mDeadline = Clock::time_point::max(); }

    /// From now on every command fails at once with that.
    void Fail(NxResult failure);
    /// From any thread.
    [[nodiscard]] bool IsAlive() const { return mIsAlive; }
    [[nodiscard]] const NxResult& Failure() const { return mFailure; }
    /// Whether commands fail because the deadline passed before one was answered. The device may be
    /// in order then.
    [[nodiscard]] bool WasCutShort() const { return mWasCutShort; }
    /// Lets commands be sent again after one has failed.
    void Resume();
    /// The time after which the device says that a command takes longer (GigE Vision 2.0, Pending
    /// Timeout register); that long it may be silent.
    void SetPendingTimeout(std::chrono::milliseconds time) { mPendingTimeout = time; }
    /// From now on that register is read so often while a command waits for late copies, which may
    /// take longer than the device keeps a controller that it does not hear of.
    void KeepAlive(std::uint32_t address, Clock::duration interval);
    /// When the device carried out a write last.
    [[nodiscard]] Clock::time_point LastWrite() const { return mLastWrite; }
    [[nodiscard]] Clock::time_point Now() const { return mSocket->Now(); }
    /// Waits; answers that come meanwhile are stale.
    void Pause(Clock::duration time);
    [[nodiscard]] const std::string& DeviceName() const { return mDeviceName; }

    /// The status of the last ack.
    [[nodiscard]] std::uint16_t Status() const { return mStatus; }

  private:
    enum class Wait { kAnswered, kTimedOut };

    // A device may carry out each copy of a write, and the operation that it starts.
    static constexpr RetransmissionTimer::Duration kShortestForWrites{40000};

    NxResult Exchange(GvcpPacket::Command command, const std::vector<std::byte>& packet,
                      std::uint16_t id, std::uint32_t address, Effect effect, GvcpPacket::Ack& ack);
    [[nodiscard]] RetransmissionTimer::Duration WaitAfterSending(const RetransmissionTimer& timer,
                                                                 Effect effect) const;
    [[nodiscard]] std::chrono::milliseconds LongWait() const;
    Wait WaitForAck(GvcpPacket::Command command, std::uint16_t id, GvcpPacket::Ack& ack);
    /// @return whether it is the answer to the command with that id
    bool TakeAnswer(GvcpPacket::Command command, std::uint16_t id, std::size_t length,
                    GvcpPacket::Ack& ack);
    void HonourPending(const GvcpPacket::Ack& ack);
    /// @return whether it is a copy's: the device is carrying out what was sent more than once
    bool NoteLateAck(const GvcpPacket::Ack& ack);
    /// Takes one datagram, which may be a late ack.
    NxResult ReceiveLateAck(Clock::time_point end, bool& timedOut);
    void DropWaiting();
    /// Waits until no copy of an earlier write can spoil this one.
    void WaitForLateCopies(const LateCopies::Write& write);
    void SendHeartbeat();
    std::uint16_t NextId();
    /// So that a device, or a stranger, cannot know it from the connection before.
    static std::uint16_t RandomId();
    RetransmissionTimer& TimerOf(GvcpPacket::Command command);

    std::unique_ptr<DatagramSocket> mSocket;
    Endpoint mDevice;
    std::string mDeviceName;
    std::uint16_t mId;
    std::uint16_t mStatus = 0;
    NxResult mFailure;
    std::atomic<bool> mIsAlive{true};
    Clock::time_point mDeadline = Clock::time_point::max();
    Clock::time_point mLastWrite{};
    Clock::time_point mLastAnswer{};
    // Writing a register may start an operation and then takes longer than moving data.
    RetransmissionTimer mTimer;
    RetransmissionTimer mWriteTimer{kShortestForWrites};
    LateCopies mLateCopies;
    std::uint32_t mHeartbeatAddress = 0;
    Clock::duration mHeartbeatInterval = Clock::duration::max();
    Clock::time_point mLastHeartbeat{};
    std::array<std::byte, GvcpPacket::kLargestDatagram> mBuffer{};

    // Of the command that is being sent.
    Clock::time_point mStart;
    Clock::time_point mLastSent;
    int mSendings = 0;
    Clock::time_point mWaitEnd;
    Clock::time_point mGiveUp;
    bool mWasPending = false;
    bool mWasCutShort = false;
    std::chrono::milliseconds mPendingTimeout{0};
    // What a command that may take long is given at least, since one has taken as long.
    std::chrono::milliseconds mLearntWait{0};
    NxResult mSocketFailure;
};

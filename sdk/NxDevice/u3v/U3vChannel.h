#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include <NxBase/NxResult.h>

#include "U3vPackets.h"
#include "UsbPipe.h"

/// Commands to one USB3 Vision device and their acks, one at a time.
///
/// No command is sent again while the device may have it: USB loses nothing, so a late ack
/// means that the device is slow, and a repetition would be executed as well. Once the device was
/// unplugged or left a command unanswered, every later command fails at once with the same
/// description.
class U3vChannel {
  public:
    using Clock = std::chrono::steady_clock;

    /// @param device names the device in descriptions
    U3vChannel(std::unique_ptr<UsbPipe> pipe, std::string device);

    /// Until then, and no longer, commands are waited for, whatever the device announces.
    void SetDeadline(Clock::time_point deadline) { mDeadline = deadline; }
    void ClearDeadline() { mDeadline = Clock::time_point::max(); }
    /// How long a command is waited for at least, whatever shorter time the device announces; 5
    /// seconds until it is set.
    void SetLeastTimeout(std::chrono::milliseconds timeout);
    void ResetLeastTimeout();
    /// Makes the endpoints work again after a stall and takes what still waits in the device: a
    /// program that was killed may have left an ack of 64 KiB there. For the beginning of a
    /// connection. The deadline does not hold for making the endpoints work.
    /// @return kNxDeviceGone when the device was unplugged
    NxResult Start();
    /// How long the device says that it takes at most to answer a command; waited for with a
    /// margin, a minute at most.
    void SetResponseTime(std::chrono::milliseconds announced);
    /// Upper limits of a command and of an ack, in bytes with their headers.
    void SetLimits(std::size_t longestCommand, std::size_t longestAck);

    /// Reads with as few commands as the limits allow. Asks for whole words of four bytes, since
    /// some devices refuse anything else, and for the bytes alone where the device refuses that.
    NxResult Read(std::uint64_t address, std::span<std::byte> buffer);
    /// Writes with as few commands as the limits allow.
    NxResult Write(std::uint64_t address, std::span<const std::byte> data);

    /// How long a command is waited for.
    [[nodiscard]] std::chrono::milliseconds GetTimeout() const;
    /// Number of bytes that one command reads at most.
    [[nodiscard]] std::size_t GetReadBlock() const { return mReadBlock; }
    /// Safe to call from any thread, also during a command.
    [[nodiscard]] bool IsAlive() const { return mIsAlive; }
    /// The description of a device in texts, "USB3 Vision device X (GUID …) at USB port 2-1".
    [[nodiscard]] const std::string& GetDeviceName() const { return mDevice; }

  private:
    NxResult ReadBlock(std::uint64_t address, std::span<std::byte> buffer);
    /// @param buffer takes the first of the `length` bytes that the device is asked for
    NxResult ReadExactly(std::uint64_t address, std::size_t length, std::span<std::byte> buffer);
    NxResult WriteBlock(std::uint64_t address, std::span<const std::byte> data);
    NxResult Exchange(std::span<std::byte> command, std::uint16_t ackCommand, std::size_t ackLength,
                      U3vPackets::Ack& ack);
    /// @param length of what has come already
    /// @param isSilent set when no ack came by the deadline; success then
    NxResult AwaitAck(std::uint16_t id, std::uint16_t ackCommand, Clock::time_point deadline,
                      std::size_t length, U3vPackets::Ack& ack, bool& isSilent);
    /// Of the next command; never 0, by which devices mark what answers no command.
    std::uint16_t TakeId();
    /// @param length 0 afterwards when the bytes are to be dropped
    NxResult ParseAck(std::size_t& length, U3vPackets::Ack& ack);
    [[nodiscard]] Clock::time_point After(std::chrono::milliseconds timeout) const;
    NxResult Fail(unsigned int code, const std::string& reason);
    NxResult FailTransfer(int error, const std::string& stage);

    std::unique_ptr<UsbPipe> mPipe;
    std::string mDevice;
    std::size_t mReadBlock = 0;
    std::size_t mWriteBlock = 0;
    std::uint16_t mLastId;
    std::chrono::milliseconds mLeastTimeout;
    std::chrono::milliseconds mResponseTime{0};  ///< as announced
    Clock::time_point mDeadline = Clock::time_point::max();
    std::vector<std::byte> mReceived;
    bool mHasAnswered = false;  ///< since Start; what is not an ack is another program's until then
    NxResult mFailure;
    std::atomic<bool> mIsAlive{true};
};

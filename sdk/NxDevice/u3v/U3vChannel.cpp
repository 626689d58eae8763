#include "U3vChannel.h"

#include <algorithm>
#include <thread>
#include <utility>

#include <libusb.h>

#include <NxBase/Hexadecimal.h>
#include <NxBase/NxResultCodes.h>

#include <internal/NxBase/ByteOrder.h>
#include <internal/NxBase/ReturnIfFailed.h>

namespace {

using std::chrono::milliseconds;

// What a command is waited for, whatever shorter time the device announces.
constexpr milliseconds kLeastTimeout{5000};
// What a command is waited for at most, whatever longer time the device announces, for all of its
// commands or with PENDING_ACK for one.
constexpr milliseconds kMostTimeout{60000};
// For the way there and back.
constexpr milliseconds kMargin{500};
constexpr milliseconds kBusyPause{10};
// What waits in the device comes at once.
constexpr milliseconds kDrainTimeout{20};
constexpr int kMostDrained = 16;

// Largest packet of a bulk endpoint (USB 3.0, section 8.12.1.4).
constexpr std::size_t kPacket = 1024;
// Sent before the first of its packets is confirmed (USB 3.0, section 9.6.7: at most 16 packets).
constexpr std::size_t kBurst = 16 * kPacket;
// What every device accepts before it has reported its limits.
constexpr std::size_t kSmallestLimit = 64;
// The longest possible ack: the largest value of its 16-bit length field.
constexpr std::size_t kLongestAck = 65536 + kPacket;
// Keeps a command's 16-bit length field, and the ack's, from overflowing.
constexpr std::size_t kLargestBlock = 65515;

// A transfer from the device ends with a packet that is not full, or when the buffer is. With a
// buffer of whole packets, a longer ack than expected is not an overflow.
std::size_t BufferLength(std::size_t ackLength) {
    return (ackLength + kPacket - 1) / kPacket * kPacket;
}

std::size_t WholeWords(std::size_t bytes) {
    return bytes & ~std::size_t{3};
}

milliseconds TimeUntil(U3vChannel::Clock::time_point deadline) {
    return std::chrono::ceil<milliseconds>(deadline - U3vChannel::Clock::now());
}

/// What became of a command that could not be sent.
enum class Fate {
    kNotCarriedOut,  ///< for certain, or it was a read, which changes nothing
    kUnknown,        ///< the device may have all of it
    kHopeless        ///< sending it again would not help
};

// A device carries a command out once it has all the bytes that the header announces, and clearing
// its endpoint makes it forget what it has of one.
Fate FateOf(const UsbPipe::Sending& sending, std::span<const std::byte> command) {
    const std::size_t missing = command.size() - std::min(sending.taken, command.size());
    if (sending.error == LIBUSB_ERROR_PIPE && missing > 0) {
        // A stall is the device's own refusal of a packet, which it has not taken.
        return Fate::kNotCarriedOut;
    }
    if (sending.error == LIBUSB_ERROR_IO) {
        // A protocol error may just as well have hit the way back, on which the device confirms
        // packets: as many as one burst holds may have arrived without being counted.
        return missing > kBurst || U3vPackets::IsRead(command) ? Fate::kNotCarriedOut
                                                               : Fate::kUnknown;
    }
    // Unplugged, out of memory, or not taken in time.
    return Fate::kHopeless;
}

}  // namespace

U3vChannel::U3vChannel(std::unique_ptr<UsbPipe> pipe, std::string device)
    : mPipe(std::move(pipe)),
      mDevice(std::move(device)),
      // The answer to a command of a program that was killed may still wait in the device; it
      // must not look like one to ours.
      mLastId(static_cast<std::uint16_t>(Clock::now().time_since_epoch().count() >> 10)),
      mLeastTimeout(kLeastTimeout) {
    SetLimits(kSmallestLimit, kSmallestLimit);
}

NxResult U3vChannel::Start() {
    NX_RETURN_IF_FAILED(mFailure);
    mHasAnswered = false;
    mPipe->ClearStall();
    mReceived.resize(kLongestAck);
    for (int i = 0; i < kMostDrained && mFailure.IsOK() && Clock::now() < mDeadline; ++i) {
        std::size_t length = 0;
        const int error = mPipe->Receive(mReceived, kDrainTimeout, length);
        if (error == LIBUSB_ERROR_NO_DEVICE) {
            return FailTransfer(error, "replying to a command");
        }
        if (error != LIBUSB_SUCCESS && length == 0) {
            break;
        }
    }
    return mFailure;
}

void U3vChannel::SetResponseTime(milliseconds announced) {
    mResponseTime = announced;
}

void U3vChannel::SetLeastTimeout(milliseconds timeout) {
    mLeastTimeout = timeout;
}

void U3vChannel::ResetLeastTimeout() {
    mLeastTimeout = kLeastTimeout;
}

milliseconds U3vChannel::GetTimeout() const {
    return std::clamp(mResponseTime + kMargin, mLeastTimeout, kMostTimeout);
}

void U3vChannel::SetLimits(std::size_t longestCommand, std::size_t longestAck) {
    const std::size_t command = std::max(longestCommand, kSmallestLimit);
    const std::size_t ack = std::max(longestAck, kSmallestLimit);
    mReadBlock = WholeWords(std::min(ack - U3vPackets::kHeaderLength, kLargestBlock));
    // The ack of a write has 16 bytes, however much was written.
    mWriteBlock = WholeWords(std::min(command - U3vPackets::kWriteOverhead, kLargestBlock));
}

NxResult U3vChannel::Read(std::uint64_t address, std::span<std::byte> buffer) {
    while (!buffer.empty()) {
        const std::size_t length = std::min(buffer.size(), mReadBlock);
        NX_RETURN_IF_FAILED(ReadBlock(address, buffer.first(length)));
        address += length;
        buffer = buffer.subspan(length);
    }
    return mFailure;
}

NxResult U3vChannel::Write(std::uint64_t address, std::span<const std::byte> data) {
    while (!data.empty()) {
        const std::size_t length = std::min(data.size(), mWriteBlock);
        NX_RETURN_IF_FAILED(WriteBlock(address, data.first(length)));
        address += length;
        data = data.subspan(length);
    }
    return mFailure;
}

NxResult U3vChannel::ReadBlock(std::uint64_t address, std::span<std::byte> buffer) {
    const std::size_t words = WholeWords(buffer.size() + 3);
    const NxResult result = ReadExactly(address, words, buffer);
    if (words == buffer.size() || result.GetCode() != kNxDeviceError || !IsAlive()) {
        return result;
    }
    // What is read may end with the memory that the device has there. Nothing was read, so asking
    // again does no harm.
    return ReadExactly(address, buffer.size(), buffer);
}

NxResult U3vChannel::ReadExactly(std::uint64_t address, std::size_t length,
                                 std::span<std::byte> buffer) {
    std::vector<std::byte> command =
        U3vPackets::ReadMemory(0, address, static_cast<std::uint16_t>(length));
    U3vPackets::Ack ack;
    NX_RETURN_IF_FAILED(
        Exchange(command, U3vPackets::kReadMemoryAck, U3vPackets::kHeaderLength + length, ack));
    if (ack.status != U3vPackets::kStatusSuccess) {
        return NxResult(kNxDeviceError, mDevice + " refused to read " + std::to_string(length) +
                                            " bytes at " + Hexadecimal(address) + " (" +
                                            U3vPackets::DescribeStatus(ack.status) + ")");
    }
    if (ack.payload.size() < buffer.size() || ack.payload.size() > length) {
        return Fail(kNxProtocol, "replied to a read of " + std::to_string(length) + " bytes with " +
                                     std::to_string(ack.payload.size()) + " bytes");
    }
    std::copy_n(ack.payload.begin(), buffer.size(), buffer.begin());
    return NxResult();
}

NxResult U3vChannel::WriteBlock(std::uint64_t address, std::span<const std::byte> data) {
    std::vector<std::byte> command = U3vPackets::WriteMemory(0, address, data);
    U3vPackets::Ack ack;
    NX_RETURN_IF_FAILED(
        Exchange(command, U3vPackets::kWriteMemoryAck, U3vPackets::kWriteAckLength, ack));
    if (ack.status != U3vPackets::kStatusSuccess) {
        return NxResult(kNxDeviceError, mDevice + " refused to write " +
                                            std::to_string(data.size()) + " bytes at " +
                                            Hexadecimal(address) + " (" +
                                            U3vPackets::DescribeStatus(ack.status) + ")");
    }
    // GenCP 1.1 lets a device leave the number of bytes out.
    if (ack.payload.size() >= 4 && ByteOrder::LoadLittle16(&ack.payload[2]) != data.size()) {
        return NxResult(kNxDeviceError,
                        mDevice + " accepted only " +
                            std::to_string(ByteOrder::LoadLittle16(&ack.payload[2])) + " of " +
                            std::to_string(data.size()) + " bytes at " + Hexadecimal(address));
    }
    return NxResult();
}

NxResult U3vChannel::Exchange(std::span<std::byte> command, std::uint16_t ackCommand,
                              std::size_t ackLength, U3vPackets::Ack& ack) {
    mReceived.resize(mHasAnswered ? BufferLength(ackLength) : kLongestAck);
    const Clock::time_point busyUntil = After(GetTimeout());
    bool mayTryAgain = true;
    while (mFailure.IsOK()) {
        const std::uint16_t id = TakeId();
        ByteOrder::StoreLittle16(&command[10], id);
        const Clock::time_point deadline = After(GetTimeout());
        std::size_t length = 0;
        UsbPipe::Sending sending;
        const int error = mPipe->Exchange(command, mReceived, TimeUntil(deadline), length, sending);
        const Fate fate = error == LIBUSB_SUCCESS ? Fate::kHopeless : FateOf(sending, command);
        if (error != LIBUSB_SUCCESS && (fate == Fate::kHopeless || !mayTryAgain)) {
            return FailTransfer(error, sending.taken == command.size() ? "replying to a command"
                                                                       : "accepting a command");
        }
        if (fate == Fate::kNotCarriedOut) {
            mayTryAgain = false;
            mPipe->ClearStall();
            continue;
        }
        bool isSilent = false;
        const NxResult result = AwaitAck(id, ackCommand, deadline, length, ack, isSilent);
        if (isSilent && fate == Fate::kUnknown) {
            // A device that has a command answers it within the time that it announces. It is
            // listened to before the endpoints are cleared, which would take its answer away.
            mayTryAgain = false;
            mPipe->ClearStall();
            continue;
        }
        if (isSilent) {
            return FailTransfer(LIBUSB_ERROR_TIMEOUT, "replying to a command");
        }
        // A busy device has not executed the command.
        if (!result.IsOK() || ack.status != U3vPackets::kStatusBusy ||
            Clock::now() + kBusyPause >= busyUntil) {
            return result;
        }
        std::this_thread::sleep_for(kBusyPause);
    }
    return mFailure;
}

std::uint16_t U3vChannel::TakeId() {
    mLastId = static_cast<std::uint16_t>(mLastId == 0xFFFF ? 1 : mLastId + 1);
    return mLastId;
}

NxResult U3vChannel::AwaitAck(std::uint16_t id, std::uint16_t ackCommand,
                              Clock::time_point deadline, std::size_t length, U3vPackets::Ack& ack,
                              bool& isSilent) {
    const Clock::time_point pendingUntil = After(kMostTimeout);
    for (;;) {
        NX_RETURN_IF_FAILED(ParseAck(length, ack));
        const bool isOurs = length != 0 && ack.id == id;
        mHasAnswered = mHasAnswered || isOurs;
        if (isOurs && ack.command == ackCommand) {
            return NxResult();
        }
        if (isOurs && ack.command == U3vPackets::kPendingAck && ack.payload.size() >= 4) {
            const milliseconds announced{ByteOrder::LoadLittle16(&ack.payload[2])};
            deadline = std::min(After(announced + GetTimeout()), pendingUntil);
        } else if (isOurs) {
            return Fail(kNxProtocol, "replied to a command with ack " + Hexadecimal(ack.command));
        }
        const int error = Clock::now() >= deadline
                              ? LIBUSB_ERROR_TIMEOUT
                              : mPipe->Receive(mReceived, TimeUntil(deadline), length);
        isSilent = error == LIBUSB_ERROR_TIMEOUT;
        if (error != LIBUSB_SUCCESS) {
            return isSilent ? NxResult() : FailTransfer(error, "replying to a command");
        }
    }
}

NxResult U3vChannel::ParseAck(std::size_t& length, U3vPackets::Ack& ack) {
    // Zero bytes: the empty packet that ends an ack of full packets only.
    if (length == 0 || U3vPackets::ParseAck(std::span(mReceived).first(length), ack)) {
        return NxResult();
    }
    if (mHasAnswered) {
        return Fail(kNxProtocol, "sent " + std::to_string(length) + " bytes that are not an ack");
    }
    length = 0;
    return NxResult();
}

U3vChannel::Clock::time_point U3vChannel::After(milliseconds timeout) const {
    return std::min(Clock::now() + timeout, mDeadline);
}

NxResult U3vChannel::Fail(unsigned int code, const std::string& reason) {
    mFailure = NxResult(code, mDevice + " " + reason);
    // The next connection to the device claims its interface, as soon as this one is not alive.
    mPipe.reset();
    mIsAlive = false;
    return mFailure;
}

NxResult U3vChannel::FailTransfer(int error, const std::string& stage) {
    switch (error) {
        case LIBUSB_ERROR_NO_DEVICE:
            return Fail(kNxDeviceGone, "was unplugged; check the cable and reconnect it");
        case LIBUSB_ERROR_TIMEOUT:
            return Fail(kNxTimeout, "timed out " + stage + "; unplug and reconnect it");
        case LIBUSB_ERROR_PIPE:
            // The next connection finds the endpoints working.
            mPipe->ClearStall();
            return Fail(kNxDeviceError, "stalled its control endpoint instead of " + stage +
                                            " (EPIPE); unplug and reconnect it");
        default:
            return Fail(kNxDeviceGone, std::string("failed while ") + stage + " (" +
                                           libusb_error_name(error) + "); unplug and reconnect it");
    }
}

#include "FakeGvcpDevice.h"

#include <algorithm>
#include <cstring>

#include <internal/NxBase/ByteOrder.h>

#include "Bytes.h"

namespace {

constexpr std::size_t kHeaderSize = 8;
constexpr unsigned int kReadRegister = 0x80;
constexpr unsigned int kWriteRegister = 0x82;
constexpr unsigned int kReadMemory = 0x84;
constexpr unsigned int kNotImplemented = 0x8001;
constexpr unsigned int kInvalidAddress = 0x8003;

std::uint32_t WordAt(const std::string& bytes, std::size_t at) {
    return ByteOrder::LoadBig32(&BytesOf(bytes)[at]);
}

std::string HalfWord(unsigned int value) {
    return {static_cast<char>(value >> 8U), static_cast<char>(value)};
}

}  // namespace

void FakeGvcpDevice::Put(std::uint32_t address, const std::string& bytes) {
    for (std::size_t done = 0; done < bytes.size();) {
        Page& page = mPages[address / kPageSize];
        const std::size_t at = address % kPageSize;
        const std::size_t count = std::min(bytes.size() - done, kPageSize - at);
        bytes.copy(&page.bytes[at], count, done);
        std::memset(&page.exists[at], 1, count);
        done += count;
        address += static_cast<std::uint32_t>(count);
    }
}

bool FakeGvcpDevice::Read(std::uint64_t address, std::size_t count, std::string& bytes) const {
    if (address + count > 0x100000000U) {
        return false;  // no command goes round
    }
    while (count > 0) {
        const auto page = mPages.find(static_cast<std::uint32_t>(address / kPageSize));
        const std::size_t at = address % kPageSize;
        const std::size_t part = std::min(count, kPageSize - at);
        if (page == mPages.end() || std::memchr(&page->second.exists[at], 0, part) != nullptr) {
            return false;
        }
        bytes.append(&page->second.bytes[at], part);
        address += part;
        count -= part;
    }
    return true;
}

std::string FakeGvcpDevice::Memory(std::uint32_t address, std::size_t count) const {
    std::string bytes;
    return Read(address, count, bytes) ? bytes : std::string();
}

bool FakeGvcpDevice::Write(std::uint64_t address, const std::string& bytes) {
    if (address + bytes.size() > 0x100000000U) {
        return false;
    }
    Put(static_cast<std::uint32_t>(address), bytes);
    return true;
}

std::string FakeGvcpDevice::Carry(unsigned int command, const std::string& payload,
                                  unsigned int& status) {
    std::string answer;
    bool done = true;
    if (command == kReadMemory) {
        answer = payload.substr(0, 4);
        done = Read(WordAt(payload, 0), WordAt(payload, 4), answer);
    } else if (command == kReadRegister) {
        for (std::size_t at = 0; at < payload.size(); at += 4) {
            done = done && Read(WordAt(payload, at), 4, answer);
        }
    } else if (command == kWriteRegister) {
        for (std::size_t at = 0; at < payload.size(); at += 8) {
            done = done && Write(WordAt(payload, at), payload.substr(at + 4, 4));
        }
    } else if (mWritesMemory) {
        done = Write(WordAt(payload, 0), payload.substr(4));
    } else {
        status = kNotImplemented;
        return "";
    }
    status = done ? 0 : kInvalidAddress;
    return done ? answer : "";
}

NxResult FakeGvcpDevice::Send(const Endpoint& to, std::span<const std::byte> datagram) {
    mDevice = to;
    const std::string bytes = TextOf(datagram);
    if (mCommands > 0) {
        mLongestSilence = std::max(mLongestSilence, mNow - mLastSent);
    }
    mLastSent = mNow;
    if (++mCommands > mLastAnswered) {
        return {};
    }
    if (mIgnoresCopies && bytes.substr(6, 2) == mLastId) {
        return {};
    }
    const unsigned int command = ByteOrder::LoadBig16(&datagram[2]);
    unsigned int status = 0;
    const std::string answer = Carry(command, bytes.substr(kHeaderSize), status);
    // One command after the other.
    const bool isRegisterWrite = command == kWriteRegister;
    mRegisterWrites += isRegisterWrite ? 1 : 0;
    mLastId = bytes.substr(6, 2);
    const Clock::time_point start = mAnswers.empty() ? mNow : std::max(mNow, mAnswers.back().due);
    mAnswers.push_back(
        {start + mLatency + (isRegisterWrite ? mRegisterWriteTime : Clock::duration::zero()),
         HalfWord(status) + HalfWord(command + 1) +
             HalfWord(static_cast<unsigned int>(answer.size())) + bytes.substr(6, 2) + answer});
    return {};
}

NxResult FakeGvcpDevice::Receive(std::span<std::byte> buffer, Clock::time_point deadline,
                                 std::size_t& length, Endpoint& from, bool& timedOut) {
    timedOut = mAnswers.empty() || mAnswers.front().due > std::max(deadline, mNow);
    if (timedOut) {
        mNow = std::max(mNow, deadline);
        return {};
    }
    mNow = std::max(mNow, mAnswers.front().due);
    const std::string bytes = mAnswers.front().bytes;
    mAnswers.pop_front();
    length = std::min(buffer.size(), bytes.size());
    std::copy_n(BytesOf(bytes).begin(), length, buffer.begin());
    from = mDevice;
    return {};
}

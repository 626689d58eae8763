#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <string>

#include <internal/NxSystem/DatagramSocket.h>

/// A socket with a GigE Vision device at its other end, which reads from a memory of bytes and
/// takes its time, in a time of the test's own. It answers what is not there with INVALID_ADDRESS.
class FakeGvcpDevice : public DatagramSocket {
  public:
    /// What the device holds from that address on, which may go round at 2^32.
    void Put(std::uint32_t address, const std::string& bytes);
    /// Between a command and its answer.
    void SetLatency(Clock::duration latency) { mLatency = latency; }
    /// Of a WRITEREG, in addition.
    void SetRegisterWriteTime(Clock::duration time) { mRegisterWriteTime = time; }
    /// WRITEMEM, which GigE Vision 1.x leaves to the device, is not implemented.
    void LackWriteMemory() { mWritesMemory = false; }
    /// Commands with the id of the one before are neither carried out nor answered.
    void IgnoreCopies() { mIgnoresCopies = true; }
    /// The longest time between two datagrams.
    [[nodiscard]] Clock::duration LongestSilence() const { return mLongestSilence; }
    /// WRITEREGs that were carried out, copies included.
    [[nodiscard]] std::size_t RegisterWrites() const { return mRegisterWrites; }
    /// The request id of the last command, two bytes.
    [[nodiscard]] const std::string& LastId() const { return mLastId; }
    /// From that many commands on it answers no more.
    void FallSilentAfter(std::size_t commands) { mLastAnswered = commands; }
    /// READREG and READMEM; those that were sent again count again.
    [[nodiscard]] std::size_t Commands() const { return mCommands; }
    /// What the device holds there, WRITEREG and WRITEMEM included; empty if not all of it exists.
    [[nodiscard]] std::string Memory(std::uint32_t address, std::size_t count) const;

    NxResult Send(const Endpoint& to, std::span<const std::byte> datagram) override;
    NxResult Receive(std::span<std::byte> buffer, Clock::time_point deadline, std::size_t& length,
                     Endpoint& from, bool& timedOut) override;
    [[nodiscard]] Clock::time_point Now() const override { return mNow; }

  private:
    struct Answer {
        Clock::time_point due;
        std::string bytes;
    };

    static constexpr std::size_t kPageSize = 4096;
    // By pages: a map of bytes takes minutes in an emulator.
    struct Page {
        std::array<char, kPageSize> bytes{};
        std::array<char, kPageSize> exists{};
    };

    [[nodiscard]] std::string Carry(unsigned int command, const std::string& payload,
                                    unsigned int& status);
    [[nodiscard]] bool Read(std::uint64_t address, std::size_t count, std::string& bytes) const;
    [[nodiscard]] bool Write(std::uint64_t address, const std::string& bytes);

    std::map<std::uint32_t, Page> mPages;
    Clock::duration mLatency = std::chrono::microseconds(100);
    Clock::duration mRegisterWriteTime{0};
    bool mWritesMemory = true;
    bool mIgnoresCopies = false;
    Clock::time_point mLastSent{};
    Clock::duration mLongestSilence{0};
    std::size_t mRegisterWrites = 0;
    std::string mLastId;
    std::size_t mLastAnswered = SIZE_MAX;
    std::size_t mCommands = 0;
    Clock::time_point mNow{std::chrono::hours(1)};
    Endpoint mDevice;
    std::deque<Answer> mAnswers;
};

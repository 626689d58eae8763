#include "u3v/U3vPort.h"

#include <array>
#include <condition_variable>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>
#include <internal/NxBase/ByteOrder.h>

#include "ScriptedPipe.h"

namespace {

using Bytes = ScriptedPipe::Bytes;

std::string Hex(std::uint64_t number) {
    std::ostringstream text;
    text << std::hex << number;
    return text.str();
}

ScriptedPipe::Answer Number(std::uint64_t number, std::size_t size) {
    Bytes bytes(8);
    ByteOrder::StoreLittle64(bytes.data(), number);
    bytes.resize(size);
    return ScriptedPipe::Ack(0x0801, bytes);
}

class U3vPortTest : public testing::Test {
  protected:
    ~U3vPortTest() override { EXPECT_TRUE(mLog.answers.empty()) << "answers left over"; }

    // A device with commands and acks of 1024 bytes.
    NxResult Start(const ScriptedPipe::Answer& responseTime) {
        mLog.answers = {ScriptedPipe::Error(LIBUSB_ERROR_TIMEOUT),
                        responseTime,
                        Number(0x1000, 8),
                        Number(0x2000, 8),
                        Number(1024, 4),
                        Number(1024, 4)};
        return mPort.Start(std::chrono::seconds(2));
    }

    // Address and bytes of the write commands.
    std::vector<std::string> Written() const {
        std::vector<std::string> texts;
        for (const Bytes& command : mLog.commands) {
            std::string text = Hex(ByteOrder::LoadLittle64(&command[12])) + ": ";
            for (std::size_t i = 20; i < command.size(); ++i) {
                const std::string digits = Hex(std::to_integer<std::uint64_t>(command[i]));
                text += digits.size() == 1 ? "0" + digits : digits;
            }
            texts.push_back(text);
        }
        return texts;
    }
    // Address and length of the read commands.
    std::vector<std::string> Asked() const {
        std::vector<std::string> texts;
        for (const Bytes& command : mLog.commands) {
            texts.push_back(Hex(ByteOrder::LoadLittle64(&command[12])) + "+" +
                            std::to_string(ByteOrder::LoadLittle16(&command[22])));
        }
        return texts;
    }

    ScriptedPipe::Log mLog;
    U3vPort mPort{nullptr, std::make_unique<ScriptedPipe>(mLog), "Device X"};
};

// Answers nothing until it is let go.
class SlowPipe : public UsbPipe {
  public:
    struct Gate {
        std::mutex mutex;
        std::condition_variable changed;
        bool isAsked = false;
        bool isOpen = false;
    };
    explicit SlowPipe(Gate& gate) : mGate(gate) {}
    int Send(std::span<const std::byte> /*bytes*/, Milliseconds /*timeout*/) override {
        return LIBUSB_SUCCESS;
    }
    int Receive(std::span<std::byte> /*buffer*/, Milliseconds /*timeout*/,
                std::size_t& /*length*/) override {
        std::unique_lock lock(mGate.mutex);
        mGate.isAsked = true;
        mGate.changed.notify_all();
        mGate.changed.wait(lock, [this] { return mGate.isOpen; });
        return LIBUSB_ERROR_NO_DEVICE;
    }
    void ClearStall() override {}

  private:
    Gate& mGate;
};

}  // namespace

TEST_F(U3vPortTest, WaitsAsLongAsTheDeviceAnnounces) {
    ASSERT_TRUE(Start(Number(12000, 4)).IsOK());
    mLog.answers = {ScriptedPipe::WriteAck(4)};
    EXPECT_TRUE(mPort.WriteMemory(0, Bytes(4)).IsOK());
    EXPECT_GT(mLog.timeouts.back().count(), 12000);
}

TEST_F(U3vPortTest, AsksForTheResponseTimeFirstAndWaitsAsLongForWhatFollows) {
    ASSERT_TRUE(Start(Number(12000, 4)).IsOK());
    EXPECT_THAT(Asked(), testing::ElementsAre("1cc+4", "1d0+8", "1d8+8", "2014+4", "2018+4"));
    // Taking what another program left in the device comes before.
    ASSERT_EQ(mLog.timeouts.size(), 6U);
    EXPECT_LE(mLog.timeouts[1].count(), 2000);
    for (std::size_t i = 2; i < mLog.timeouts.size(); ++i) {
        EXPECT_GT(mLog.timeouts[i].count(), 12000) << i;
    }
}

TEST_F(U3vPortTest, StartsWithADeviceThatDoesNotTellItsResponseTime) {
    ASSERT_TRUE(Start(ScriptedPipe::Ack(0x0801, {}, 0x8003)).IsOK());
    mLog.answers = {ScriptedPipe::WriteAck(4)};
    EXPECT_TRUE(mPort.WriteMemory(0, Bytes(4)).IsOK());
    EXPECT_LE(mLog.timeouts.back().count(), 5000);
}

TEST_F(U3vPortTest, WritesAnEightByteRegisterWithOneCommandAndItsNeighboursWithOthers) {
    ASSERT_TRUE(Start(Number(200, 4)).IsOK());
    mLog.commands.clear();
    mLog.answers = {ScriptedPipe::WriteAck(4), ScriptedPipe::WriteAck(8),
                    ScriptedPipe::WriteAck(4)};
    const std::array<GenPort::Register, 4> registers{
        {{.address = 0x10, .bytes = {std::byte{1}}},
         {.address = 0x14, .bytes = {std::byte{2}}},
         {.address = 0x18, .bytes = {std::byte{3}}, .isSecondHalf = true},
         {.address = 0x1C, .bytes = {std::byte{4}}}}};
    EXPECT_TRUE(mPort.WriteRegisters(registers).IsOK());
    EXPECT_THAT(Written(),
                testing::ElementsAre("10: 01000000", "14: 0200000003000000", "1c: 04000000"));
}

TEST_F(U3vPortTest, ReadsNeighboursTogetherAndARefusedOneRegisterByRegister) {
    ASSERT_TRUE(Start(Number(200, 4)).IsOK());
    std::array<GenPort::Register, 3> registers{
        {{.address = 0x10}, {.address = 0x14}, {.address = 0x18, .isSecondHalf = true}}};
    const auto low = ScriptedPipe::Ack(0x0801, Bytes(4, std::byte{1}));
    const auto wide = ScriptedPipe::Ack(0x0801, Bytes(8, std::byte{2}));
    // A half of the register of eight bytes is never asked for.
    mLog.answers = {ScriptedPipe::Ack(0x0801, {}, 0x8003), low, wide, low, wide};
    mLog.commands.clear();
    EXPECT_TRUE(mPort.ReadRegisters(registers).IsOK());
    EXPECT_EQ(registers[0].bytes[3], std::byte{1});
    EXPECT_EQ(registers[2].bytes[3], std::byte{2});
    EXPECT_TRUE(mPort.ReadRegisters(registers).IsOK());
    EXPECT_THAT(Asked(), testing::ElementsAre("10+12", "10+4", "14+8", "10+4", "14+8"));
}

TEST_F(U3vPortTest, TellsByAProbeThatTheDeviceIsGone) {
    ASSERT_TRUE(Start(Number(200, 4)).IsOK());
    mLog.answers = {Number(0x2000, 8)};
    EXPECT_TRUE(mPort.Probe().IsOK());
    mLog.answers = {ScriptedPipe::Error(LIBUSB_ERROR_NO_DEVICE)};
    EXPECT_EQ(mPort.Probe().GetCode(), kNxDeviceGone);
    EXPECT_FALSE(mPort.IsAlive());
}

TEST_F(U3vPortTest, ProbesWithTheTimeoutThatTheDeviceAsksFor) {
    ASSERT_TRUE(Start(Number(12000, 4)).IsOK());
    mLog.timeouts.clear();
    mLog.answers = {ScriptedPipe::Pending(3000), Number(0x2000, 8)};
    EXPECT_TRUE(mPort.Probe().IsOK());
    ASSERT_EQ(mLog.timeouts.size(), 2U);
    EXPECT_GT(mLog.timeouts[0].count(), 12000);
    EXPECT_GT(mLog.timeouts[1].count(), 12000);
}

TEST_F(U3vPortTest, LivesOnWhenAProbeIsRefused) {
    ASSERT_TRUE(Start(Number(200, 4)).IsOK());
    mLog.answers = {ScriptedPipe::Ack(0x0801, {}, 0x8006)};
    EXPECT_EQ(mPort.Probe().GetCode(), kNxDeviceError);
    EXPECT_TRUE(mPort.IsAlive());
    mLog.answers = {ScriptedPipe::WriteAck(4)};
    EXPECT_TRUE(mPort.WriteMemory(0, Bytes(4)).IsOK());
}

TEST_F(U3vPortTest, WaitsForNoOtherThreadsCommandToTellWhetherItIsAlive) {
    SlowPipe::Gate gate;
    U3vPort port(nullptr, std::make_unique<SlowPipe>(gate), "Device X");
    std::thread other([&port] { EXPECT_FALSE(port.WriteMemory(0, Bytes(4)).IsOK()); });
    {
        std::unique_lock lock(gate.mutex);
        gate.changed.wait(lock, [&gate] { return gate.isAsked; });
    }
    EXPECT_TRUE(port.IsAlive());
    EXPECT_TRUE(port.Probe().IsOK());
    {
        const std::lock_guard lock(gate.mutex);
        gate.isOpen = true;
    }
    gate.changed.notify_all();
    other.join();
    EXPECT_FALSE(port.IsAlive());
}

#include <array>
#include <chrono>
#include <memory>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "FakeGvcpDevice.h"
#include "gvcp/GvcpChannel.h"

using GvcpPacket::Command;
using std::chrono::milliseconds;

namespace {

const Endpoint kDevice{0x0A090802, 3956};

// A device that carries out one command after the other and keeps no request ids.
class GvcpChannelSlowDeviceTest : public testing::TestWithParam<GvcpChannel::Effect> {
  protected:
    static void Write(GvcpChannel& channel, std::uint32_t value) {
        std::span<const std::byte> answer;
        EXPECT_TRUE(channel
                        .Transact(Command::kWriteRegister,
                                  GvcpPacket::WriteRegisters(std::array{GvcpPacket::RegisterValue{
                                      .address = 0x9000, .value = value}}),
                                  0x9000, answer, GetParam())
                        .IsOK());
    }
};

TEST_P(GvcpChannelSlowDeviceTest, IsNotFloodedWithCopiesOfWhatItCarriesOut) {
    auto owned = std::make_unique<FakeGvcpDevice>();
    FakeGvcpDevice& device = *owned;
    device.Put(0x9000, std::string(4, '\0'));
    device.SetRegisterWriteTime(milliseconds(1200));
    GvcpChannel channel(std::move(owned), kDevice, "10.9.8.2 on eth9");
    const auto start = channel.Now();
    std::size_t before = 0;
    for (std::uint32_t i = 1; i <= 20; ++i) {
        SCOPED_TRACE(i);
        Write(channel, i);
        std::span<const std::byte> answer;
        ASSERT_TRUE(channel
                        .Transact(Command::kReadRegister,
                                  GvcpPacket::ReadRegisters(std::array<std::uint32_t, 1>{0x9000}),
                                  0x9000, answer)
                        .IsOK());
        if (i > 2) {
            EXPECT_EQ(device.RegisterWrites(), before + 1);
        }
        before = device.RegisterWrites();
    }
    EXPECT_LT(channel.Now() - start, std::chrono::seconds(45));
}

// Longer than a device keeps a controller that it does not hear of.
TEST_P(GvcpChannelSlowDeviceTest, HearsOfItsControllerWhileLateCopiesAreWaitedFor) {
    auto owned = std::make_unique<FakeGvcpDevice>();
    FakeGvcpDevice& device = *owned;
    device.Put(0x9000, std::string(4, '\0'));
    device.Put(0xA00, std::string(4, '\0'));
    device.SetRegisterWriteTime(milliseconds(2650));
    device.IgnoreCopies();
    GvcpChannel channel(std::move(owned), kDevice, "10.9.8.2 on eth9");
    channel.KeepAlive(0xA00, milliseconds(1000));
    for (std::uint32_t i = 1; i <= 4; ++i) {
        Write(channel, i);
    }
    EXPECT_EQ(device.RegisterWrites(), 4U);
    EXPECT_LT(device.LongestSilence(), milliseconds(1500));
}

INSTANTIATE_TEST_SUITE_P(Effects, GvcpChannelSlowDeviceTest,
                         testing::Values(GvcpChannel::Effect::kQuick,
                                         GvcpChannel::Effect::kMayTakeLong));

TEST(GvcpChannelIdTest, BeginsWithAnyRequestId) {
    std::set<std::string> ids;
    for (int i = 0; i < 16; ++i) {
        auto owned = std::make_unique<FakeGvcpDevice>();
        FakeGvcpDevice& device = *owned;
        device.Put(0xA00, std::string(4, '\0'));
        GvcpChannel channel(std::move(owned), kDevice, "10.9.8.2 on eth9");
        std::span<const std::byte> answer;
        EXPECT_TRUE(channel
                        .Transact(Command::kReadRegister,
                                  GvcpPacket::ReadRegisters(std::array<std::uint32_t, 1>{0xA00}),
                                  0xA00, answer)
                        .IsOK());
        ids.insert(device.LastId());
    }
    EXPECT_GT(ids.size(), 8U);
    EXPECT_FALSE(ids.contains(std::string(2, '\0')));
}

}  // namespace

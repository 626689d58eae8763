#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Hex.h"
#include "simulator/gvcp/GvcpHandler.h"

/// A simulated device's GVCP side without a socket: commands and acks in hex, with a clock
/// of its own.
class GvcpHandlerTest : public testing::Test {
  protected:
    static constexpr std::uint32_t kAddress = 0xc0a80114;  // 192.168.1.20
    static constexpr std::uint32_t kMask = 0xffffff00;
    static constexpr simulator::Peer kApplication{0xc0a80101, 50000};
    static constexpr simulator::Peer kOther{0xc0a80101, 50001};
    static constexpr const char* kWritten = "00000083000400000001";
    static constexpr const char* kWriteDenied = "80060083000400000000";

    GvcpHandlerTest() {
        mOptions.firmware.deviceId = "left";
        mOptions.concatenation = true;
    }

    void Make() {
        std::string why;
        mHandler.reset();
        mFirmware.reset();
        mFirmware = simulator::FirmwareStore::Open(mOptions.firmware, mEvents, why);
        ASSERT_NE(mFirmware, nullptr) << why;
        mHandler = std::make_unique<simulator::GvcpHandler>(
            mOptions, *mFirmware, mEvents, mCounters, [this] { ++mResets; },
            simulator::IpAddress{kAddress, kMask, 0}, mIp.emplace(mFirmware->Folder()));
    }

    std::optional<simulator::GvcpReply> Handle(const std::string& hex,
                                               const simulator::Peer& peer = kApplication) {
        return mHandler->Handle(peer, FromHex(hex), mNow);
    }

    /// The ack in hex; empty if there is none.
    std::string Ask(const std::string& hex, const simulator::Peer& peer = kApplication) {
        const auto reply = Handle(hex, peer);
        return reply ? ToHex(reply->acknowledge) : std::string();
    }

    /// A command with a new id; its ack without the id, as "status command length payload".
    std::string AskNew(const std::string& command, const std::string& payload,
                       const simulator::Peer& peer = kApplication) {
        ++mId;
        const std::string answer =
            Ask("4201" + command + Hex16(payload.size() / 2) + Hex16(mId) + payload, peer);
        EXPECT_EQ(answer.substr(12, 4), Hex16(mId));
        return answer.substr(0, 12) + answer.substr(16);
    }

    std::string Read(std::uint32_t address, const simulator::Peer& peer = kApplication) {
        return AskNew("0080", Hex32(address), peer);
    }
    std::string Write(std::uint32_t address, std::uint32_t value,
                      const simulator::Peer& peer = kApplication) {
        return AskNew("0082", Hex32(address) + Hex32(value), peer);
    }
    void TakeControl(const simulator::Peer& peer = kApplication) {
        ASSERT_EQ(Write(0xa00, 2, peer), "00000083000400000001");
    }

    simulator::DeviceOptions mOptions;
    simulator::EventLog mEvents;
    simulator::CommandCounters mCounters;
    std::unique_ptr<simulator::FirmwareStore> mFirmware;
    std::optional<simulator::IpSettings> mIp;
    std::unique_ptr<simulator::GvcpHandler> mHandler;
    simulator::GvcpHandler::Clock::time_point mNow = simulator::GvcpHandler::Clock::now();
    std::uint16_t mId = 0x1000;
    int mResets = 0;
};

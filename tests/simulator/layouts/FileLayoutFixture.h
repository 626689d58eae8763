#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "DeviceChannel.h"
#include "Payload.h"
#include "simulator/description/GenICamDescription.h"

inline constexpr std::uint32_t kOpen = 0;
inline constexpr std::uint32_t kClose = 1;
inline constexpr std::uint32_t kRead = 2;
inline constexpr std::uint32_t kWrite = 3;
inline constexpr std::uint32_t kDfw = 0;
inline constexpr std::uint32_t kStatusTxt = 1;
inline constexpr std::uint64_t kBuffer = 0x1000000;

/// A device of one bus, in conversation with an application that knows its layout.
class FileLayoutTest : public testing::TestWithParam<simulator::Bus> {
  protected:
    void Make(simulator::RegisterLayout layout) {
        mOptions.layout = layout;
        std::string why;
        ASSERT_EQ(WhyUnusable(mOptions), "");
        mChannel.reset();
        mFirmware = simulator::FirmwareStore::Open(mOptions.firmware, mEvents, why);
        ASSERT_NE(mFirmware, nullptr) << why;
        if (GetParam() == simulator::Bus::kGigEVision) {
            mChannel = std::make_unique<GvcpDeviceChannel>(mOptions, *mFirmware, mEvents);
        } else {
            mChannel = std::make_unique<U3vDeviceChannel>(mOptions, *mFirmware, mEvents);
        }
        mBigEndian = GetParam() == simulator::Bus::kGigEVision;
    }

    [[nodiscard]] std::string Coded(std::uint64_t value, unsigned int size) const {
        std::string bytes;
        for (unsigned int i = 0; i < size; ++i) {
            bytes.push_back(static_cast<char>(value >> (8U * i) & 0xffU));
        }
        if (mBigEndian) {
            std::reverse(bytes.begin(), bytes.end());
        }
        return bytes;
    }
    std::uint32_t TryPut(std::uint64_t address, std::uint64_t value, unsigned int size = 4) {
        return mChannel->Write(address, Coded(value, size));
    }
    void Put(std::uint64_t address, std::uint64_t value, unsigned int size = 4) {
        EXPECT_EQ(TryPut(address, value, size), 0U) << std::hex << address;
    }
    std::uint32_t TryGet(std::uint64_t address) {
        std::string bytes;
        return mChannel->Read(address, 4, bytes);
    }
    std::uint64_t Get(std::uint64_t address, std::uint16_t size = 4) {
        std::string bytes;
        EXPECT_EQ(mChannel->Read(address, size, bytes), 0U) << std::hex << address;
        if (!mBigEndian) {
            std::reverse(bytes.begin(), bytes.end());
        }
        std::uint64_t value = 0;
        for (const char byte : bytes) {
            value = value << 8U | static_cast<unsigned char>(byte);
        }
        return value;
    }

    /// How an application that knows a layout goes about an operation.
    struct Steps {
        std::function<void(std::uint32_t operation, std::uint32_t mode)> execute;
        std::function<void(std::uint32_t file)> select;
        std::function<void(std::uint64_t offset, std::uint32_t length)> range;
        std::function<bool()> succeeded;
        std::function<std::uint64_t()> result;
        std::uint64_t buffer = kBuffer;
    };

    void Succeed(const Steps& steps, std::uint32_t operation, std::uint32_t mode = 0) {
        steps.execute(operation, mode);
        EXPECT_TRUE(steps.succeeded()) << operation;
    }

    /// Writes a payload in chunks of 40 bytes and reads the status that it led to.
    void Update(const Steps& steps) {
        const Payload payload{.body = std::string(100, 'f')};
        const std::string bytes = payload.Encode();
        steps.select(kDfw);
        Succeed(steps, kOpen, 1);
        for (std::size_t done = 0; done < bytes.size();) {
            std::string chunk = bytes.substr(done, 40);
            const std::size_t taken = chunk.size();
            chunk.resize((taken + 3) / 4 * 4);
            ASSERT_EQ(mChannel->Write(steps.buffer, chunk), 0U);
            steps.range(done, static_cast<std::uint32_t>(taken));
            Succeed(steps, kWrite);
            ASSERT_EQ(steps.result(), taken);
            done += taken;
        }
        Succeed(steps, kClose);
        EXPECT_EQ(mFirmware->State().lastStatus, "Firmware applied: MirskoSim 2.1");

        steps.select(kStatusTxt);
        Succeed(steps, kOpen, 0);
        std::string status;
        for (std::uint64_t taken = 1; taken != 0;) {
            steps.range(status.size(), 16);
            Succeed(steps, kRead);
            taken = steps.result();
            std::string part;
            ASSERT_EQ(mChannel->Read(steps.buffer, 16, part), 0U);
            status += part.substr(0, taken);
        }
        EXPECT_EQ(status, mFirmware->State().lastStatus);
        Succeed(steps, kClose);
        steps.execute(kClose, 0);
        EXPECT_FALSE(steps.succeeded()) << "nothing is open";
    }

    /// The same on a device without a FileSelector.
    void UpdateOneNamelessFile(simulator::RegisterLayout layout, Steps steps) {
        mOptions.profile = simulator::Profile::kMainLoad;
        const bool bigEndian = mBigEndian;
        Make(layout);
        mBigEndian = bigEndian;
        EXPECT_EQ(TryGet(layout == simulator::RegisterLayout::kWide ? 0xffffd0000000 : 0x10300),
                  DeviceChannel::kInvalidAddress);
        EXPECT_THAT(DescribeDevice(mOptions, GetParam()),
                    testing::Not(testing::HasSubstr("FileSelector")));
        steps.select = [](std::uint32_t) {};
        Update(steps);
    }

    Steps Plain() {
        return {.execute =
                    [this](std::uint32_t operation, std::uint32_t mode) {
                        Put(0x10304, operation);
                        Put(0x10324, mode);
                        Put(0x10318, 1);
                    },
                .select = [this](std::uint32_t file) { Put(0x10300, file); },
                .range =
                    [this](std::uint64_t offset, std::uint32_t length) {
                        Put(0x10310, offset);
                        Put(0x10314, length);
                    },
                .succeeded = [this] { return Get(0x1031c) == 0; },
                .result = [this] { return Get(0x10320); }};
    }

    simulator::DeviceOptions mOptions;
    simulator::EventLog mEvents;
    std::unique_ptr<simulator::FirmwareStore> mFirmware;
    std::unique_ptr<DeviceChannel> mChannel;
    bool mBigEndian = true;
};

/// What is on GigE Vision only: legacy byte orders, register commands, delays that can be seen.
class GigEVisionLayoutTest : public FileLayoutTest {};

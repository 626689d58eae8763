#include "simulator/u3v/U3vFunction.h"

#include <gtest/gtest.h>

#include "Hex.h"
#include "simulator/registers/FeatureAddresses.h"

namespace features = simulator::features;

using simulator::U3vFunction;
using Departure = U3vFunction::Departure;

namespace {

std::string Little(std::uint64_t value, unsigned int size) {
    std::string bytes;
    for (unsigned int i = 0; i < size; ++i) {
        bytes.push_back(static_cast<char>(value >> (8U * i) & 0xFFU));
    }
    return bytes;
}

/// A camera that is plugged in and out without a USB beneath it.
class U3vFunctionTest : public testing::Test {
  protected:
    void SetUp() override {
        std::string why;
        mFirmware = simulator::FirmwareStore::Open(mDevice.firmware, mEvents, why);
        ASSERT_NE(mFirmware, nullptr) << why;
    }

    void PlugIn() {
        mDepartures.clear();
        if (!mFaults) {
            mFaults.emplace(mDevice.faults, mEvents);
        }
        mFunction = std::make_unique<U3vFunction>(
            mDevice, mOptions, *mFirmware, mEvents, *mFaults,
            [this](Departure departure) { mDepartures.push_back(departure); });
    }

    /// The payload of the acknowledge, as the device sends it; "mute" when it sends none.
    std::string Ask(unsigned int command, const std::string& payload) {
        const std::string packet = "U3VC" + Little(0x4000, 2) + Little(command, 2) +
                                   Little(payload.size(), 2) + Little(++mId, 2) + payload;
        (void)mFunction->Out(simulator::kControlOut,
                             {reinterpret_cast<const std::uint8_t*>(packet.data()), packet.size()});
        std::vector<std::uint8_t> answer;
        if (mFunction->In(simulator::kControlIn, answer) !=
            simulator::UsbFunction::Transfer::kDone) {
            return "mute";
        }
        return {answer.begin() + 12, answer.end()};
    }
    std::string Read(std::uint64_t address, unsigned int length) {
        return Ask(0x0800, Little(address, 8) + Little(0, 2) + Little(length, 2));
    }
    std::string Write(std::uint64_t address, const std::string& bytes) {
        return Ask(0x0802, Little(address, 8) + bytes);
    }
    void WriteNumber(std::uint32_t address, std::uint32_t value) {
        (void)Write(address, Little(value, 4));
    }
    [[nodiscard]] std::string UserName() { return Read(0x184, 64).c_str(); }

    /// Opens the payload file and sends its first 16 bytes; false if the camera fell silent.
    bool SendSomeBytes() {
        constexpr std::uint32_t kBlock = features::kPlainBlock;
        WriteNumber(features::kFileSelector, 0);
        WriteNumber(kBlock + features::kOpenMode, 1);
        WriteNumber(features::kOperationSelector, 0);
        WriteNumber(kBlock + features::kExecute, 1);
        WriteNumber(features::kOperationSelector, 3);
        (void)Write(features::kBuffer, std::string(16, 'x'));
        WriteNumber(kBlock + features::kAccessOffset, 0);
        WriteNumber(kBlock + features::kAccessLength, 16);
        WriteNumber(kBlock + features::kExecute, 1);
        return UserName() != "mute";
    }

    simulator::DeviceOptions mDevice;
    simulator::U3vOptions mOptions;
    simulator::EventLog mEvents;
    std::unique_ptr<simulator::FirmwareStore> mFirmware;
    std::optional<simulator::DeviceFaults> mFaults;  // of all times of being plugged in
    std::vector<Departure> mDepartures;
    std::unique_ptr<U3vFunction> mFunction;
    unsigned int mId = 0;
};

}  // namespace

TEST_F(U3vFunctionTest, TellsTheUserDefinedNameThatItHasNow) {
    PlugIn();
    EXPECT_EQ(UserName(), "");
    ASSERT_TRUE(mFirmware->SetDeviceId("left-eye"));
    EXPECT_EQ(UserName(), "left-eye");
    (void)Write(0x184, std::string("right-eye") + std::string(55, '\0'));
    EXPECT_EQ(mFirmware->State().deviceId, "right-eye");
    EXPECT_EQ(UserName(), "right-eye");
}

TEST_F(U3vFunctionTest, FallsMuteAtTheByteOnlyOnce) {
    mDevice.faults.muteAtByte = 16;
    PlugIn();
    EXPECT_FALSE(SendSomeBytes());
    PlugIn();
    EXPECT_TRUE(SendSomeBytes());
    EXPECT_EQ(mEvents.Count("fault"), 1U);
}

TEST_F(U3vFunctionTest, IsUnpluggedOnceTheAckOfTheCommandWasFetched) {
    mDevice.faults.planned.push_back(simulator::PlannedFault::Parse("vanish@command=2").value());
    PlugIn();
    EXPECT_EQ(UserName(), "");
    EXPECT_TRUE(mDepartures.empty());
    EXPECT_EQ(UserName(), "");
    EXPECT_EQ(mDepartures, std::vector{Departure::kUnplugged});
}

TEST_F(U3vFunctionTest, StallsAtTheMoment) {
    mDevice.faults.planned.push_back(simulator::PlannedFault::Parse("stall@byte=16").value());
    PlugIn();
    EXPECT_FALSE(SendSomeBytes());
    EXPECT_EQ(mEvents.Count("fault"), 1U);
}

TEST_F(U3vFunctionTest, RebootsAtTheByteOnlyOnce) {
    mDevice.faults.rebootAtByte = 16;
    PlugIn();
    (void)SendSomeBytes();
    EXPECT_EQ(mDepartures, std::vector{Departure::kReboot});
    PlugIn();
    EXPECT_TRUE(SendSomeBytes());
    EXPECT_TRUE(mDepartures.empty());
}

TEST_F(U3vFunctionTest, VanishesAtTheByteOnlyOnce) {
    mDevice.faults.vanishAtByte = 16;
    PlugIn();
    (void)SendSomeBytes();
    EXPECT_EQ(mDepartures, std::vector{Departure::kUnplugged});
    PlugIn();
    EXPECT_TRUE(SendSomeBytes());
    EXPECT_TRUE(mDepartures.empty());
}

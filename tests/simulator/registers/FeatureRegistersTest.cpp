#include "simulator/registers/FeatureRegisters.h"

#include <gtest/gtest.h>

#include "Hex.h"
#include "Payload.h"
#include "Process.h"
#include "TemporaryFolder.h"
#include "simulator/registers/FeatureAddresses.h"

using simulator::DeviceMemory;
using simulator::DeviceOptions;
using simulator::EventLog;
using simulator::FeatureRegisters;
using simulator::FirmwareStore;
using simulator::MemoryStatus;
using simulator::Profile;
using simulator::RegisterLayout;
namespace features = simulator::features;

namespace {

constexpr std::uint32_t kOpen = 0;
constexpr std::uint32_t kClose = 1;
constexpr std::uint32_t kRead = 2;
constexpr std::uint32_t kWrite = 3;

class FeatureRegistersTest : public testing::Test {
  protected:
    void Make() {
        std::string why;
        mFirmware = FirmwareStore::Open(mOptions.firmware, mEvents, why);
        ASSERT_NE(mFirmware, nullptr) << why;
        mFeatures = std::make_unique<FeatureRegisters>(
            mMemory, mOptions, *mFirmware, mEvents, simulator::Bus::kGigEVision,
            FeatureRegisters::Hooks{[this] { ++mResets; },
                                    [](const std::string&, const nlohmann::json&) {}});
    }

    MemoryStatus Set(std::uint32_t address, std::uint32_t value) {
        return mMemory.WriteMemory(address, FromHex(Hex32(value)));
    }
    std::uint32_t Get(std::uint32_t address) {
        std::vector<std::uint8_t> bytes(4);
        EXPECT_EQ(mMemory.ReadMemory(address, bytes), MemoryStatus::kOk);
        return static_cast<std::uint32_t>(std::stoul(ToHex(bytes), nullptr, 16));
    }

    [[nodiscard]] std::uint32_t Block(std::uint32_t file, std::uint32_t operation) const {
        return mOptions.layout == RegisterLayout::kPlain
                   ? features::kPlainBlock
                   : features::kFirstBlock + file * features::kFileStride +
                         operation * features::kOperationStride;
    }

    /// Selects, executes. @return the status, or 99 when a register refused
    std::uint32_t Execute(std::uint32_t file, std::uint32_t operation, std::uint32_t offset = 0,
                          std::uint32_t length = 0, std::uint32_t mode = 0) {
        const bool selector = mOptions.profile == Profile::kFileAccess;
        const std::uint32_t block = Block(file, operation);
        if ((selector && Set(features::kFileSelector, file) != MemoryStatus::kOk) ||
            Set(features::kOperationSelector, operation) != MemoryStatus::kOk ||
            Set(block + features::kOpenMode, mode) != MemoryStatus::kOk ||
            Set(block + features::kAccessOffset, offset) != MemoryStatus::kOk ||
            Set(block + features::kAccessLength, length) != MemoryStatus::kOk ||
            Set(block + features::kExecute, 1) != MemoryStatus::kOk) {
            return 99;
        }
        return Get(block + features::kStatus);
    }

    void UpdateAndReadStatus() {
        const std::uint32_t stride =
            mOptions.layout == RegisterLayout::kPlain ? 0 : features::kBufferStride;
        const std::uint32_t statusFile = mOptions.profile == Profile::kFileAccess ? 1 : 0;
        const std::string payload = Payload{.body = "body"}.Encode();
        ASSERT_EQ(Execute(0, kOpen, 0, 0, 1), 0U);
        ASSERT_EQ(mMemory.WriteMemory(features::kBuffer,
                                      std::vector<std::uint8_t>(payload.begin(), payload.end())),
                  MemoryStatus::kOk);
        ASSERT_EQ(Execute(0, kWrite, 0, static_cast<std::uint32_t>(payload.size())), 0U);
        EXPECT_EQ(Get(Block(0, kWrite) + features::kResult), payload.size());
        EXPECT_EQ(Get(Block(0, kWrite) + features::kFileSize), payload.size());
        ASSERT_EQ(Execute(0, kClose), 0U);

        ASSERT_EQ(Execute(statusFile, kOpen, 0, 0, 0), 0U);
        ASSERT_EQ(Execute(statusFile, kRead, 0, mOptions.bufferSize), 0U);
        const std::uint32_t count = Get(Block(statusFile, kRead) + features::kResult);
        std::vector<std::uint8_t> status(count);
        ASSERT_EQ(mMemory.ReadMemory(features::kBuffer + statusFile * stride, status),
                  MemoryStatus::kOk);
        EXPECT_EQ(std::string(status.begin(), status.end()), "Firmware applied: MirskoSim 2.1");
        ASSERT_EQ(Execute(statusFile, kClose), 0U);
    }

    DeviceOptions mOptions;
    EventLog mEvents;
    DeviceMemory mMemory;
    std::unique_ptr<FirmwareStore> mFirmware;
    std::unique_ptr<FeatureRegisters> mFeatures;
    int mResets = 0;
};

}  // namespace

TEST_F(FeatureRegistersTest, UpdatesThroughPlainRegisters) {
    Make();
    UpdateAndReadStatus();
}

TEST_F(FeatureRegistersTest, UpdatesThroughSelectorDependentRegisters) {
    mOptions.layout = RegisterLayout::kSelectorDependent;
    Make();
    UpdateAndReadStatus();
}

TEST_F(FeatureRegistersTest, UpdatesThroughOneNamelessFile) {
    for (const RegisterLayout layout :
         {RegisterLayout::kPlain, RegisterLayout::kSelectorDependent}) {
        mOptions.profile = Profile::kMainLoad;
        mOptions.layout = layout;
        mMemory = DeviceMemory();
        Make();
        UpdateAndReadStatus();
        EXPECT_EQ(Set(features::kFileSelector, 0), MemoryStatus::kInvalidAddress);
    }
}

TEST_F(FeatureRegistersTest, HasNoFileRegistersWithoutFileAccess) {
    mOptions.profile = Profile::kNoFileAccess;
    Make();
    EXPECT_EQ(Set(features::kOperationSelector, 0), MemoryStatus::kInvalidAddress);
    EXPECT_EQ(Set(features::kBuffer, 0), MemoryStatus::kInvalidAddress);
}

TEST_F(FeatureRegistersTest, RefusesSelectorsAndLengthsOutOfRange) {
    Make();
    EXPECT_EQ(Set(features::kFileSelector, 2), MemoryStatus::kInvalidParameter);
    EXPECT_EQ(Set(features::kFileSelector, ~0U), MemoryStatus::kInvalidParameter);
    EXPECT_EQ(Set(features::kOperationSelector, 4), MemoryStatus::kInvalidParameter);
    ASSERT_EQ(Execute(0, kOpen, 0, 0, 1), 0U);
    EXPECT_EQ(Execute(0, kWrite, 0, mOptions.bufferSize + 1), 1U);
    EXPECT_EQ(Execute(0, kWrite, 0, ~0U), 1U);
    EXPECT_EQ(Execute(0, kWrite, ~0U, 4), 1U);
    EXPECT_EQ(Execute(0, kOpen, 0, 0, ~0U), 1U);
}

TEST_F(FeatureRegistersTest, LacksTheUpdateFileInItsSelectorWhenToldSo) {
    mOptions.profile = Profile::kSelectorWithoutDfw;
    Make();
    EXPECT_EQ(Get(features::kFileSelector), 1U);
    EXPECT_EQ(Set(features::kFileSelector, 0), MemoryStatus::kInvalidParameter);
    EXPECT_EQ(Set(features::kFileSelector, 2), MemoryStatus::kOk);
}

TEST_F(FeatureRegistersTest, ShowsThatAnOperationIsNotDoneYet) {
    mOptions.operationTime = std::chrono::milliseconds(150);
    Make();
    const std::uint32_t block = features::kPlainBlock;
    ASSERT_EQ(Execute(1, kOpen), 0U);
    EXPECT_EQ(Get(block + features::kExecute), 1U);
    EXPECT_EQ(Set(block + features::kExecute, 1), MemoryStatus::kBusy);
    ASSERT_TRUE(WaitUntil([&] { return Get(block + features::kExecute) == 0; }));
    ASSERT_EQ(Execute(1, kClose), 0U);
}

TEST_F(FeatureRegistersTest, SetsTheDeviceIdAndRefusesOneThatIsNotPrintable) {
    Make();
    std::vector<std::uint8_t> name(64);
    name[0] = 'n';
    EXPECT_EQ(mMemory.WriteMemory(features::kUserId, name), MemoryStatus::kOk);
    EXPECT_EQ(mFirmware->State().deviceId, "n");
    name[1] = 7;
    EXPECT_EQ(mMemory.WriteMemory(features::kUserId, name), MemoryStatus::kInvalidParameter);
    EXPECT_EQ(mFirmware->State().deviceId, "n");
}

TEST_F(FeatureRegistersTest, ResetsWhenTheCommandValueIsWrittenOnly) {
    Make();
    EXPECT_EQ(Set(features::kReset, 0), MemoryStatus::kOk);
    EXPECT_EQ(mResets, 0);
    EXPECT_EQ(Set(features::kReset, 1), MemoryStatus::kOk);
    EXPECT_EQ(mResets, 1);
    EXPECT_EQ(Get(features::kReset), 0U);
}

TEST_F(FeatureRegistersTest, SaysHowLongItWasOccupied) {
    mOptions.executeLatency = std::chrono::milliseconds(300);
    Make();
    ASSERT_EQ(Execute(1, kOpen), 0U);
    EXPECT_EQ(mFeatures->TakeOccupiedTime(), std::chrono::milliseconds(300));
    EXPECT_EQ(mFeatures->TakeOccupiedTime(), std::chrono::milliseconds(0));
}

#include "connection/PortRegistry.h"

#include <chrono>
#include <functional>
#include <future>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>

#include "history/DeviceHistory.h"

namespace {

class FakePort : public DevicePort {
  public:
    NxResult ReadMemory(std::uint64_t, std::span<std::byte>) override { return {}; }
    NxResult WriteMemory(std::uint64_t, std::span<const std::byte>) override { return {}; }
    NxResult ReadRegisters(std::span<Register>) override { return {}; }
    NxResult WriteRegisters(std::span<const Register>) override { return {}; }
    [[nodiscard]] std::string DeviceName() const override { return "Device X"; }
    [[nodiscard]] bool CombinesRegisters() const override { return false; }
    [[nodiscard]] bool HasRegisterCommands() const override { return false; }
    NxResult ReadDescription(std::string& xml) override {
        xml = "<xml/>";
        return {};
    }
    [[nodiscard]] bool IsAlive() const override { return isAlive; }
    NxResult Probe() override {
        ++probes;
        if (probes <= probesBeforeFailure) {
            return {};
        }
        isAlive = failure.IsOK() || survivesFailure;
        return failure;
    }

    bool isAlive = true;
    NxResult failure;  ///< of a probe
    bool survivesFailure = false;
    int probesBeforeFailure = 0;
    int probes = 0;
};

std::vector<std::shared_ptr<FakePort>> opened;
std::function<void()> whileOpening;

// In the place of the real buses.
NxResult OpenFakePort(const ConnectionId& /*id*/, std::shared_ptr<DevicePort>& port) {
    if (whileOpening) {
        whileOpening();
    }
    opened.push_back(std::make_shared<FakePort>());
    port = opened.back();
    return {};
}

class PortRegistryTest : public testing::Test {
  protected:
    PortRegistryTest() {
        opened.clear();
        mId.kind = ConnectionId::Kind::kUsb;
        // What the process remembers of a device must not reach the next test.
        mId.guid = testing::UnitTest::GetInstance()->current_test_info()->name();
    }
    ~PortRegistryTest() override { opened.clear(); }

    NxResult Acquire(PortRegistry::Share& share) { return mRegistry.Acquire(mId, share); }

    PortRegistry mRegistry{OpenFakePort};
    ConnectionId mId;
    PortRegistry::Share mFirst;
    PortRegistry::Share mSecond;
};

}  // namespace

TEST_F(PortRegistryTest, SharesTheChannelOfADeviceThatAnswers) {
    ASSERT_TRUE(Acquire(mFirst).IsOK());
    ASSERT_TRUE(Acquire(mSecond).IsOK());
    EXPECT_EQ(mFirst.port, mSecond.port);
    EXPECT_EQ(mFirst.xml, mSecond.xml);
    ASSERT_EQ(opened.size(), 1U);
    EXPECT_EQ(opened[0]->probes, 1);
}

TEST_F(PortRegistryTest, OpensADeviceAnewThatIsNoLongerTheOneThatWasConnected) {
    ASSERT_TRUE(Acquire(mFirst).IsOK());
    opened[0]->failure = NxResult(kNxDeviceGone, "was unplugged");
    ASSERT_TRUE(Acquire(mSecond).IsOK());
    EXPECT_EQ(opened.size(), 2U);
    EXPECT_NE(mFirst.port, mSecond.port);
}

TEST_F(PortRegistryTest, OpensADeviceAnewWhoseChannelHasFailed) {
    ASSERT_TRUE(Acquire(mFirst).IsOK());
    opened[0]->isAlive = false;
    ASSERT_TRUE(Acquire(mSecond).IsOK());
    EXPECT_EQ(opened.size(), 2U);
    EXPECT_EQ(opened[0]->probes, 0);
}

TEST_F(PortRegistryTest, DoesNotAskADeviceTwiceThatDoesNotAnswer) {
    ASSERT_TRUE(Acquire(mFirst).IsOK());
    opened[0]->failure = NxResult(kNxTimeout, "did not answer");
    EXPECT_EQ(Acquire(mSecond).GetCode(), kNxTimeout);
    EXPECT_EQ(opened.size(), 1U);
    EXPECT_EQ(mSecond.port, nullptr);
}

TEST_F(PortRegistryTest, OpensADeviceAnewThatThisProcessResetAlsoWhenItWasStillAnswering) {
    ASSERT_TRUE(Acquire(mFirst).IsOK());
    DeviceHistory::OfThisProcess().NoteReset(mId);
    opened[0]->probesBeforeFailure = 3;
    opened[0]->failure = NxResult(kNxControlLost, "was restarted");
    ASSERT_TRUE(Acquire(mSecond).IsOK());
    EXPECT_EQ(opened[0]->probes, 4);
    EXPECT_EQ(opened.size(), 2U);
}

TEST_F(PortRegistryTest, OpensADeviceAnewThatIsSilentSinceThisProcessResetIt) {
    ASSERT_TRUE(Acquire(mFirst).IsOK());
    DeviceHistory::OfThisProcess().NoteReset(mId);
    opened[0]->failure = NxResult(kNxTimeout, "did not answer");
    ASSERT_TRUE(Acquire(mSecond).IsOK());
    EXPECT_EQ(opened.size(), 2U);
}

TEST_F(PortRegistryTest, SharesTheChannelOfADeviceThatDoesNotRestartWhenItIsTold) {
    ASSERT_TRUE(Acquire(mFirst).IsOK());
    DeviceHistory::OfThisProcess().NoteReset(mId);
    ASSERT_TRUE(Acquire(mSecond).IsOK());
    EXPECT_EQ(mFirst.port, mSecond.port);
    // The time for the restart is over.
    const int probes = opened[0]->probes;
    PortRegistry::Share third;
    ASSERT_TRUE(Acquire(third).IsOK());
    EXPECT_EQ(opened[0]->probes, probes + 1);
}

TEST_F(PortRegistryTest, ConnectsToADeviceWhileAnotherTakesItsTime) {
    std::promise<void> otherIsConnected;
    whileOpening = [this, &otherIsConnected, isFirst = true]() mutable {
        if (!std::exchange(isFirst, false)) {
            return;
        }
        std::thread other([this, &otherIsConnected] {
            ConnectionId id = mId;
            id.guid += "2";
            EXPECT_TRUE(mRegistry.Acquire(id, mSecond).IsOK());
            otherIsConnected.set_value();
        });
        const bool isConnected = otherIsConnected.get_future().wait_for(std::chrono::seconds(10)) ==
                                 std::future_status::ready;
        EXPECT_TRUE(isConnected);
        isConnected ? other.join() : other.detach();
    };
    ASSERT_TRUE(Acquire(mFirst).IsOK());
    whileOpening = nullptr;
    EXPECT_NE(mFirst.port, mSecond.port);
    mRegistry.Release(mSecond);
    EXPECT_EQ(mSecond.port, nullptr);
}

TEST_F(PortRegistryTest, APortKeepsWhyFileAccessIsNotPossible) {
    const DeviceHistory& history = DeviceHistory::OfThisProcess();
    ASSERT_TRUE(Acquire(mFirst).IsOK());
    GenPort& port = *mFirst.port;
    EXPECT_EQ(history.WhyNoFileAccess(mId), "");
    port.NoteNoFileAccess("its FileAccessBuffer\n is not a register");
    EXPECT_EQ(history.WhyNoFileAccess(mId), "its FileAccessBuffer? is not a register");
    port.NoteNoFileAccess(std::string(399, 'a') + "\xC3\xA4");
    EXPECT_EQ(history.WhyNoFileAccess(mId), std::string(399, 'a'));
    DeviceHistory::OfThisProcess().NoteConnected(mId);
    EXPECT_EQ(history.WhyNoFileAccess(mId), "");
}

TEST_F(PortRegistryTest, SaysWhyADeviceRefusesWhoseInterfaceThisProgramHolds) {
    ASSERT_TRUE(Acquire(mFirst).IsOK());
    opened[0]->failure = NxResult(kNxDeviceError, "refused to read (BUSY 0x8007)");
    opened[0]->survivesFailure = true;
    const NxResult result = Acquire(mSecond);
    EXPECT_EQ(result.GetCode(), kNxDeviceError);
    EXPECT_STREQ(result.GetDescription().GetAscii(), "refused to read (BUSY 0x8007)");
    // A second claim of the interface would be refused for the sake of the first.
    EXPECT_EQ(opened.size(), 1U);
    EXPECT_EQ(mSecond.port, nullptr);

    opened[0]->failure = NxResult();
    ASSERT_TRUE(Acquire(mSecond).IsOK());
    EXPECT_EQ(mFirst.port, mSecond.port);
}

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <libusb.h>

#include <NxBase/NxResultCodes.h>
#include <internal/NxBase/ByteOrder.h>

#include "FakeClock.h"
#include "u3v/U3vPort.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::HasSubstr;

constexpr std::uint64_t kResponseTime = 0x1CC;
constexpr std::uint64_t kManifest = 0x3000;
constexpr std::uint64_t kSbrm = 0x1000;
constexpr std::uint64_t kXml = 0x10000;

/// A device with a description of its own size that takes its time for every command, while the
/// clock stands still otherwise.
class SlowDevice : public UsbPipe {
  public:
    struct Settings {
        FakeClock clock;
        milliseconds time{0};                 ///< of every command
        milliseconds announced{0};            ///< as the longest response time
        std::uint32_t limit = 1024;           ///< of commands and of acks
        std::uint64_t xmlSize = 1000;         ///< bytes
        std::uint64_t mutePast = UINT64_MAX;  ///< commands
        std::uint64_t commands = 0;           ///< so far
    };

    explicit SlowDevice(Settings& settings) : mSettings(settings) {}

    int Send(std::span<const std::byte> bytes, Milliseconds /*timeout*/) override {
        const std::uint64_t address = ByteOrder::LoadLittle64(&bytes[12]);
        const std::size_t length = ByteOrder::LoadLittle16(&bytes[22]);
        mAnswer.assign(12 + length, std::byte{'x'});
        std::copy_n(bytes.begin(), 4, mAnswer.begin());
        ByteOrder::StoreLittle16(&mAnswer[4], 0);
        ByteOrder::StoreLittle16(&mAnswer[6], 0x0801);
        ByteOrder::StoreLittle16(&mAnswer[8], static_cast<std::uint16_t>(length));
        std::copy_n(&bytes[10], 2, &mAnswer[10]);
        for (std::size_t i = 0; address < kXml && i < length; ++i) {
            mAnswer[12 + i] = ByteAt(address + i);
        }
        ++mSettings.commands;
        return LIBUSB_SUCCESS;
    }
    int Receive(std::span<std::byte> buffer, Milliseconds timeout, std::size_t& length) override {
        length = 0;
        const bool isMute = mAnswer.empty() || mSettings.commands > mSettings.mutePast;
        mSettings.clock.Pass(isMute ? timeout : std::min<Milliseconds>(timeout, mSettings.time));
        if (isMute || mSettings.time >= timeout) {
            return LIBUSB_ERROR_TIMEOUT;
        }
        length = mAnswer.size();
        std::copy(mAnswer.begin(), mAnswer.end(), buffer.begin());
        return LIBUSB_SUCCESS;
    }
    void ClearStall() override {}

  private:
    [[nodiscard]] std::byte ByteAt(std::uint64_t address) const {
        struct Number {
            std::uint64_t address, value;
        };
        const auto announced = static_cast<std::uint64_t>(mSettings.announced.count());
        for (const Number& number :
             {Number{0x1D0, kManifest}, Number{0x1D8, kSbrm}, Number{kResponseTime, announced},
              Number{kSbrm + 0x14, mSettings.limit | std::uint64_t{mSettings.limit} << 32U},
              Number{kManifest, 1}, Number{kManifest + 16, kXml},
              Number{kManifest + 24, mSettings.xmlSize}}) {
            if (address >= number.address && address < number.address + 8) {
                return static_cast<std::byte>(number.value >> 8U * (address - number.address) &
                                              0xFFU);
            }
        }
        return std::byte{0};
    }

    Settings& mSettings;
    std::vector<std::byte> mAnswer;
};

class U3vSlowDeviceTest : public testing::Test {
  protected:
    NxResult Connect() {
        U3vPort port(nullptr, std::make_unique<SlowDevice>(mSettings), "Device X");
        const NxResult started = port.Start(milliseconds(1500));
        return started.IsOK() ? port.ReadDescription(mXml) : started;
    }
    [[nodiscard]] auto Passed() const { return mSettings.clock.GetPassed(); }

    SlowDevice::Settings mSettings;
    std::string mXml;
};

}  // namespace

TEST_F(U3vSlowDeviceTest, ConnectsThoughItsDescriptionTakesLongerThanSilenceMay) {
    mSettings.time = milliseconds(10);
    mSettings.xmlSize = 1U << 20U;
    EXPECT_TRUE(Connect().IsOK());
    EXPECT_EQ(mXml.size(), 1U << 20U);
    EXPECT_GT(Passed(), seconds(10));
}

TEST_F(U3vSlowDeviceTest, ConnectsThoughEveryCommandTakesALongTime) {
    mSettings.time = milliseconds(900);
    EXPECT_TRUE(Connect().IsOK());
    EXPECT_GT(Passed(), seconds(5));
}

TEST_F(U3vSlowDeviceTest, IsWaitedForAsLongAsItAnnounces) {
    mSettings.time = milliseconds(1400);
    EXPECT_TRUE(Connect().IsOK());
    mSettings.time = milliseconds(4000);
    EXPECT_EQ(Connect().GetCode(), kNxTimeout);
    // As a device that is slow at the first command only.
    mSettings.time = milliseconds(1400);
    mSettings.announced = milliseconds(4000);
    EXPECT_TRUE(Connect().IsOK());
}

TEST_F(U3vSlowDeviceTest, EndsWithinFiveSecondsWhereverItFallsSilent) {
    for (std::uint64_t commands = 0; commands < 8; ++commands) {
        mSettings.mutePast = commands;
        mSettings.commands = 0;
        const auto begin = Passed();
        EXPECT_EQ(Connect().GetCode(), kNxTimeout) << commands;
        EXPECT_LE(Passed() - begin, seconds(5)) << commands;
    }
}

TEST_F(U3vSlowDeviceTest, EndsWhenItsDescriptionTricklesIn) {
    mSettings.time = milliseconds(400);
    mSettings.xmlSize = 16U << 20U;
    const NxResult result = Connect();
    EXPECT_EQ(result.GetCode(), kNxTimeout);
    EXPECT_THAT(result.GetDescription().GetAscii(),
                HasSubstr("of 16777216 bytes of its GenICam description in"));
    EXPECT_LE(Passed(), seconds(10));
}

#include "gvcp/GvcpDescription.h"

#include <chrono>
#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>

#include "FakeGvcpDevice.h"
#include "ZipBuilder.h"

using namespace std::string_literals;
using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::StrEq;

namespace {

constexpr std::uint32_t kSerial = 0xD8;
constexpr std::uint32_t kFirstUrl = 0x200;
constexpr std::uint32_t kSecondUrl = 0x400;
constexpr std::uint32_t kStored = 0x10000;
const std::string kXml =
    "<RegisterDescription>" + std::string(3000, ' ') + "</RegisterDescription>";

std::string Hexadecimal(std::size_t number) {
    char text[20];
    return {text, static_cast<std::size_t>(std::snprintf(text, sizeof text, "%zx", number))};
}

class GvcpDescriptionTest : public testing::Test {
  protected:
    GvcpDescriptionTest() {
        auto owned = std::make_unique<FakeGvcpDevice>();
        mDevice = owned.get();
        mChannel = std::make_unique<GvcpChannel>(std::move(owned), Endpoint{0x0A090802, 3956},
                                                 "10.9.8.2 on eth9");
        mSpace = std::make_unique<GvcpAddressSpace>(*mChannel, "10.9.8.2 on eth9");
        mDevice->Put(0, std::string(0x600, '\0'));
        mDevice->Put(kSerial, "S-1");
    }

    void SetUrl(std::uint32_t urlRegister, const std::string& url) {
        mDevice->Put(urlRegister, url + std::string(512 - url.size(), '\0'));
    }
    void Store(const std::string& stored, std::uint32_t urlRegister = kFirstUrl,
               std::uint32_t address = kStored) {
        mDevice->Put(address, stored + std::string((4 - (address + stored.size()) % 4) % 4, '\0'));
        SetUrl(urlRegister,
               "Local:a.xml;" + Hexadecimal(address) + ";" + Hexadecimal(stored.size()));
    }
    NxResult Read() { return GvcpDescription(*mChannel, *mSpace, "10.9.8.2 on eth9").Read(mCopy); }
    void ExpectXml(const std::string& xml) {
        const NxResult result = Read();
        ASSERT_TRUE(result.IsOK()) << result.GetDescription().GetAscii();
        EXPECT_EQ(mCopy->xml, xml);
    }
    std::string Refusal() {
        const NxResult result = Read();
        EXPECT_EQ(result.GetCode(), kNxBadDescription);
        return result.GetDescription().GetAscii();
    }

    FakeGvcpDevice* mDevice = nullptr;
    std::unique_ptr<GvcpChannel> mChannel;
    std::unique_ptr<GvcpAddressSpace> mSpace;
    std::shared_ptr<const DescriptionCopy> mCopy;
};

}  // namespace

TEST_F(GvcpDescriptionTest, LooksAtTheBytesAndNotAtTheName) {
    Store(kXml);
    ExpectXml(kXml);
    Store(MakeZip({{.name = "a.xml", .content = kXml}}));
    ExpectXml(kXml);
    SetUrl(kFirstUrl, "Local:a.zip;10000;" + Hexadecimal(kXml.size()));
    mDevice->Put(kStored, kXml);
    ExpectXml(kXml);
}

TEST_F(GvcpDescriptionTest, ReadsAtAnyAddress) {
    for (const std::uint32_t address : {0x10001U, 0x10002U, 0x10003U, 0xFFFFFFFDU}) {
        mDevice->Put(address / 4 * 4, "....");
        const std::string xml = "<A>" + std::to_string(address) + "</A>";
        Store(xml, kFirstUrl, address);
        ExpectXml(xml);
    }
}

TEST_F(GvcpDescriptionTest, TakesTheSecondUrlWhenTheFirstIsOfNoUse) {
    Store(kXml, kSecondUrl, 0x20000);
    mDevice->Put(0x30000, std::string(64, '\xFF'));
    mDevice->Put(0x40000, MakeZip({{.name = "a.xml", .content = "<A/>", .crcError = 1}}) + "....");
    for (const char* first :
         {"", "nonsense", "http://10.9.8.2/a.xml", "Local:a.xml;10;0", "Local:a.xml;30000;40",
          "Local:a.xml;40000;60", "Local:a.xml;50000;60", "Local:a.xml;FFFFFFF0;100000"}) {
        SCOPED_TRACE(first);
        mCopy.reset();
        SetUrl(kFirstUrl, first);
        ExpectXml(kXml);
    }
}

TEST_F(GvcpDescriptionTest, SaysWhatIsWrongWithBothUrls) {
    EXPECT_THAT(Refusal(), StrEq("10.9.8.2 on eth9 has no usable GenICam description: both of its "
                                 "URLs are empty"));
    SetUrl(kFirstUrl, "http://10.9.8.2/a\x1B.xml");
    EXPECT_THAT(Refusal(), StrEq("10.9.8.2 on eth9 has no usable GenICam description: "
                                 "\"http://10.9.8.2/a?.xml\": it does not begin with \"Local:\""));
    SetUrl(kSecondUrl, "Local:a.zip;20000;40");
    mDevice->Put(0x20000, std::string(64, '\xFF'));
    EXPECT_THAT(Refusal(),
                HasSubstr("with \"Local:\"; \"Local:a.zip;20000;40\": it points to neither "
                          "XML nor a zip archive"));
    SetUrl(kSecondUrl, "Local:a.zip;50000;40");
    EXPECT_THAT(Refusal(), HasSubstr("refused GVCP READMEM at 0x00050000: INVALID_ADDRESS"));
}

TEST_F(GvcpDescriptionTest, IsDownloadedOnce) {
    Store(std::string(100000, ' ') + kXml);
    ExpectXml(kXml);
    const std::size_t whole = mDevice->Commands();
    const auto first = mCopy;
    ExpectXml(kXml);
    EXPECT_EQ(mCopy, first);
    EXPECT_LE(mDevice->Commands() - whole, 6U);
    EXPECT_GT(whole, 190U);
}

TEST_F(GvcpDescriptionTest, IsDownloadedAgainWhenAnythingTellsAnotherDeviceOrDescription) {
    const std::string other =
        "<RegisterDescription>" + std::string(3000, '.') + "</RegisterDescription>";
    const auto changes = {
        +[](FakeGvcpDevice& device) { device.Put(0x0C, "\x01"); },
        +[](FakeGvcpDevice& device) { device.Put(0x88, "2.0"); },
        +[](FakeGvcpDevice& device) { device.Put(kSerial, "S-2"); },
        +[](FakeGvcpDevice& device) { device.Put(kFirstUrl + 6, "b"); },
    };
    for (const auto& change : changes) {
        Store(kXml);
        mCopy.reset();
        ExpectXml(kXml);
        Store(other);
        change(*mDevice);
        ExpectXml(other);
    }
    Store(kXml);
    // The same URL, and a text that is different at its end.
    ExpectXml(kXml);
}

TEST_F(GvcpDescriptionTest, IsNotKeptForADeviceThatDoesNotNameItself) {
    auto owned = std::make_unique<FakeGvcpDevice>();
    FakeGvcpDevice* const nameless = owned.get();
    nameless->Put(kFirstUrl,
                  "Local:a.xml;10000;" + Hexadecimal(kXml.size()) + std::string(512, '\0'));
    nameless->Put(kStored, kXml + "....");
    mChannel = std::make_unique<GvcpChannel>(std::move(owned), Endpoint{0x0A090802, 3956}, "x");
    mSpace = std::make_unique<GvcpAddressSpace>(*mChannel, "x");
    ExpectXml(kXml);
    const auto first = mCopy;
    ExpectXml(kXml);
    EXPECT_NE(mCopy, first);
}

TEST_F(GvcpDescriptionTest, GoesOnWithASlowDeviceThatMakesProgress) {
    mDevice->SetLatency(milliseconds(15));
    const std::string large =
        "<RegisterDescription>" + std::string(1U << 20U, ' ') + "</RegisterDescription>";
    Store(large);
    const auto start = mChannel->Now();
    ExpectXml(large);
    EXPECT_GT(mChannel->Now() - start, std::chrono::seconds(20));
}

TEST_F(GvcpDescriptionTest, GivesADeviceUpThatMakesTooLittleProgress) {
    mDevice->SetLatency(milliseconds(60));
    Store(std::string(1U << 20U, ' ') + kXml);
    const auto start = mChannel->Now();
    const NxResult result = Read();
    EXPECT_EQ(result.GetCode(), kNxTimeout);
    EXPECT_THAT(result.GetDescription().GetAscii(), HasSubstr("connecting took too long"));
    EXPECT_LT(mChannel->Now() - start, std::chrono::seconds(12));
}

TEST_F(GvcpDescriptionTest, GivesASilentDeviceUpWithinFiveSeconds) {
    mDevice->SetLatency(milliseconds(15));
    mDevice->FallSilentAfter(1000);
    Store(std::string(1U << 20U, ' ') + kXml);
    EXPECT_EQ(Read().GetCode(), kNxTimeout);
    const auto start = mChannel->Now();
    mChannel->Resume();
    mDevice->FallSilentAfter(0);
    EXPECT_EQ(Read().GetCode(), kNxTimeout);
    EXPECT_LE(mChannel->Now() - start, milliseconds(5000));
}

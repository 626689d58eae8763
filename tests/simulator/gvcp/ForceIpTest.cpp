// FORCEIP_CMD and the persistent address (GigE Vision 2.0, sections 16.2 and 27).
#include "GvcpHandlerFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TemporaryFolder.h"

namespace {

using simulator::IpAddress;

/// FORCEIP_CMD to 02:4d:53:00:00:01; each address stands at the end of 16 bytes.
std::string ForceIp(const IpAddress& wanted, const std::string& mac = "024d53000001") {
    const std::string zeros(24, '0');
    return "421100040038"
           "0007"
           "0000" +
           mac + zeros + Hex32(wanted.address) + zeros + Hex32(wanted.mask) + zeros +
           Hex32(wanted.gateway);
}

constexpr IpAddress kWanted{0x0a000007, 0xff000000, 0x0a000001};

}  // namespace

class ForceIpTest : public GvcpHandlerTest {};

TEST_F(ForceIpTest, GivesTheDeviceItsAddressBeforeItAcknowledges) {
    Make();
    const auto reply = Handle(ForceIp(kWanted));
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->moveTo, kWanted);
    EXPECT_EQ(ToHex(reply->acknowledge), "0000000500000007");
}

TEST_F(ForceIpTest, IgnoresACommandForAnotherDevice) {
    Make();
    EXPECT_FALSE(Handle(ForceIp(kWanted, "024d53000002")));
    EXPECT_FALSE(Handle(ForceIp(kWanted, "034d53000001")));
}

TEST_F(ForceIpTest, IgnoresTheCommandWhileAnApplicationIsInControl) {
    Make();
    TakeControl();
    EXPECT_FALSE(Handle(ForceIp(kWanted), kOther));
    EXPECT_FALSE(Handle(ForceIp(kWanted)));
    EXPECT_EQ(Write(0xa00, 0), kWritten);
    EXPECT_TRUE(Handle(ForceIp(kWanted)));
}

TEST_F(ForceIpTest, RefusesAnAddressThatNoDeviceCanHave) {
    Make();
    for (const IpAddress& wrong :
         {IpAddress{0x0a000007, 0, 0}, IpAddress{0x0a000007, 0xff00ff00, 0},
          IpAddress{0x0a000000, 0xff000000, 0}, IpAddress{0x0affffff, 0xff000000, 0},
          IpAddress{0xe0000001, 0xff000000, 0}}) {
        const auto reply = Handle(ForceIp(wrong));
        ASSERT_TRUE(reply);
        EXPECT_FALSE(reply->moveTo);
        EXPECT_EQ(ToHex(reply->acknowledge), "8002000500000007");
    }
}

TEST_F(ForceIpTest, TakesAddressZeroForANewStartOfItsConfiguration) {
    Make();
    const auto reply = Handle(ForceIp({}));
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->moveTo, IpAddress{});
}

TEST_F(ForceIpTest, AnswersACutCommandWithNothing) {
    Make();
    const std::string whole = ForceIp(kWanted);
    EXPECT_FALSE(Handle(whole.substr(0, 16) + "00000000"));
    std::string shorter = whole.substr(0, whole.size() - 8);
    shorter.replace(8, 4, "0034");
    EXPECT_FALSE(Handle(shorter));
}

TEST_F(ForceIpTest, KeepsItsPersistentAddressOverPowerCycles) {
    const TemporaryFolder folder;
    mOptions.firmware.folder = folder.Path();
    Make();
    EXPECT_EQ(Write(0x64c, 1), kWriteDenied);
    TakeControl();
    EXPECT_EQ(Write(0x64c, kWanted.address), kWritten);
    EXPECT_EQ(Write(0x65c, kWanted.mask), kWritten);
    EXPECT_EQ(Write(0x66c, kWanted.gateway), kWritten);
    EXPECT_FALSE(mIp->UsesPersistent());
    EXPECT_EQ(Write(0x14, 1), kWritten);
    Make();
    EXPECT_TRUE(mIp->UsesPersistent());
    EXPECT_EQ(mIp->Persistent(), kWanted);
    EXPECT_EQ(Read(0x64c), "000000810004" + Hex32(kWanted.address));
    // Link-local addresses cannot be switched off.
    EXPECT_EQ(Read(0x14), "000000810004" + Hex32(5));
}

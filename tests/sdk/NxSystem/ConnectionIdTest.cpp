#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>

#include <internal/NxSystem/ConnectionId.h>

TEST(ConnectionIdTest, TakesAnAddressAndItsInterfaceApart) {
    ConnectionId id;
    ASSERT_TRUE(ConnectionId::Parse("192.168.1.20%eth1", id).IsOK());
    EXPECT_EQ(id.kind, ConnectionId::Kind::kNetwork);
    EXPECT_EQ(id.address, 0xc0a80114U);
    EXPECT_EQ(id.interfaceName, "eth1");
    EXPECT_EQ(id.Format(), "192.168.1.20%eth1");
}

TEST(ConnectionIdTest, LetsTheInterfaceBeAbsent) {
    ConnectionId id;
    ASSERT_TRUE(ConnectionId::Parse("10.0.0.1", id).IsOK());
    EXPECT_EQ(id.interfaceName, "");
    EXPECT_EQ(id.Format(), "10.0.0.1");
}

TEST(ConnectionIdTest, TakesAnyNameThatLinuxGivesAnInterface) {
    for (const std::string name :
         {"k\xc3\xa4mera", "\xff\xfe", "\x1b[2J", "-n", "a%b", "...", "fifteen-letters"}) {
        ConnectionId id;
        ASSERT_TRUE(ConnectionId::Parse("10.0.0.1%" + name, id).IsOK()) << name;
        EXPECT_EQ(id.interfaceName, name);
        EXPECT_EQ(id.Format(), "10.0.0.1%" + name);
    }
}

TEST(ConnectionIdTest, TakesAUsbGuid) {
    ConnectionId id;
    ASSERT_TRUE(ConnectionId::Parse("u3v:FFF000000001", id).IsOK());
    EXPECT_EQ(id.kind, ConnectionId::Kind::kUsb);
    EXPECT_EQ(id.guid, "FFF000000001");
    EXPECT_EQ(id.Format(), "u3v:FFF000000001");
}

TEST(ConnectionIdTest, RefusesEverythingElse) {
    for (const char* text :
         {"", "%", "%eth1", "192.168.1", "192.168.1.256", "192.168.1.20%", "192.168.1.20 %eth1",
          "192.168.1.20%a name", "192.168.1.20%averyveryverylongname",
          "192.168.1.20%sixteen--letters", "192.168.1.20%a/b", "192.168.1.20%a:b", "192.168.1.20%.",
          "192.168.1.20%..", "192.168.1.20%a\n", "camera", "u3v:", "u3v:a b"}) {
        ConnectionId id;
        id.guid = "untouched";
        const NxResult result = ConnectionId::Parse(text, id);
        EXPECT_EQ(result.GetCode(), kNxInvalidArgument) << text;
        EXPECT_EQ(id.guid, "untouched") << text;
    }
}

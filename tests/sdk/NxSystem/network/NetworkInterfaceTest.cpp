#include <gtest/gtest.h>

#include <internal/NxSystem/NetworkInterface.h>

#include "Process.h"

TEST(NetworkInterfaceTest, ListsLoopbackWithAZeroMac) {
    const auto interfaces = ListNetworkInterfaces();
    ASSERT_EQ(interfaces.size(), 1U);
    EXPECT_EQ(interfaces[0].name, "lo");
    EXPECT_EQ(FormatAddress(interfaces[0].address), "127.0.0.1");
    EXPECT_EQ(FormatAddress(interfaces[0].netmask), "255.0.0.0");
    EXPECT_EQ(FormatMac(interfaces[0].mac), "00:00:00:00:00:00");
    EXPECT_EQ(interfaces[0].mtu, 65536U);
}

TEST(NetworkInterfaceTest, ListsEachAddressOfAnInterfaceThatIsUp) {
    for (const char* command :
         {"link add cam0 address 02:00:00:00:00:01 mtu 1400 type veth peer name far0",
          "addr add 169.254.1.1/16 dev cam0", "addr add 10.1.2.3/24 dev cam0 label cam0:1",
          "addr add 10.9.9.9/24 dev far0", "link set cam0 up"}) {
        ASSERT_EQ(Process::Run({"sh", "-c", std::string("ip ") + command}).exitStatus, 0)
            << command;
    }
    const auto interfaces = ListNetworkInterfaces();
    ASSERT_EQ(interfaces.size(), 3U);  // loopback and both addresses; far0 is down
    EXPECT_EQ(interfaces[1].name, "cam0");
    EXPECT_EQ(FormatAddress(interfaces[1].address), "169.254.1.1");
    EXPECT_EQ(FormatMac(interfaces[1].mac), "02:00:00:00:00:01");
    EXPECT_EQ(interfaces[1].mtu, 1400U);
    EXPECT_EQ(interfaces[2].name, "cam0");
    EXPECT_EQ(FormatAddress(interfaces[2].address), "10.1.2.3");
    EXPECT_EQ(FormatMac(interfaces[2].mac), "02:00:00:00:00:01");
}

TEST(NetworkInterfaceTest, ParsesOnlyFourDecimalNumbers) {
    std::uint32_t address = 0;
    EXPECT_TRUE(ParseAddress("192.168.1.20", address));
    EXPECT_EQ(address, 0xc0a80114U);
    for (const char* text :
         {"", "1.2.3", "1.2.3.4.5", "1.2.3.256", " 1.2.3.4", "1.2.3.4 ", "::1"}) {
        EXPECT_FALSE(ParseAddress(text, address)) << text;
    }
}

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <system_error>
#include <thread>

#include <NxSystem/NxNetworkAdapter.h>
#include <NxSystem/NxSystem.h>

#include "NoThreads.h"

TEST(NxSystemTest, HasNoInterfacesBeforeFind) {
    const NxSystem system;
    EXPECT_EQ(system.GetInterfaceCount(), 0U);
    EXPECT_EQ(system.GetInterface(0), nullptr);
}

TEST(NxSystemTest, LetsNoLibraryPrintWhateverTheEnvironmentAsksFor) {
    ASSERT_EQ(setenv("LIBUSB_DEBUG", "4", 1), 0);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    NxSystem system;
    (void)system.Find();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    unsetenv("LIBUSB_DEBUG");
}

TEST(NxSystemTest, FindsDevicesWhereNoThreadIsToBeHad) {
    const NoThreads full;
    EXPECT_THROW(std::thread([] {}).join(), std::system_error);
    NxSystem system;
    EXPECT_TRUE(system.Find().IsOK());
    EXPECT_GE(system.GetInterfaceCount(), 1U);
}

TEST(NxSystemTest, ListsLoopbackWhenNoDeviceAnswers) {
    NxSystem system;
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(system.Find().IsOK());
    const auto duration = std::chrono::steady_clock::now() - start;
    EXPECT_GE(duration, std::chrono::milliseconds(1000));
    EXPECT_LT(duration, std::chrono::milliseconds(5000));
    const auto* adapter = dynamic_cast<const NxNetworkAdapter*>(system.GetInterface(0));
    ASSERT_NE(adapter, nullptr);
    EXPECT_TRUE(adapter->GetName() == "lo");
    EXPECT_TRUE(adapter->GetMACAddress() == "00:00:00:00:00:00");
    EXPECT_TRUE(adapter->GetIPAddress() == "127.0.0.1");
    EXPECT_EQ(adapter->GetDeviceCount(), 0U);
    EXPECT_EQ(adapter->GetDeviceInfo(0), nullptr);
}

#include "GenDevice.h"

#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <NxBase/NxResultCodes.h>

#include "MemoryPort.h"

TEST(GenDeviceTest, TouchesNothingForAReadThatIsTooLong) {
    const auto port = std::make_shared<MemoryPort>();
    GenDevice device(port);
    // Far shorter than what is asked for, as where an allocation was cut off.
    std::vector<char> buffer(8, 'x');
    GError* error = nullptr;
    EXPECT_FALSE(
        arv_device_read_memory(device.Get(), 0x100, (16U << 20U) + 1, buffer.data(), &error));
    ASSERT_NE(error, nullptr);
    g_error_free(error);
    EXPECT_EQ(buffer, std::vector<char>(8, 'x'));
    EXPECT_TRUE(port->log.empty());
    const NxResult failure = device.TakeFailure();
    EXPECT_EQ(failure.GetCode(), kNxBadDescription);
    EXPECT_THAT(failure.GetDescription().GetAscii(), testing::HasSubstr("192.0.2.7 on eth9"));
}

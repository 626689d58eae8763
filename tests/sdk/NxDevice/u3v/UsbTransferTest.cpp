#include "u3v/UsbTransfer.h"

#include <array>
#include <cstddef>

#include <gtest/gtest.h>

#include "FakeTransfers.h"

namespace {

class UsbTransferTest : public testing::Test {
  protected:
    FakeTransfers mUsb;
    std::array<std::byte, 16> mBytes{};
};

}  // namespace

TEST_F(UsbTransferTest, IsGivenBackOnceCancelled) {
    {
        UsbTransfer transfer(nullptr, nullptr, 0x81, mBytes);
        ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
        transfer.Cancel();
        EXPECT_FALSE(transfer.IsUnderWay());
        EXPECT_EQ(transfer.GetError(), LIBUSB_ERROR_TIMEOUT);
    }
    EXPECT_EQ(mUsb.freed, 1);
}

TEST_F(UsbTransferTest, EndsWaitingForALibraryThatDoesNotEndIt) {
    mUsb.endsCancelled = false;
    mUsb.eventsError = LIBUSB_ERROR_IO;
    {
        UsbTransfer transfer(nullptr, nullptr, 0x81, mBytes);
        ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
        transfer.Cancel();
        EXPECT_TRUE(transfer.IsUnderWay());
        EXPECT_EQ(transfer.GetError(), LIBUSB_ERROR_IO);
        EXPECT_EQ(transfer.GetLength(), 0U);
    }
    EXPECT_EQ(mUsb.freed, 0);
    EXPECT_LE(mUsb.clock.GetPassed(), std::chrono::milliseconds(1100));
    // If it does end after all, nobody is notified.
    ASSERT_EQ(mUsb.submitted.size(), 1U);
    libusb_transfer* const submitted = mUsb.submitted[0];
    mUsb.End(submitted, LIBUSB_TRANSFER_CANCELLED);
    delete submitted;
}

#include "UsbTransfer.h"

#include <array>
#include <cstddef>

#include <gtest/gtest.h>

namespace {

// What the libusb below does.
bool endsCancelled = true;
int eventsError = LIBUSB_SUCCESS;
int freed = 0;
libusb_transfer* submitted = nullptr;
bool cancelled = false;

class UsbTransferTest : public testing::Test {
  protected:
    UsbTransferTest() {
        endsCancelled = true;
        eventsError = LIBUSB_SUCCESS;
        freed = 0;
        submitted = nullptr;
        cancelled = false;
    }

    std::array<std::byte, 16> mBytes{};
};

}  // namespace

extern "C" {
libusb_transfer* LIBUSB_CALL libusb_alloc_transfer(int /*packets*/) {
    return new libusb_transfer{};
}
void LIBUSB_CALL libusb_free_transfer(libusb_transfer* transfer) {
    ++freed;
    delete transfer;
}
int LIBUSB_CALL libusb_submit_transfer(libusb_transfer* transfer) {
    submitted = transfer;
    return LIBUSB_SUCCESS;
}
int LIBUSB_CALL libusb_cancel_transfer(libusb_transfer* /*transfer*/) {
    cancelled = true;
    return LIBUSB_SUCCESS;
}
int LIBUSB_CALL libusb_handle_events_timeout_completed(libusb_context* /*context*/,
                                                       timeval* /*wait*/, int* /*completed*/) {
    if (cancelled && endsCancelled) {
        submitted->status = LIBUSB_TRANSFER_CANCELLED;
        submitted->callback(submitted);
    }
    return eventsError;
}
}

TEST_F(UsbTransferTest, IsGivenBackOnceCancelled) {
    {
        UsbTransfer transfer(nullptr, nullptr, 0x81, mBytes);
        ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
        transfer.Cancel();
        EXPECT_FALSE(transfer.IsUnderWay());
        EXPECT_EQ(transfer.GetError(), LIBUSB_ERROR_TIMEOUT);
    }
    EXPECT_EQ(freed, 1);
}

TEST_F(UsbTransferTest, EndsWaitingForALibraryThatDoesNotEndIt) {
    endsCancelled = false;
    eventsError = LIBUSB_ERROR_IO;
    {
        UsbTransfer transfer(nullptr, nullptr, 0x81, mBytes);
        ASSERT_EQ(transfer.Submit(), LIBUSB_SUCCESS);
        transfer.Cancel();
        EXPECT_TRUE(transfer.IsUnderWay());
        EXPECT_EQ(transfer.GetError(), LIBUSB_ERROR_IO);
        EXPECT_EQ(transfer.GetLength(), 0U);
    }
    EXPECT_EQ(freed, 0);
    // Should it end after all, nobody is told.
    submitted->callback(submitted);
    delete submitted;
}

#pragma once

#include <cstddef>
#include <cstdint>

#include <linux/usbdevice_fs.h>
#include <umockdev.h>

#include "simulator/u3v/UsbFunction.h"

namespace simulator {

/// Memory of the program that called ioctl(); what is changed in it is changed in the program when
/// the call ends.
/// @param holder contains the pointer to it, at `offset`
/// @return to be unreferenced; null when the program is gone
[[nodiscard]] UMockdevIoctlData* FetchMemory(UMockdevIoctlData* holder, std::size_t offset,
                                             std::size_t length);

/// One transfer that a program has submitted with USBDEVFS_SUBMITURB.
class UsbfsUrb {
  public:
    UsbfsUrb() = default;
    ~UsbfsUrb();
    UsbfsUrb(const UsbfsUrb&) = delete;
    UsbfsUrb& operator=(const UsbfsUrb&) = delete;

    /// @param argument that of the ioctl
    /// @return 0, or a negative error number: the program cannot have meant this
    [[nodiscard]] int Fetch(UMockdevIoctlClient* client, UMockdevIoctlData* argument);

    /// Whose it is; only to be compared, for it may have ended.
    [[nodiscard]] UMockdevIoctlClient* Client() const { return mClient; }
    /// Where it is in the program.
    [[nodiscard]] std::uintptr_t Address() const { return mAddress; }
    [[nodiscard]] UMockdevIoctlData* Memory() const { return mData; }
    [[nodiscard]] usbdevfs_urb& Fields() const;

    /// Carries it out if that can be done now.
    [[nodiscard]] bool TryFinish(UsbFunction& function) const;
    /// @param status 0 or a negative error number
    void Finish(int status, std::size_t length) const;

  private:
    void FinishControl(UsbFunction& function) const;
    [[nodiscard]] Bytes Buffer() const;

    UMockdevIoctlClient* mClient = nullptr;
    std::uintptr_t mAddress = 0;
    UMockdevIoctlData* mData = nullptr;
    UMockdevIoctlData* mBuffer = nullptr;  // null when it is empty
};

}  // namespace simulator

#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <umockdev.h>

#include "UsbfsUrb.h"
#include "simulator/u3v/UsbFunction.h"

namespace simulator {

/// What goes wrong at the level of the operating system.
struct UsbfsFaults {
    bool interfaceBusy = false;  ///< as if another program had claimed every interface
};

/// The kernel's side of one device node, /dev/bus/usb/BUS/DEVICE: answers the USBDEVFS ioctls of
/// the programs in a test bed. Its handlers are called on the test bed's own thread.
class UsbfsNode {
  public:
    /// @param function outlives the node
    /// @param opened called for every open() of the node, on the bed's thread
    UsbfsNode(UsbFunction& function, const UsbfsFaults& faults, std::function<void()> opened);
    ~UsbfsNode();
    UsbfsNode(const UsbfsNode&) = delete;
    UsbfsNode& operator=(const UsbfsNode&) = delete;

    /// Puts the node into a test bed, in the place of the plain file there.
    /// @param path of the node for the programs, "/dev/bus/usb/002/003"
    /// @return false when the bed or its file system refuses
    [[nodiscard]] bool Attach(UMockdevTestbed* bed, const std::string& path);
    /// Carries out, soon, what has become due since the function's state changed.
    void Wake();

    /// Called for the programs' side; see umockdev's documentation of handle_ioctl.
    bool HandleIoctl(UMockdevIoctlClient* client);
    void HandleOpen(UMockdevIoctlClient* client);
    void HandleClose(UMockdevIoctlClient* client);
    void HandleTimer();

  private:
    using Urbs = std::list<std::unique_ptr<UsbfsUrb>>;

    int Answer(UMockdevIoctlClient* client, unsigned long request, UMockdevIoctlData* argument);
    int Claim(UMockdevIoctlClient* client, unsigned int interface);
    int Release(UMockdevIoctlClient* client, unsigned int interface);
    int Submit(UMockdevIoctlClient* client, UMockdevIoctlData* argument);
    int Reap(UMockdevIoctlClient* client, UMockdevIoctlData* argument);
    int Discard(UMockdevIoctlClient* client, std::uintptr_t address);
    void Serve();
    void ShowReadiness();
    void Detach();
    void WakeTimer();

    UsbFunction& mFunction;
    const UsbfsFaults mFaults;
    const std::function<void()> mOpened;
    UMockdevIoctlBase* mHandler = nullptr;
    std::vector<UMockdevIoctlClient*> mClients;
    int mFifo = -1;
    bool mShownReady = false;
    GSource* mTimer = nullptr;  // made, and taken away again, on the bed's thread
    bool mEnding = false;
    std::condition_variable mEnded;
    Urbs mPending;
    Urbs mDone;
    std::vector<std::pair<unsigned int, UMockdevIoctlClient*>> mClaims;
};

}  // namespace simulator

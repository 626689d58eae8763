#include "UsbfsNode.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <mutex>
#include <utility>

#include <fcntl.h>
#include <linux/usb/ch9.h>
#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace simulator {

namespace {

// Held by whoever uses a node, on the bed's thread or another. Made before any node and any bed, so
// that it orders the making of a node and its use: GLib's own locks would do, but a thread
// sanitizer does not see those.
std::mutex gMutex;

constexpr std::uint32_t kCapabilities = USBDEVFS_CAP_ZERO_PACKET | USBDEVFS_CAP_NO_PACKET_SIZE_LIM |
                                        USBDEVFS_CAP_BULK_SCATTER_GATHER |
                                        USBDEVFS_CAP_REAP_AFTER_DISCONNECT;

gboolean OnIoctl(UMockdevIoctlBase* /*handler*/, UMockdevIoctlClient* client, gpointer node) {
    return static_cast<UsbfsNode*>(node)->HandleIoctl(client) ? TRUE : FALSE;
}

void OnOpen(UMockdevIoctlBase* /*handler*/, UMockdevIoctlClient* client, gpointer node) {
    static_cast<UsbfsNode*>(node)->HandleOpen(client);
}

// A client object ends with the descriptor that it represents.
void OnClose(gpointer node, GObject* client) {
    static_cast<UsbfsNode*>(node)->HandleClose(reinterpret_cast<UMockdevIoctlClient*>(client));
}

gboolean OnTimer(gpointer node) {
    static_cast<UsbfsNode*>(node)->HandleTimer();
    return G_SOURCE_CONTINUE;
}

gboolean DispatchTimer(GSource* /*source*/, GSourceFunc callback, gpointer node) {
    return callback(node);
}

GSourceFuncs gTimerFunctions = {nullptr, nullptr, DispatchTimer, nullptr, nullptr, nullptr};

bool FetchNumber(UMockdevIoctlData* argument, unsigned int& number) {
    UMockdevIoctlData* data = FetchMemory(argument, 0, sizeof number);
    if (data == nullptr) {
        return false;
    }
    std::memcpy(&number, data->data, sizeof number);
    g_object_unref(data);
    return true;
}

}  // namespace

UsbfsNode::UsbfsNode(UsbFunction& function, const UsbfsFaults& faults, std::function<void()> opened)
    : mFunction(function), mFaults(faults), mOpened(std::move(opened)) {}

UsbfsNode::~UsbfsNode() {
    {
        // The bed's thread itself ends what it may be doing with this object.
        std::unique_lock lock(gMutex);
        mEnding = true;
        WakeTimer();
        mEnded.wait(lock, [this] { return mTimer == nullptr; });
    }
    if (mHandler != nullptr) {
        (void)g_signal_handlers_disconnect_by_data(mHandler, this);
        g_object_unref(mHandler);
    }
    if (mFifo != -1) {
        close(mFifo);
    }
}

bool UsbfsNode::Attach(UMockdevTestbed* bed, const std::string& path) {
    std::unique_lock lock(gMutex);
    // poll() must report when a transfer can be reaped. A pipe of one page does: with a byte in it
    // nothing can be written, without it something can.
    gchar* root = umockdev_testbed_get_root_dir(bed);
    const std::string file = root + path;
    g_free(root);
    if (unlink(file.c_str()) != 0 || mkfifo(file.c_str(), 0666) != 0) {
        return false;
    }
    mFifo = open(file.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (mFifo == -1 || fcntl(mFifo, F_SETPIPE_SZ, 4096) == -1 || write(mFifo, "", 1) != 1 ||
        chmod(file.c_str(), 0666) != 0) {
        return false;
    }

    mHandler = umockdev_ioctl_base_new();
    g_signal_connect(mHandler, "handle-ioctl", G_CALLBACK(OnIoctl), this);
    g_signal_connect(mHandler, "client-connected", G_CALLBACK(OnOpen), this);
    // Whoever opens the node from here on finds it complete.
    lock.unlock();
    return umockdev_testbed_attach_ioctl(bed, path.c_str(), mHandler, nullptr) != FALSE;
}

void UsbfsNode::Detach() {
    for (UMockdevIoctlClient* client : mClients) {
        g_object_weak_unref(G_OBJECT(client), OnClose, this);
    }
    (void)g_signal_handlers_disconnect_by_data(mHandler, this);
    mPending.clear();
    mDone.clear();
    g_source_destroy(mTimer);
    g_source_unref(mTimer);
    mTimer = nullptr;
    mEnded.notify_one();
}

void UsbfsNode::Wake() {
    const std::lock_guard lock(gMutex);
    WakeTimer();
}

void UsbfsNode::WakeTimer() {
    if (mTimer != nullptr) {
        g_source_set_ready_time(mTimer, 0);
    }
}

void UsbfsNode::HandleTimer() {
    const std::lock_guard lock(gMutex);
    g_source_set_ready_time(mTimer, -1);
    if (mEnding) {
        Detach();
    } else {
        Serve();
    }
}

void UsbfsNode::HandleOpen(UMockdevIoctlClient* client) {
    const std::lock_guard lock(gMutex);
    if (mTimer == nullptr) {
        mTimer = g_source_new(&gTimerFunctions, sizeof(GSource));
        g_source_set_callback(mTimer, OnTimer, this, nullptr);
        (void)g_source_attach(mTimer, g_main_context_get_thread_default());
    }
    mClients.push_back(client);
    g_object_weak_ref(G_OBJECT(client), OnClose, this);
    mOpened();
}

void UsbfsNode::HandleClose(UMockdevIoctlClient* client) {
    const std::lock_guard lock(gMutex);
    const auto isTheirs = [client](const std::unique_ptr<UsbfsUrb>& urb) {
        return urb->Client() == client;
    };
    std::erase(mClients, client);
    mPending.remove_if(isTheirs);
    mDone.remove_if(isTheirs);
    if (std::erase_if(mClaims, [client](const auto& claim) { return claim.second == client; }) >
        0) {
        mFunction.Released();
    }
    ShowReadiness();
}

bool UsbfsNode::HandleIoctl(UMockdevIoctlClient* client) {
    int result = 0;
    {
        const std::lock_guard lock(gMutex);
        result = Answer(client, umockdev_ioctl_client_get_request(client),
                        umockdev_ioctl_client_get_arg(client));
    }
    umockdev_ioctl_client_complete(client, result < 0 ? -1 : result, result < 0 ? -result : 0);
    return true;
}

int UsbfsNode::Answer(UMockdevIoctlClient* client, unsigned long request,
                      UMockdevIoctlData* argument) {
    if (request == USBDEVFS_REAPURBNDELAY || request == USBDEVFS_REAPURB) {
        return Reap(client, argument);
    }
    if (!mFunction.IsPresent()) {
        return -ENODEV;
    }
    unsigned int number = 0;
    switch (request) {
        case USBDEVFS_GET_CAPABILITIES: {
            UMockdevIoctlData* data = FetchMemory(argument, 0, sizeof kCapabilities);
            if (data == nullptr) {
                return -EFAULT;
            }
            std::memcpy(data->data, &kCapabilities, sizeof kCapabilities);
            g_object_unref(data);
            return 0;
        }
        case USBDEVFS_CLAIMINTERFACE:
        case USBDEVFS_DISCONNECT_CLAIM:
            return FetchNumber(argument, number) ? Claim(client, number) : -EFAULT;
        case USBDEVFS_RELEASEINTERFACE:
            return FetchNumber(argument, number) ? Release(client, number) : -EFAULT;
        case USBDEVFS_CLEAR_HALT:
        case USBDEVFS_RESETEP:
            if (!FetchNumber(argument, number)) {
                return -EFAULT;
            }
            mFunction.ClearStall(static_cast<std::uint8_t>(number));
            return 0;
        case USBDEVFS_SUBMITURB:
            return Submit(client, argument);
        case USBDEVFS_DISCARDURB: {
            std::uintptr_t address = 0;
            std::memcpy(&address, argument->data, sizeof address);
            return Discard(client, address);
        }
        case USBDEVFS_GET_SPEED:
            return USB_SPEED_SUPER;
        case USBDEVFS_SETINTERFACE:
        case USBDEVFS_SETCONFIGURATION:
        case USBDEVFS_RESET:
            return 0;
        case USBDEVFS_IOCTL:
        case USBDEVFS_GETDRIVER:
            // No kernel driver is bound to the interface.
            return -ENODATA;
        default:
            return -ENOTTY;
    }
}

int UsbfsNode::Claim(UMockdevIoctlClient* client, unsigned int interface) {
    const auto claim = std::find_if(mClaims.begin(), mClaims.end(), [interface](const auto& known) {
        return known.first == interface;
    });
    if (mFaults.interfaceBusy || (claim != mClaims.end() && claim->second != client)) {
        return -EBUSY;
    }
    if (claim == mClaims.end()) {
        mClaims.emplace_back(interface, client);
    }
    return 0;
}

int UsbfsNode::Release(UMockdevIoctlClient* client, unsigned int interface) {
    if (std::erase(mClaims, std::pair(interface, client)) == 0) {
        return -EINVAL;
    }
    mFunction.Released();
    return 0;
}

int UsbfsNode::Submit(UMockdevIoctlClient* client, UMockdevIoctlData* argument) {
    auto urb = std::make_unique<UsbfsUrb>();
    const int error = urb->Fetch(client, argument);
    if (error != 0) {
        return error;
    }
    if (urb->Fields().type == USBDEVFS_URB_TYPE_BULK &&
        std::none_of(mClaims.begin(), mClaims.end(),
                     [client](const auto& claim) { return claim.second == client; })) {
        return mClaims.empty() && !mFaults.interfaceBusy ? -ENOENT : -EBUSY;
    }
    mPending.push_back(std::move(urb));
    Serve();
    return 0;
}

int UsbfsNode::Reap(UMockdevIoctlClient* client, UMockdevIoctlData* argument) {
    const auto urb = std::find_if(mDone.begin(), mDone.end(),
                                  [client](const auto& done) { return done->Client() == client; });
    if (urb == mDone.end()) {
        return mFunction.IsPresent() ? -EAGAIN : -ENODEV;
    }
    UMockdevIoctlData* pointer = FetchMemory(argument, 0, sizeof(void*));
    if (pointer == nullptr) {
        return -EFAULT;
    }
    (void)umockdev_ioctl_data_set_ptr(pointer, 0, (*urb)->Memory());
    g_object_unref(pointer);
    mDone.erase(urb);
    ShowReadiness();
    return 0;
}

int UsbfsNode::Discard(UMockdevIoctlClient* client, std::uintptr_t address) {
    const auto urb = std::find_if(mPending.begin(), mPending.end(), [&](const auto& pending) {
        return pending->Client() == client && pending->Address() == address;
    });
    if (urb == mPending.end()) {
        return -EINVAL;
    }
    (*urb)->Finish(-ENOENT, 0);
    mDone.splice(mDone.end(), mPending, urb);
    ShowReadiness();
    return 0;
}

void UsbfsNode::Serve() {
    std::vector<unsigned char> waiting;  // endpoints whose earlier transfer is not done yet
    for (auto next = mPending.begin(); next != mPending.end();) {
        const auto urb = next++;
        const unsigned char endpoint = (*urb)->Fields().endpoint;
        if (std::find(waiting.begin(), waiting.end(), endpoint) != waiting.end()) {
            continue;
        }
        if ((*urb)->TryFinish(mFunction)) {
            mDone.splice(mDone.end(), mPending, urb);
            // A command that was just taken may be what an earlier transfer waits for.
            if ((endpoint & USB_DIR_IN) == 0) {
                next = mPending.begin();
                waiting.clear();
            }
        } else {
            waiting.push_back(endpoint);
        }
    }
    const std::optional<UsbFunction::Clock::time_point> ready = mFunction.ReadyAt();
    if (!mPending.empty() && ready.has_value() && mTimer != nullptr) {
        const auto left =
            std::chrono::ceil<std::chrono::microseconds>(*ready - UsbFunction::Clock::now());
        g_source_set_ready_time(mTimer, g_get_monotonic_time() + std::max<gint64>(left.count(), 0));
    }
    ShowReadiness();
}

void UsbfsNode::ShowReadiness() {
    const bool ready = !mDone.empty();
    if (ready == mShownReady) {
        return;
    }
    char byte = 0;
    [[maybe_unused]] const ssize_t moved = ready ? read(mFifo, &byte, 1) : write(mFifo, &byte, 1);
    mShownReady = ready;
}

}  // namespace simulator

#include <NxDevice/NxDevice.h>

#include <utility>
#include <vector>

#include <NxBase/NxResultCodes.h>
#include <NxGenICam/NxGenParameterArray.h>
#include <NxSystem/NxDeviceInfo.h>
#include <internal/NxGenICam/ParameterArrayFactory.h>

#include "PortRegistry.h"
#include "history/DeviceHistory.h"
#include "lock/DeviceLock.h"

namespace {

constexpr unsigned int kMakersProtocol = 1;

}  // namespace

class NxDevice::Impl {
  public:
    explicit Impl(ConnectionId id) : mId(std::move(id)) {}
    ~Impl() {
        mEarlierParameters.clear();
        mParameters.reset();
        PortRegistry::OfThisProcess().Release(mShare);
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    NxResult Connect() {
        const DeviceHistory::Clock::time_point now = DeviceHistory::Clock::now();
        PortRegistry::Share share;
        std::unique_ptr<NxGenParameterArray> parameters;
        NxResult result = mLock == nullptr ? DeviceLock::Acquire(mId, mLock) : NxResult();
        if (result.IsOK()) {
            result = PortRegistry::OfThisProcess().Acquire(mId, share);
        }
        if (result.IsOK()) {
            result = MakeParameterArray(share.port, *share.xml, parameters);
        }
        if (result.IsOK()) {
            std::swap(mShare, share);
            std::swap(mParameters, parameters);
            mConnected = now;
            if (parameters != nullptr) {
                mEarlierParameters.push_back(std::move(parameters));
            }
        }
        PortRegistry::OfThisProcess().Release(share);
        return result;
    }

    // The registers behind the node map are those of the firmware that ran before, and the control
    // is gone.
    void ReconnectAfterReset() {
        if (DeviceHistory::OfThisProcess().WasResetSince(mId, mConnected)) {
            (void)Connect();
        }
    }

    [[nodiscard]] NxGenParameterArray* Parameters() const { return mParameters.get(); }

  private:
    ConnectionId mId;
    DeviceHistory::Clock::time_point mConnected;
    std::shared_ptr<DeviceLock> mLock;  ///< given up after the device
    PortRegistry::Share mShare;
    std::unique_ptr<NxGenParameterArray> mParameters;
    // Of the times before the device was restarted: callers may still hold pointers into them.
    std::vector<std::unique_ptr<NxGenParameterArray>> mEarlierParameters;
};

NxDevice::NxDevice(std::unique_ptr<Impl> impl) : mImpl(std::move(impl)) {}

NxDevice::~NxDevice() = default;

NxDevice* NxDevice::CreateAndConnect(const NxDeviceInfo* info, NxResult* result) {
    if (info == nullptr) {
        *result = NxResult(kNxInvalidArgument, "No device to connect to");
        return nullptr;
    }
    if (info->GetType() == kMakersProtocol) {
        *result = NxResult(kNxNotSupported,
                           std::string("Cannot control ") + info->GetConnectionID().GetAscii() +
                               ": it is in its boot loader, which accepts firmware by TFTP only");
        ConnectionId id;
        if (ConnectionId::Parse(info->GetConnectionID(), id).IsOK()) {
            DeviceHistory::OfThisProcess().NoteNoFileAccess(id,
                                                            result->GetDescription().GetAscii());
        }
        return nullptr;
    }
    return CreateAndConnect(info->GetConnectionID(), result);
}

NxDevice* NxDevice::CreateAndConnect(const NxString& connectionID, NxResult* result) {
    ConnectionId id;
    *result = ConnectionId::Parse(connectionID, id);
    if (!result->IsOK()) {
        return nullptr;
    }
    auto impl = std::make_unique<Impl>(id);
    *result = impl->Connect();
    if (!result->IsOK()) {
        DeviceHistory::OfThisProcess().NoteNoFileAccess(id, result->GetDescription().GetAscii());
        return nullptr;
    }
    DeviceHistory::OfThisProcess().NoteConnected(id);
    return new NxDevice(std::move(impl));
}

void NxDevice::Free(NxDevice* device) {
    delete device;
}

NxGenParameterArray* NxDevice::GetParameters() {
    mImpl->ReconnectAfterReset();
    return mImpl->Parameters();
}

#include "SimulatedDevice.h"

#include <utility>

#include <nlohmann/json.hpp>

#include "simulator/gvcp/GvcpService.h"
#include "simulator/tftp/server/DeviceTftp.h"

namespace simulator {

namespace {

// Time for the answer to whoever asked for a reset.
constexpr std::chrono::milliseconds kResetDelay{100};

}  // namespace

SimulatedDevice::SimulatedDevice(DeviceOptions options) : mOptions(std::move(options)) {}

SimulatedDevice::~SimulatedDevice() {
    Stop();
}

bool SimulatedDevice::Start(std::string& why) {
    if (mPower.joinable()) {
        why = "the device is already on";
        return false;
    }
    why = WhyUnusable(mOptions);
    if (why.empty()) {
        why = WhyNoGigEVisionModel(mOptions.model);
    }
    if (!why.empty() || !OpenFirmware(why)) {
        return false;
    }
    MakeServices();
    mRequest = Request::kNone;  // before the services run, which make requests
    if (!PowerOn(why)) {
        return false;
    }
    mPower = std::thread(&SimulatedDevice::RunPower, this);
    return true;
}

bool SimulatedDevice::OpenFirmware(std::string& why) {
    if (!mFirmware) {
        mFirmware = FirmwareStore::Open(mOptions.firmware, mEvents, why);
    }
    if (!mFirmware) {
        return false;
    }
    mFirmware->SetListener(this);
    mIp.emplace(mFirmware->Folder());
    return true;
}

void SimulatedDevice::MakeServices() {
    mServices.clear();
    const DeviceContext context{mOptions,
                                *mFirmware,
                                mEvents,
                                mMuted,
                                mControlLost,
                                [this] { ResetRequested(); },
                                [this] { Reached(FaultMoment::kCommand); },
                                &*mIp,
                                [this](const IpAddress& address) {
                                    {
                                        const std::lock_guard lock(mMutex);
                                        mForced = address;
                                    }
                                    Ask(Request::kMove);
                                }};
    if (mOptions.serveTftp) {
        // Before GVCP: a device that answers discovery takes firmware at once.
        mServices.push_back(std::make_unique<DeviceTftp>(context));
    }
    mServices.push_back(std::make_unique<GvcpService>(context, mGvcpCounters));
}

void SimulatedDevice::Stop() {
    if (!mPower.joinable()) {
        return;
    }
    Ask(Request::kStop);
    mPower.join();
    if (mServing) {
        PowerOff(false);
    }
}

void SimulatedDevice::Reboot() {
    Ask(Request::kReboot);
}

bool SimulatedDevice::IsServing() const {
    return mServing;
}

std::vector<std::string> SimulatedDevice::ServiceNames() const {
    std::vector<std::string> names;
    for (const auto& service : mServices) {
        names.push_back(service->Name());
    }
    return names;
}

bool SimulatedDevice::PowerOn(std::string& why) {
    mFirmware->PowerOn();
    mMuted = false;
    mControlLost = false;
    return StartServices(PlaceAtPowerOn(), why);
}

NetworkPlace SimulatedDevice::PlaceAt(const IpAddress& address) const {
    return {FormatAddress(address.address), mOptions.place.interfaceName, address.mask,
            address.gateway};
}

NetworkPlace SimulatedDevice::PlaceAtPowerOn() const {
    return mIp->UsesPersistent() ? PlaceAt(mIp->Persistent()) : mOptions.place;
}

bool SimulatedDevice::StartServices(const NetworkPlace& place, std::string& why) {
    mHostAddress.reset();
    // An address that is given at the start is the host's own.
    if (place.mask != 0 &&
        !mHostAddress.emplace().Take(place.interfaceName, ParseAddress(place.address).value_or(0),
                                     place.mask, why)) {
        return false;
    }
    for (auto started = mServices.begin(); started != mServices.end(); ++started) {
        if (!(*started)->Start(place, why)) {
            while (started != mServices.begin()) {
                (*--started)->Stop();
            }
            return false;
        }
    }
    mPlace = place;
    mServing = true;
    return true;
}

void SimulatedDevice::Move() {
    IpAddress forced;
    {
        const std::lock_guard lock(mMutex);
        forced = mForced;
    }
    mServing = false;
    for (const auto& service : mServices) {
        service->Stop();
    }
    const NetworkPlace before = mPlace;
    std::string why;
    if (StartServices(forced.address == 0 ? PlaceAtPowerOn() : PlaceAt(forced), why)) {
        mEvents.Add("address_forced", {{"address", mPlace.address}});
        return;
    }
    mEvents.Add("address_refused", {{"why", why}});
    if (!StartServices(before, why)) {
        mEvents.Add("start_failed", {{"why", why}});
    }
}

void SimulatedDevice::PowerOff(bool reset) {
    mMuted = true;
    mServing = false;
    for (const auto& service : mServices) {
        service->Stop();
    }
    mEvents.Add("gvcp_commands", {{"commands", mGvcpCounters.All()}});
    mFirmware->PowerOff(reset);
}

void SimulatedDevice::PayloadGrew(std::uint64_t total) {
    Suffer(mFaults.StrikeAtByte(total));
}

void SimulatedDevice::Reached(FaultMoment moment) {
    Suffer(mFaults.StrikeAt(moment));
}

void SimulatedDevice::Suffer(const std::vector<DeviceFault>& faults) {
    for (const DeviceFault fault : faults) {
        if (fault == DeviceFault::kStall) {
            continue;  // a USB device's own
        }
        if (fault == DeviceFault::kLoseControl) {
            mControlLost = true;
            continue;
        }
        if (fault == DeviceFault::kFail) {
            mFirmware->FailOperation();
            continue;
        }
        if (fault == DeviceFault::kPause) {
            // What the service does not receive meanwhile waits in its socket.
            (void)Pause(kFaultPause);
            continue;
        }
        mMuted = true;  // first: power-on ends it
        if (fault == DeviceFault::kReboot) {
            Ask(Request::kReboot);
        } else if (fault == DeviceFault::kVanish) {
            Ask(Request::kVanish);
        }
    }
}

void SimulatedDevice::ResetRequested() {
    Ask(Request::kReset);
}

void SimulatedDevice::Ask(Request request) {
    const std::lock_guard lock(mMutex);
    // The stronger one counts when two come at once.
    if (static_cast<int>(request) > static_cast<int>(mRequest)) {
        mRequest = request;
    }
    mRequested.notify_all();
}

bool SimulatedDevice::Pause(std::chrono::milliseconds time) {
    std::unique_lock lock(mMutex);
    return !mRequested.wait_for(lock, time, [this] { return mRequest == Request::kStop; });
}

void SimulatedDevice::RunPower() {
    bool isUnplugged = false;
    for (;;) {
        Request request = Request::kNone;
        {
            std::unique_lock lock(mMutex);
            mRequested.wait(lock, [this] { return mRequest != Request::kNone; });
            request = mRequest;
            if (request == Request::kStop) {
                return;
            }
            mRequest = Request::kNone;
        }
        if (isUnplugged) {
            continue;  // a record that had arrived before may still have asked for a reset
        }
        if (request == Request::kMove) {
            if (mServing) {
                Move();
            }
            continue;
        }
        if (request == Request::kReset && !Pause(kResetDelay)) {
            return;
        }
        if (mServing) {
            PowerOff(request != Request::kVanish);
        }
        std::string why;
        if (request == Request::kVanish) {
            isUnplugged = true;
            mEvents.Add("unplugged");
        } else if (!Pause(mOptions.rebootTime)) {
            return;
        } else if (!PowerOn(why)) {
            mEvents.Add("start_failed", {{"why", why}});
        }
    }
}

}  // namespace simulator

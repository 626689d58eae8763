#include "UsbMachine.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

namespace simulator {

namespace {

constexpr const char* kKeyboardPlace = "1-9";

unsigned int BusOf(const std::string& place) {
    return static_cast<unsigned int>(std::stoul(place));
}

unsigned int ControllersNeeded(const UsbMachineOptions& options) {
    unsigned int needed = options.controllers;
    for (const std::string& place : options.places) {
        needed = std::max(needed, (BusOf(place) + 1) / 2);
    }
    return needed;
}

void HandOn(int signals, pid_t to) {
    signalfd_siginfo signal{};
    while (read(signals, &signal, sizeof signal) == sizeof signal) {
        if (signal.ssi_signo != SIGCHLD && to != -1) {
            (void)kill(to, static_cast<int>(signal.ssi_signo));
        }
    }
}

}  // namespace

UsbMachine::UsbMachine(const DeviceOptions& camera, const UsbMachineOptions& options)
    : mCameraOptions(camera), mOptions(options), mKeyboard(KeyboardDescriptors()) {}

UsbMachine::~UsbMachine() {
    mBed.reset();
    for (const std::unique_ptr<Camera>& camera : mCameras) {
        if (camera->firmware != nullptr) {
            camera->functions.clear();
            camera->firmware->PowerOff(false);
        }
    }
    if (mWakeUp != -1) {
        close(mWakeUp);
    }
}

std::string UsbMachine::WhyUnusable(const UsbMachineOptions& options) {
    if (options.command.empty()) {
        return "--u3v needs a command after --";
    }
    for (const std::string& place : options.places) {
        if (!UsbTestBed::IsPlace(place)) {
            return place + " is not a USB port of the form BUS-PORT.PORT, such as 2-1 or 2-1.4";
        }
    }
    for (const std::uint32_t limit : {options.camera.maxCommand, options.camera.maxAck}) {
        if (limit < 64 || limit > 65548) {
            return "the command and ack limits must be 64 to 65548 bytes";
        }
    }
    return "";
}

bool UsbMachine::Run(int& status, std::string& why) {
    // Blocked before any thread is made, so that only the loop below takes them.
    sigset_t taken;
    sigset_t before;
    sigemptyset(&taken);
    for (const int signal : {SIGCHLD, SIGTERM, SIGINT, SIGHUP}) {
        sigaddset(&taken, signal);
    }
    pthread_sigmask(SIG_BLOCK, &taken, &before);
    const int signals = signalfd(-1, &taken, SFD_CLOEXEC | SFD_NONBLOCK);
    mWakeUp = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);

    MockedCommand command;
    const bool started = PlugInAll(why) && command.Start(mBed->Folder(), mOptions.command,
                                                         mOptions.accessDenied, why);
    while (started && !command.HasEnded()) {
        std::array<pollfd, 2> events = {{{signals, POLLIN, 0}, {mWakeUp, POLLIN, 0}}};
        (void)poll(events.data(), events.size(), NextReturn());
        HandOn(signals, command.Id());
        HandleDepartures();
        HandleReturns();
    }
    status = command.ExitStatus();
    close(signals);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return started;
}

bool UsbMachine::PlugInAll(std::string& why) {
    mBed = std::make_unique<UsbTestBed>();
    for (unsigned int i = 0; i < ControllersNeeded(mOptions); ++i) {
        if (!mBed->AddController()) {
            why = "cannot set up USB host controllers in " + mBed->Folder();
            return false;
        }
    }
    if (mOptions.keyboard &&
        !mBed->PlugIn(kKeyboardPlace, mKeyboard,
                      {"Keys", "Keyboard", "", {}, false, OpenedAt(kKeyboardPlace)})) {
        why = "cannot plug in the keyboard";
        return false;
    }
    for (const std::string& place : mOptions.places) {
        auto camera = std::make_unique<Camera>();
        camera->place = place;
        camera->options = mCameraOptions;
        if (!mCameras.empty()) {
            const std::string number = std::to_string(mCameras.size() + 1);
            camera->options.serial += "-" + number;
            if (!camera->options.firmware.folder.empty()) {
                camera->options.firmware.folder /= number;
            }
        }
        camera->faults.emplace(camera->options.faults, mEvents);
        camera->firmware = FirmwareStore::Open(camera->options.firmware, mEvents, why);
        if (camera->firmware == nullptr || !PlugIn(*camera, why)) {
            return false;
        }
        mCameras.push_back(std::move(camera));
    }
    return true;
}

bool UsbMachine::PlugIn(Camera& camera, std::string& why) {
    camera.firmware->PowerOn();
    camera.functions.push_back(std::make_unique<U3vFunction>(
        camera.options, mOptions.camera, *camera.firmware, mEvents, *camera.faults,
        [this, &camera](U3vFunction::Departure departure) { NoteDeparture(camera, departure); }));
    UsbTestBed::Plugged plugged;
    plugged.manufacturer = camera.options.vendor;
    plugged.product = camera.options.model;
    plugged.serial = camera.options.serial;
    plugged.faults.interfaceBusy = mOptions.interfaceBusy;
    plugged.accessDenied = mOptions.accessDenied;
    plugged.opened = OpenedAt(camera.place);
    if (!mBed->PlugIn(camera.place, *camera.functions.back(), plugged)) {
        why = "cannot plug a camera into " + camera.place;
        return false;
    }
    mEvents.Add("usb_plugged_in", {{"place", camera.place}});
    return true;
}

void UsbMachine::NoteDeparture(Camera& camera, U3vFunction::Departure departure) {
    {
        const std::lock_guard lock(mMutex);
        mDepartures.push_back({&camera, departure});
    }
    (void)eventfd_write(mWakeUp, 1);
}

void UsbMachine::HandleDepartures() {
    eventfd_t count = 0;
    (void)eventfd_read(mWakeUp, &count);
    std::vector<Departed> departures;
    {
        const std::lock_guard lock(mMutex);
        departures.swap(mDepartures);
    }
    for (const auto& [camera, departure] : departures) {
        mBed->Unplug(camera->place);
        camera->firmware->PowerOff(departure == U3vFunction::Departure::kReset);
        if (departure != U3vFunction::Departure::kUnplugged) {
            camera->returns = Clock::now() + camera->options.rebootTime;
        }
    }
}

void UsbMachine::HandleReturns() {
    for (const std::unique_ptr<Camera>& camera : mCameras) {
        if (camera->returns <= Clock::now()) {
            camera->returns = Clock::time_point::max();
            std::string why;
            if (!PlugIn(*camera, why)) {
                mEvents.Add("usb_lost", {{"why", why}});
            }
        }
    }
}

int UsbMachine::NextReturn() const {
    auto next = Clock::time_point::max();
    for (const std::unique_ptr<Camera>& camera : mCameras) {
        next = std::min(next, camera->returns);
    }
    if (next == Clock::time_point::max()) {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now());
    return static_cast<int>(std::clamp<long long>(left.count(), 0, 60000));
}

std::function<void()> UsbMachine::OpenedAt(const std::string& place) {
    return [this, place] { mEvents.Add("usb_opened", {{"place", place}}); };
}

}  // namespace simulator

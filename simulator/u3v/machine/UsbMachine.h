#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "MockedCommand.h"
#include "UsbTestBed.h"
#include "simulator/device/DeviceFaults.h"
#include "simulator/device/DeviceProfile.h"
#include "simulator/device/EventLog.h"
#include "simulator/firmware/FirmwareStore.h"
#include "simulator/u3v/U3vFunction.h"
#include "simulator/u3v/U3vOptions.h"

namespace simulator {

/// What is plugged into which port of the simulated computer, and what runs on it.
struct UsbMachineOptions {
    U3vOptions camera;
    /// Ports with a camera each, "2-1.4"; the first has the serial number and the state folder
    /// given, the n-th the serial number with "-n" after it and the subfolder "n".
    std::vector<std::string> places = {"2-1"};
    unsigned int controllers = 1;  ///< at least; more when a place needs them
    bool keyboard = false;         ///< a device that is nobody's business, at 1-9
    bool interfaceBusy = false;    ///< another program holds the cameras' interfaces
    bool accessDenied = false;     ///< nobody may open the cameras' nodes
    std::vector<std::string> command;
};

/// A computer with simulated USB3 Vision cameras on which one program runs.
class UsbMachine {
  public:
    UsbMachine(const DeviceOptions& camera, const UsbMachineOptions& options);
    ~UsbMachine();
    UsbMachine(const UsbMachine&) = delete;
    UsbMachine& operator=(const UsbMachine&) = delete;

    [[nodiscard]] EventLog& Events() { return mEvents; }

    /// Runs the command to its end. SIGTERM, SIGINT and SIGHUP are handed on to it.
    /// @param[out] status the command's exit status
    /// @param[out] why one line, set when false is returned: it could not be started
    [[nodiscard]] bool Run(int& status, std::string& why);

    /// @return what is wrong with the options, one line; empty when nothing is
    [[nodiscard]] static std::string WhyUnusable(const UsbMachineOptions& options);

  private:
    using Clock = std::chrono::steady_clock;

    struct Camera {
        std::string place;
        DeviceOptions options;
        std::unique_ptr<FirmwareStore> firmware;
        std::optional<DeviceFaults> faults;
        // The last is plugged in; programs may still have the earlier ones open.
        std::vector<std::unique_ptr<U3vFunction>> functions;
        Clock::time_point returns = Clock::time_point::max();
    };
    struct Departed {
        Camera* camera;
        U3vFunction::Departure departure;
    };

    [[nodiscard]] bool PlugInAll(std::string& why);
    [[nodiscard]] bool PlugIn(Camera& camera, std::string& why);
    void NoteDeparture(Camera& camera, U3vFunction::Departure departure);
    void HandleDepartures();
    void HandleReturns();
    [[nodiscard]] int NextReturn() const;
    [[nodiscard]] std::function<void()> OpenedAt(const std::string& place);

    const DeviceOptions mCameraOptions;
    const UsbMachineOptions mOptions;
    EventLog mEvents;
    PassiveUsbFunction mKeyboard;
    std::vector<std::unique_ptr<Camera>> mCameras;
    int mWakeUp = -1;  // an eventfd

    std::mutex mMutex;  // guards mDepartures
    std::vector<Departed> mDepartures;

    std::unique_ptr<UsbTestBed> mBed;  // last: its thread uses the members above
};

}  // namespace simulator

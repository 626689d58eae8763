#pragma once

#include <string>

#include "UsbArguments.h"
#include "simulator/device/DeviceProfile.h"

/// The command line of mirsko-simulator, parsed.
struct SimulatorArguments {
    enum class Outcome {
        kRun,
        kDone,  ///< help or version was asked for and printed
        kWrong  ///< said why on the standard error stream
    };

    simulator::DeviceOptions device;
    simulator::UsbArguments usb;
    std::string readyFile;
    std::string eventFile;

    [[nodiscard]] Outcome Parse(int argumentCount, char** arguments);
};

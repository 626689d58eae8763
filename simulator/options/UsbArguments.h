#pragma once

#include "simulator/u3v/machine/UsbMachine.h"

namespace CLI {
class App;
}

namespace simulator {

/// The options of mirsko-simulator that concern USB3 Vision.
struct UsbArguments {
    /// Heading of the options in the help, all but COMMAND.
    static constexpr const char* kGroup = "USB3 Vision";

    bool enabled = false;  ///< --u3v was given
    UsbMachineOptions machine;
    bool nothingPluggedIn = false;

    /// Must outlive the parsing.
    void AddTo(CLI::App& app);
    /// Settles what several options say together. @return as UsbMachine::WhyUnusable
    [[nodiscard]] std::string Complete();
};

}  // namespace simulator

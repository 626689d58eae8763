#include <csignal>
#include <filesystem>
#include <iostream>

#include <sys/prctl.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "simulator/device/SimulatedDevice.h"
#include "simulator/firmware/FirmwareState.h"
#include "simulator/options/SimulatorArguments.h"
#include "simulator/u3v/machine/BedGuard.h"

namespace {

constexpr int kEnded = 0;
constexpr int kFailed = 1;
constexpr int kWrongUse = 2;

bool WriteReadyFile(const std::string& file, simulator::SimulatedDevice& device) {
    const nlohmann::json ready = {{"pid", getpid()},
                                  {"address", device.Options().place.address},
                                  {"interface", device.Options().place.interfaceName},
                                  {"mac", device.Options().mac},
                                  {"profile", simulator::NameOf(device.Options().profile)},
                                  {"serves", device.ServiceNames()},
                                  {"state_folder", device.Firmware().Folder().string()}};
    return simulator::ReplaceFile(file, ready.dump(2) + "\n");
}

int Serve(const SimulatorArguments& arguments, const sigset_t& endSignals) {
    simulator::SimulatedDevice device(arguments.device);
    if (!arguments.eventFile.empty() && !device.Events().OpenFile(arguments.eventFile)) {
        std::cerr << "cannot write " << arguments.eventFile << "\n";
        return kFailed;
    }
    std::string why;
    if (!device.Start(why)) {
        std::cerr << why << "\n";
        return kFailed;
    }
    if (!arguments.readyFile.empty() && !WriteReadyFile(arguments.readyFile, device)) {
        std::cerr << "cannot write " << arguments.readyFile << "\n";
        return kFailed;
    }
    int signal = 0;
    sigwait(&endSignals, &signal);
    device.Stop();
    if (!arguments.readyFile.empty()) {
        std::error_code ignored;
        std::filesystem::remove(arguments.readyFile, ignored);
    }
    return kEnded;
}

int RunCommand(const SimulatorArguments& arguments) {
    simulator::UsbMachine machine(arguments.device, arguments.usb.machine);
    if (!arguments.eventFile.empty() && !machine.Events().OpenFile(arguments.eventFile)) {
        std::cerr << "cannot write " << arguments.eventFile << "\n";
        return kFailed;
    }
    int status = 0;
    std::string why;
    if (!machine.Run(status, why)) {
        std::cerr << why << "\n";
        return kFailed;
    }
    return status;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (simulator::BedGuard::IsAskedFor(argumentCount, arguments)) {
        return simulator::BedGuard::Run(argumentCount, arguments);
    }
    SimulatorArguments parsed;
    switch (parsed.Parse(argumentCount, arguments)) {
        case SimulatorArguments::Outcome::kDone:
            return kEnded;
        case SimulatorArguments::Outcome::kWrong:
            return kWrongUse;
        case SimulatorArguments::Outcome::kRun:
            break;
    }
    if (parsed.usb.enabled) {
        return RunCommand(parsed);
    }
    // Blocked before any thread is made, so that only sigwait gets them.
    sigset_t endSignals;
    sigemptyset(&endSignals);
    sigaddset(&endSignals, SIGTERM);
    sigaddset(&endSignals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &endSignals, nullptr);
    // Else every latency that is asked for becomes 50 microseconds longer.
    (void)prctl(PR_SET_TIMERSLACK, 1UL);
    return Serve(parsed, endSignals);
}

#include "MirskoFirmwareUpdater.h"

#include <algorithm>
#include <cctype>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <memory>
#include <new>
#include <string_view>
#include <typeinfo>

#include <cxxabi.h>
#include <fcntl.h>
#include <unistd.h>

#include <NxSystem/NxDeviceInfoGEV.h>
#include <NxSystem/NxDeviceInfoMirskoProtocol.h>
#include <NxSystem/NxDeviceInfoU3V.h>
#include <NxSystem/NxNetworkAdapter.h>
#include <NxSystem/NxUSBHostController.h>

#include "MirskoFirmwareUpdaterDlg.h"
#include "NxFwFileReader.h"
#include "ZipFwFileReader.h"

namespace {

constexpr int kNoDevice = 100;
constexpr int kNoFirmwareFile = 101;
constexpr int kWrongModel = 103;

// The carriage returns are part of the text on purpose.
constexpr std::string_view kUsage =
    "Usage: MirskoFirmwareUpdater [options] <--localinterface= | --u3v> "
    "<firmware_file.dfw/.zip>\r\n"
    "\r\n"
    "--localinterface=00:11:22:ab:cd:ef Automatically selects the first GigE Vision device on this "
    "interface.\r\n"
    "--u3v Automatically selects the first USB3 Vision device.\r\n"
    "--noreset Prevents resetting after an update.\r\n"
    "--deviceid=NewDeviceID Device ID for force on the device. Only for GigE Vision devices.\r\n"
    "--help Prints this help message.\r\n"
    "\r\n"
    "The application runs in non-interactive mode.\r\n"
    "The --localinterface and --u3v options are mutually exclusive.\r\n";
static_assert(kUsage.size() == 543);

bool Contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

bool IsAllowedOn(const NxDeviceInfo& device, const std::string& path) {
    bool allowed = true;
    if (Contains(path, "zelka_qrm_lanx_fk02_tc3mn03_128kd")) {
        allowed = !(device.GetModelName() != "zELKA-QRm-LanX-FK02-TC3MN03-128kD");
    }
    // Both names at once, which no device has, on purpose: every device is refused.
    if (Contains(path, "zelka_qrm_h_fk02")) {
        if (device.GetModelName() != "zELKA-QRm-H-FK02-TC3MN01-128kD") {
            allowed = false;
        }
        if (device.GetModelName() != "zELKA-QRm-H-FK02-TC3MN02-128kD") {
            return false;
        }
    }
    return allowed;
}

template <typename Interface, typename... Devices>
const NxDeviceInfo* FirstDeviceOf(const Interface& interface) {
    for (unsigned int i = 0; i < interface.GetDeviceCount(); ++i) {
        const NxDeviceInfo* const device = interface.GetDeviceInfo(i);
        if ((... || (dynamic_cast<const Devices*>(device) != nullptr))) {
            return device;
        }
    }
    return nullptr;
}

// A reader that has seen enough must not end a transfer half-way. A write that fails is nobody's
// business: the result of an update comes from the device, whoever reads the output.
void IgnoreReadersThatGoAway() {
    (void)std::signal(SIGPIPE, SIG_IGN);
}

// For an exception that ends the program: the name of std::bad_alloc would help nobody.
[[noreturn]] void EndWithItsReason() {
    static constexpr std::string_view kLine = "Out of memory\n";
    const std::type_info* const exception = abi::__cxa_current_exception_type();
    if (exception == nullptr || *exception != typeid(std::bad_alloc)) {
        __gnu_cxx::__verbose_terminate_handler();
    }
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, kLine.data(), kLine.size());
    std::abort();
}

// Whoever closes a standard stream leaves its number to the next socket or file, into which the
// stages would be written then.
void OccupyStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        // Opening takes the lowest free number, which is this one. Where there is no /dev/null, any
        // descriptor that nothing can be written to serves as well.
        if (fcntl(stream, F_GETFD) == -1 && open("/dev/null", O_RDWR) == -1) {
            (void)open("/", O_RDONLY);
        }
    }
}

}  // namespace

MirskoFirmwareUpdaterApp::MirskoFirmwareUpdaterApp() : exitCode(0) {}

bool MirskoFirmwareUpdaterApp::InitInstance(int argc, const char** argv) {
    Parameters parameters;
    parameters.ParseParam(argc, argv);
    if (parameters.help) {
        ShowHelp();
        return false;
    }
    const NxDeviceInfo* const device = SelectDevice(parameters);
    if (device == nullptr) {
        // One message for both causes, no option and no device, on purpose.
        std::cerr << "Error: must specify --localinterface or --u3v" << std::endl;
        exitCode = kNoDevice;
        return false;
    }
    const std::string path = parameters.firmwareFile.GetAscii();
    if (path.empty()) {
        exitCode = kNoFirmwareFile;
        return false;
    }
    // Opened to see whether it can be read, never read; left open on purpose until this run ends.
    const std::ifstream firmware(path);
    if (!firmware.good()) {
        exitCode = kNoFirmwareFile;
        return false;
    }
    return RunUpdate(parameters, device, path);
}

int MirskoFirmwareUpdaterApp::ExitInstance() {
    return exitCode;
}

void MirskoFirmwareUpdaterApp::ShowHelp() {
    std::cout << "Mirsko Firmware Updater" << std::endl;
    std::cout << kUsage;
}

void MirskoFirmwareUpdaterApp::NormalizeMACAddress(std::string& mac) {
    for (char& character : mac) {
        character = static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    }
    mac.erase(std::remove(mac.begin(), mac.end(), '-'), mac.end());
    mac.erase(std::remove(mac.begin(), mac.end(), ':'), mac.end());
}

const NxDeviceInfo* MirskoFirmwareUpdaterApp::AutoSelectGEV(const NxString& mac) {
    std::string wanted = mac.GetAscii();
    NormalizeMACAddress(wanted);
    (void)deviceSystem.Find();
    for (unsigned int i = 0; i < deviceSystem.GetInterfaceCount(); ++i) {
        const auto* const adapter =
            dynamic_cast<const NxNetworkAdapter*>(deviceSystem.GetInterface(i));
        if (adapter == nullptr) {
            continue;
        }
        std::string address = adapter->GetMACAddress().GetAscii();
        NormalizeMACAddress(address);
        if (address != wanted) {
            continue;
        }
        const NxDeviceInfo* const device =
            FirstDeviceOf<NxInterface, NxDeviceInfoGEV, NxDeviceInfoMirskoProtocol>(*adapter);
        if (device != nullptr) {
            return device;
        }
    }
    return nullptr;
}

const NxDeviceInfo* MirskoFirmwareUpdaterApp::AutoSelectU3V() {
    (void)deviceSystem.Find();
    for (unsigned int i = 0; i < deviceSystem.GetInterfaceCount(); ++i) {
        const auto* const controller =
            dynamic_cast<const NxUSBHostController*>(deviceSystem.GetInterface(i));
        if (controller == nullptr) {
            continue;
        }
        const NxDeviceInfo* const device = FirstDeviceOf<NxInterface, NxDeviceInfoU3V>(*controller);
        if (device != nullptr) {
            return device;
        }
    }
    return nullptr;
}

const NxDeviceInfo* MirskoFirmwareUpdaterApp::SelectDevice(const Parameters& parameters) {
    if (parameters.u3v) {
        return AutoSelectU3V();
    }
    return parameters.localInterface.GetLength() == 0 ? nullptr
                                                      : AutoSelectGEV(parameters.localInterface);
}

bool MirskoFirmwareUpdaterApp::RunUpdate(const Parameters& parameters, const NxDeviceInfo* device,
                                         const std::string& path) {
    // A path without '.' ends the process here on purpose: its out-of-range error is not caught.
    const std::string extension = path.substr(path.rfind('.'));
    std::shared_ptr<NxFwFileReader> reader;
    bool directPayload = false;
    if (extension == ".zip") {
        reader = std::make_shared<ZipFwFileReader>(std::string(), path);
    } else if (extension == ".dfw") {
        if (!IsAllowedOn(*device, path)) {
            exitCode = kWrongModel;
            return false;
        }
        reader = std::make_shared<NxFwFileReader>(std::string(), path);
        directPayload = true;
    } else {
        exitCode = kNoFirmwareFile;
        return false;
    }
    NxString payloadPath(path.c_str());
    const bool selectionGiven = parameters.u3v || parameters.localInterface.GetLength() != 0;
    MirskoFirmwareUpdaterDlg job(reader, directPayload, device, payloadPath, selectionGiven);
    job.resetAfterUpdate = !parameters.noReset;
    job.newDeviceId = parameters.deviceId;
    return job.OnInitDialog();
}

int main(int argc, char** argv) {
    IgnoreReadersThatGoAway();
    OccupyStandardStreams();
    std::set_terminate(EndWithItsReason);
    MirskoFirmwareUpdaterApp application;
    (void)application.InitInstance(argc, const_cast<const char**>(argv));
    return application.ExitInstance();
}

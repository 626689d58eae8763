#include "UsbCamera.h"

#include <fstream>
#include <utility>

UsbCamera::UsbCamera(std::vector<std::string> options) : mOptions(std::move(options)) {}

ProcessResult UsbCamera::Run(const std::vector<std::string>& command,
                             std::chrono::milliseconds limit) {
    std::vector<std::string> whole{
        Program("mirsko-simulator"),         "--u3v",    "--state",
        (mFolder.Path() / "state").string(), "--events", (mFolder.Path() / "events").string()};
    whole.insert(whole.end(), mOptions.begin(), mOptions.end());
    whole.emplace_back("--");
    whole.insert(whole.end(), command.begin(), command.end());
    return Process::Run(std::move(whole), limit);
}

ProcessResult UsbCamera::Update(std::vector<std::string> arguments,
                                std::chrono::milliseconds limit) {
    arguments.insert(arguments.begin(), Program("MirskoFirmwareUpdater"));
    return Run(arguments, limit);
}

std::filesystem::path UsbCamera::StateFolder(int number) const {
    const std::filesystem::path first = mFolder.Path() / "state";
    return number == 1 ? first : first / std::to_string(number);
}

nlohmann::json UsbCamera::State(int number) const {
    return nlohmann::json::parse(ReadFile(StateFolder(number) / "state.json"));
}

std::string UsbCamera::Firmware(int number) const {
    const std::string file = FirmwareFile(number);
    return std::filesystem::exists(file) ? ReadFile(file) : std::string();
}

std::string UsbCamera::FirmwareFile(int number) const {
    return StateFolder(number) / "firmware.bin";
}

std::vector<nlohmann::json> UsbCamera::Events(const std::string& name) const {
    std::vector<nlohmann::json> found;
    std::ifstream file(mFolder.Path() / "events");
    for (std::string line; std::getline(file, line);) {
        nlohmann::json event = nlohmann::json::parse(line, nullptr, false);
        if (!event.is_discarded() && event.value("event", "") == name) {
            found.push_back(std::move(event));
        }
    }
    return found;
}

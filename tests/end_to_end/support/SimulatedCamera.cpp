#include "SimulatedCamera.h"

#include <gtest/gtest.h>

#include <fstream>
#include <utility>

SimulatedCamera::SimulatedCamera(std::vector<std::string> options, const NetworkPair* network,
                                 const std::function<void(const std::filesystem::path&)>& prepare)
    : mOptions(std::move(options)), mNetwork(network) {
    if (prepare) {
        std::filesystem::create_directories(mFolder.Path() / "state");
        prepare(mFolder.Path() / "state");
    }
    Start();
}

SimulatedCamera::~SimulatedCamera() {
    (void)PowerOff();
}

void SimulatedCamera::Start() {
    const auto path = [this](const char* name) { return (mFolder.Path() / name).string(); };
    std::filesystem::remove(path("ready"));
    std::vector<std::string> command{::Program("mirsko-simulator"),
                                     "--state",
                                     path("state"),
                                     "--ready-file",
                                     path("ready"),
                                     "--events",
                                     path("events")};
    command.insert(command.end(), mOptions.begin(), mOptions.end());
    if (mNetwork != nullptr) {
        command = mNetwork->OnFarSide(command);
    }
    mProcess = std::make_unique<Process>(command);
    (void)WaitUntil(
        [&] { return std::filesystem::exists(path("ready")) || !mProcess->IsRunning(); });
    if (!std::filesystem::exists(path("ready"))) {
        const std::string threads = mProcess->Threads();
        ADD_FAILURE() << mProcess->Terminate().err << threads;
    }
}

void SimulatedCamera::PowerCycle() {
    (void)PowerOff();
    Start();
}

ProcessResult SimulatedCamera::PowerOff() {
    const ProcessResult result = mProcess->Terminate();
    EXPECT_EQ(result.exitStatus, 0) << "signal " << result.signal;
    EXPECT_EQ(result.err, "");
    return result;
}

nlohmann::json SimulatedCamera::State() const {
    return nlohmann::json::parse(ReadFile(mFolder.Path() / "state" / "state.json"));
}

std::string SimulatedCamera::Firmware() const {
    return std::filesystem::exists(FirmwareFile()) ? ReadFile(FirmwareFile()) : std::string();
}

std::string SimulatedCamera::FirmwareFile() const {
    return mFolder.Path() / "state" / "firmware.bin";
}

std::vector<nlohmann::json> SimulatedCamera::Events(const std::string& name) const {
    std::vector<nlohmann::json> found;
    std::ifstream file(mFolder.Path() / "events");
    for (std::string line; std::getline(file, line);) {
        nlohmann::json event = nlohmann::json::parse(line, nullptr, false);
        // The last line may be half written while the camera runs.
        if (!event.is_discarded() && event.value("event", "") == name) {
            found.push_back(std::move(event));
        }
    }
    return found;
}

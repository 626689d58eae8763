#include "CameraGroup.h"

#include <algorithm>
#include <sstream>
#include <utility>

CameraGroup::CameraGroup() {
    EXPECT_EQ(Process::Run({"mount", "-t", "tmpfs", "none", "/sys"}).exitStatus, 0);
}

SimulatedCamera& CameraGroup::Add(const std::vector<std::string>& options) {
    const std::string number = std::to_string(mCameras.size() + 1);
    std::vector<std::string> all{"--address",     "127.0.0." + number, "--serial",
                                 "SIM-" + number, "--user-name",       "camera-" + number};
    if (std::find(options.begin(), options.end(), "--mac") == options.end()) {
        all.insert(all.end(), {"--mac", "02:4d:53:00:00:0" + number});
    }
    all.insert(all.end(), options.begin(), options.end());
    mCameras.push_back(std::make_unique<SimulatedCamera>(all));
    return *mCameras.back();
}

void CameraGroup::AddAll(int number, const std::vector<std::string>& options) {
    for (int i = 0; i < number; ++i) {
        Add(options);
    }
}

std::string CameraGroup::Payload(const std::string& name, const PayloadFields& fields) {
    return mFolder.Write(name, MakePayload(mBody, fields));
}

ProcessResult CameraGroup::Update(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), Program("mirsko-update"));
    return Process::Run(std::move(arguments), std::chrono::minutes(4));
}

std::string CameraGroup::NameOf(int number) {
    const std::string text = std::to_string(number);
    return "Simulated Camera SIM-" + text + " (127.0.0." + text + " on lo)";
}

std::string CameraGroup::LineOf(const ProcessResult& result, int number) {
    const std::string begin = "SIM-" + std::to_string(number) + " ";
    std::string last;
    for (const std::string& stream : {result.out, result.err}) {
        std::istringstream lines(stream);
        for (std::string line; std::getline(lines, line);) {
            if (line.find(begin) != std::string::npos) {
                last = line.substr(line.find("): ") + 3);
            }
        }
    }
    return last;
}

bool CameraGroup::IsUpdated(int number) {
    const SimulatedCamera& camera = *mCameras.at(static_cast<std::size_t>(number - 1));
    return camera.State()["running_version"] == "2.1" && camera.Firmware() == mBody;
}

bool CameraGroup::IsUntouched(int number) {
    const SimulatedCamera& camera = *mCameras.at(static_cast<std::size_t>(number - 1));
    return camera.Firmware().empty() && !camera.HasEvent("file_open");
}

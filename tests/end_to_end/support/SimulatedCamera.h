#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "NetworkPair.h"
#include "Process.h"
#include "TemporaryFolder.h"

/// A mirsko-simulator program with its state in a folder of its own.
class SimulatedCamera {
  public:
    /// Starts it and waits until it serves.
    /// @param network when given, it runs on the far side of that network
    /// @param prepare when given, puts what earlier updates left into the state folder
    explicit SimulatedCamera(std::vector<std::string> options, const NetworkPair* network = nullptr,
                             const std::function<void(const std::filesystem::path&)>& prepare = {});
    /// Switches it off.
    ~SimulatedCamera();
    SimulatedCamera(const SimulatedCamera&) = delete;
    SimulatedCamera& operator=(const SimulatedCamera&) = delete;

    /// Switches it off and on again, with the same options.
    void PowerCycle();
    /// Options of mirsko-simulator from the next PowerCycle on.
    void SetOptions(std::vector<std::string> options) { mOptions = std::move(options); }
    /// Ends the program; a test failure when it does not end as it should, or has complained.
    ProcessResult PowerOff();
    [[nodiscard]] Process& Program() { return *mProcess; }

    /// A file of the camera's state folder, e.g. "firmware.bin".
    [[nodiscard]] std::filesystem::path StateFile(const std::string& name) const {
        return mFolder.Path() / "state" / name;
    }
    /// What state.json holds.
    [[nodiscard]] nlohmann::json State() const;
    /// The body of the firmware that was flashed last; empty when there is none.
    [[nodiscard]] std::string Firmware() const;
    [[nodiscard]] std::string FirmwareFile() const;
    /// The events of that name so far.
    [[nodiscard]] std::vector<nlohmann::json> Events(const std::string& name) const;
    [[nodiscard]] bool HasEvent(const std::string& name) const { return !Events(name).empty(); }

  private:
    void Start();

    TemporaryFolder mFolder;
    std::vector<std::string> mOptions;
    const NetworkPair* mNetwork;
    std::unique_ptr<Process> mProcess;
};

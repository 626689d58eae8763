#pragma once

#include <chrono>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Process.h"
#include "TemporaryFolder.h"

/// Runs programs on a computer with simulated USB3 Vision cameras; what the cameras keep lasts from
/// one program to the next.
class UsbCamera {
  public:
    /// @param options of mirsko-simulator, for every program
    explicit UsbCamera(std::vector<std::string> options = {});

    ProcessResult Run(const std::vector<std::string>& command,
                      std::chrono::milliseconds limit = std::chrono::milliseconds(60000));
    /// The real updater with these arguments.
    ProcessResult Update(std::vector<std::string> arguments,
                         std::chrono::milliseconds limit = std::chrono::milliseconds(60000));
    /// A file to hand to the programs.
    std::string Write(const std::string& name, const std::string& content) {
        return mFolder.Write(name, content);
    }

    /// What state.json holds. @param number of the camera, in the order of --plug
    [[nodiscard]] nlohmann::json State(int number = 1) const;
    /// The body of the firmware that was flashed last; empty when there is none.
    [[nodiscard]] std::string Firmware(int number = 1) const;
    [[nodiscard]] std::string FirmwareFile(int number = 1) const;
    /// The events of that name so far, of all cameras.
    [[nodiscard]] std::vector<nlohmann::json> Events(const std::string& name) const;
    /// Options of mirsko-simulator from now on.
    void SetOptions(std::vector<std::string> options) { mOptions = std::move(options); }

  private:
    [[nodiscard]] std::filesystem::path StateFolder(int number) const;

    TemporaryFolder mFolder;
    std::vector<std::string> mOptions;
};

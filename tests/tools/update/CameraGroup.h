#pragma once

#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include "PayloadBuilder.h"
#include "Process.h"
#include "SimulatedCamera.h"
#include "TemporaryFolder.h"

/// Simulated cameras on loopback and the real mirsko-update, on a computer without USB. The camera
/// of number 1 has serial number SIM-1, address 127.0.0.1, MAC 02:4d:53:00:00:01, and so on.
class CameraGroup : public testing::Test {
  protected:
    CameraGroup();

    /// @param options of mirsko-simulator, besides its identity
    SimulatedCamera& Add(const std::vector<std::string>& options = {});
    void AddAll(int number, const std::vector<std::string>& options = {});
    /// A payload with the body that ExpectUpdated expects.
    [[nodiscard]] std::string Payload(const std::string& name, const PayloadFields& fields = {});

    static ProcessResult Update(std::vector<std::string> arguments);
    /// The line that begins with the camera's name and ends the report on it; on either stream.
    static std::string LineOf(const ProcessResult& result, int number);
    static std::string NameOf(int number);

    /// Whether it runs version 2.1 with exactly the bytes of Payload.
    [[nodiscard]] bool IsUpdated(int number);
    [[nodiscard]] bool IsUntouched(int number);

    TemporaryFolder mFolder;
    const std::string mBody = RandomBytes(50000, 1);
    std::vector<std::unique_ptr<SimulatedCamera>> mCameras;
};

#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include <NxDevice/NxDevice.h>
#include <NxGenICam/NxGenFile.h>
#include <NxGenICam/NxGenParameterArray.h>

#include "Payload.h"
#include "Process.h"
#include "TemporaryFolder.h"
#include "simulator/device/SimulatedDevice.h"

inline void ExpectOK(const NxResult& result) {
    EXPECT_TRUE(result.IsOK()) << result.GetDescription().GetAscii();
}

/// One simulated GigE Vision device on loopback and a connection to it.
class NxDeviceTest : public testing::Test {
  protected:
    static constexpr const char* kId = "127.0.0.1%lo";
    using Builder = simulator::SimulatedDevice::Builder;

    ~NxDeviceTest() override { NxDevice::Free(device); }

    void StartDevice(const Builder& builder) {
        // Another one than that of the test before, whose description this process may still hold.
        static int number = 0;
        StartDeviceAgain(Builder(builder).serial("SIM-" + std::to_string(++number)));
    }
    /// With the serial number that the builder says.
    void StartDeviceAgain(const Builder& builder) {
        simulated = builder.build();
        std::string why;
        ASSERT_TRUE(simulated->Start(why)) << why;
    }
    void StartAndConnect(const Builder& builder) {
        StartDevice(builder);
        device = Connect();
        ASSERT_NE(device, nullptr) << result.GetDescription().GetAscii();
    }
    NxDevice* Connect(const char* id = kId) {
        return NxDevice::CreateAndConnect(NxString(id), &result);
    }
    // Writes a payload with a body of that many bytes into RemoteUpdateDfw and closes it.
    NxResult Update(std::size_t bodySize) {
        Payload payload;
        payload.body = RandomBytes(bodySize, 11);
        body = payload.body;
        const std::string path = folder.Write("payload.dfw", payload.Encode());
        NxGenFile file;
        NxResult written =
            file.Open(device->GetParameters(), "RemoteUpdateDfw", NxGenOpenMode::kWrite);
        if (written.IsOK()) {
            written = file.WriteFrom(path);
            const NxResult closed = file.Close();
            if (written.IsOK()) {
                written = closed;
            }
        }
        return written;
    }
    void ExpectUpdated() {
        EXPECT_TRUE(WaitUntil([this] { return !simulated->Firmware().State().flashing; }));
        EXPECT_TRUE(ReadFile(simulated->Firmware().Folder() / "firmware.bin") == body)
            << simulated->Firmware().State().lastStatus;
    }
    std::uint64_t Commands() {
        std::uint64_t sum = 0;
        for (const auto& [kind, count] : simulated->GvcpCounts()) {
            // A busy machine answers some commands late; they are sent again then.
            sum += kind != "HEARTBEAT" && kind != "REPEATED" ? count : 0;
        }
        return sum;
    }
    // Runs an update that must fail, and its clean-up, within 15 seconds.
    NxResult FailingUpdate() {
        const auto start = std::chrono::steady_clock::now();
        const NxResult written = Update(1 << 20U);
        NxDevice::Free(device);
        device = nullptr;
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15));
        EXPECT_FALSE(written.IsOK());
        return written;
    }

    TemporaryFolder folder;
    std::unique_ptr<simulator::SimulatedDevice> simulated;
    NxDevice* device = nullptr;
    NxResult result;
    std::string body;
};

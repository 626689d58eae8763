#pragma once

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include <NxGenICam/NxGenFile.h>
#include <internal/NxGenICam/ParameterArrayFactory.h>

#include "FileDevice.h"
#include "TemporaryFolder.h"

/// A file on a device that has file access, over a port that counts commands.
class NxGenFileFixture : public testing::Test {
  protected:
    void Connect(FileDevice::Layout layout = {}) {
        device = std::make_unique<FileDevice>(layout);
        Load(device->Xml());
    }
    void Load(const std::string& xml) {
        const NxResult result = MakeParameterArray(device->port, xml, parameters);
        ASSERT_TRUE(result.IsOK()) << result.GetDescription().GetAscii();
    }
    // Writes a local file of that content into RemoteUpdateDfw; the commands of the bus remain.
    NxResult WriteFile(const std::string& content) {
        const std::string path = folder.Write("payload.dfw", content);
        NxResult result = file.Open(parameters.get(), "RemoteUpdateDfw", NxGenOpenMode::kWrite);
        if (result.IsOK()) {
            device->port->log.clear();
            result = file.WriteFrom(path);
        }
        return result;
    }
    static void ExpectOK(const NxResult& result) {
        EXPECT_TRUE(result.IsOK()) << result.GetDescription().GetAscii();
    }

    TemporaryFolder folder;
    std::unique_ptr<FileDevice> device;
    std::unique_ptr<NxGenParameterArray> parameters;
    NxGenFile file;
};

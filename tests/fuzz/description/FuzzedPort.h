#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>

#include <NxBase/NxResultCodes.h>
#include <internal/NxGenICam/GenPort.h>

#include "FuzzInput.h"

/// A device whose registers hold the input's bytes until they are written. Some accesses fail, all
/// of them after the last that it allows, so that waiting ends too.
class FuzzedPort : public GenPort {
  public:
    FuzzedPort(Input input, bool isUsb, std::uint8_t behaviour)
        : mInput(input), mIsUsb(isUsb), mBehaviour(behaviour) {}

    NxResult ReadMemory(std::uint64_t address, std::span<std::byte> buffer) override {
        NxResult result = Account();
        for (std::size_t i = 0; i < buffer.size() && result.IsOK(); ++i) {
            buffer[i] = Load(address + i);
        }
        return result;
    }
    NxResult WriteMemory(std::uint64_t address, std::span<const std::byte> data) override {
        NxResult result = Account();
        for (std::size_t i = 0; i < std::min<std::size_t>(data.size(), 64) && result.IsOK(); ++i) {
            mWritten[address + i] = data[i];
        }
        return result;
    }
    NxResult ReadRegisters(std::span<Register> registers) override {
        for (Register& one : registers) {
            if (NxResult result = ReadMemory(one.address, one.bytes); !result.IsOK()) {
                return result;
            }
        }
        return {};
    }
    NxResult WriteRegisters(std::span<const Register> registers) override {
        for (const Register& one : registers) {
            if (NxResult result = WriteMemory(one.address, one.bytes); !result.IsOK()) {
                return result;
            }
        }
        return {};
    }
    [[nodiscard]] std::string DeviceName() const override { return "192.0.2.7 on eth9"; }
    [[nodiscard]] bool CombinesRegisters() const override { return (mBehaviour & 1U) != 0; }
    [[nodiscard]] bool HasRegisterCommands() const override { return !mIsUsb; }

  private:
    static constexpr int kMostAccesses = 3000;

    NxResult Account() {
        ++mAccesses;
        if (mAccesses > kMostAccesses) {
            return NxResult(kNxTimeout, "the device is gone");
        }
        const int everySo = mBehaviour >> 4U;
        if (everySo != 0 && mAccesses % (everySo * 7) == 0) {
            return NxResult((mBehaviour & 2U) != 0 ? kNxDeviceError : kNxAccessDenied, "refused");
        }
        return {};
    }
    [[nodiscard]] std::byte Load(std::uint64_t address) const {
        // What executes an operation goes back to zero, in half of the devices.
        if (const auto written = mWritten.find(address);
            written != mWritten.end() && ((mBehaviour & 4U) == 0 || address % 4 != 3)) {
            return written->second;
        }
        return (mBehaviour & 8U) != 0 || mInput.empty()
                   ? std::byte{0}
                   : static_cast<std::byte>(mInput[(address ^ address >> 5U) % mInput.size()]);
    }

    Input mInput;
    bool mIsUsb;
    std::uint8_t mBehaviour;
    int mAccesses = 0;
    std::map<std::uint64_t, std::byte> mWritten;
};

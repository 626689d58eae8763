#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "Hex.h"
#include "simulator/gvcp/GvcpHandler.h"
#include "simulator/u3v/U3vFunction.h"

/// Memory reads and writes of a simulated device without sockets and USB, in the packets of its
/// bus.
class DeviceChannel {
  public:
    /// Statuses that both buses have the same numbers for.
    static constexpr std::uint32_t kInvalidParameter = 0x8002;
    static constexpr std::uint32_t kInvalidAddress = 0x8003;
    static constexpr std::uint32_t kWriteProtect = 0x8004;
    static constexpr std::uint32_t kBadAlignment = 0x8005;
    static constexpr std::uint32_t kAccessDenied = 0x8006;
    static constexpr std::uint32_t kBusy = 0x8007;

    virtual ~DeviceChannel() = default;
    /// @param[out] bytes as the device has them @return the status
    virtual std::uint32_t Read(std::uint64_t address, std::uint16_t count, std::string& bytes) = 0;
    virtual std::uint32_t Write(std::uint64_t address, const std::string& bytes) = 0;
};

/// READMEM and WRITEMEM of an application that has control.
class GvcpDeviceChannel : public DeviceChannel {
  public:
    GvcpDeviceChannel(const simulator::DeviceOptions& options, simulator::FirmwareStore& firmware,
                      simulator::EventLog& events)
        : mHandler(
              options, firmware, events, mCounters, [] {},
              simulator::IpAddress{0x7f000001, 0xff000000, 0}, mIp) {
        (void)Ask("0082", "00000a0000000002");
    }

    std::uint32_t Read(std::uint64_t address, std::uint16_t count, std::string& bytes) override {
        const std::string answer =
            Ask("0084", Hex32(static_cast<std::uint32_t>(address)) + Hex32(count));
        const std::vector<std::uint8_t> payload = FromHex(answer.substr(16));
        bytes = payload.size() > 4 ? std::string(payload.begin() + 4, payload.end()) : "";
        return Status(answer);
    }

    std::uint32_t Write(std::uint64_t address, const std::string& bytes) override {
        return Status(Ask("0086", Hex32(static_cast<std::uint32_t>(address)) +
                                      ToHex({bytes.begin(), bytes.end()})));
    }

    /// A command in hex with a new id; its ack, in hex.
    std::string Ask(const std::string& command, const std::string& payload) {
        const std::string packet = "4201" + command + Hex16(payload.size() / 2) + Hex16(++mId);
        const auto reply = mHandler.Handle({0x7f000001, 50000}, FromHex(packet + payload),
                                           simulator::GvcpHandler::Clock::now());
        mDelay = reply->delay;
        return ToHex(reply->acknowledge);
    }

    /// How late the last ack came.
    [[nodiscard]] std::chrono::microseconds Delay() const { return mDelay; }
    [[nodiscard]] simulator::CommandCounters::Counts Counts() const { return mCounters.All(); }

  private:
    static std::uint32_t Status(const std::string& answer) {
        return static_cast<std::uint32_t>(std::stoul(answer.substr(0, 4), nullptr, 16));
    }

    simulator::IpSettings mIp{{}};
    simulator::CommandCounters mCounters;
    simulator::GvcpHandler mHandler;
    std::chrono::microseconds mDelay{0};
    std::uint16_t mId = 0;
};

/// ReadMem and WriteMem of USB3 Vision.
class U3vDeviceChannel : public DeviceChannel {
  public:
    U3vDeviceChannel(const simulator::DeviceOptions& options, simulator::FirmwareStore& firmware,
                     simulator::EventLog& events)
        : mFaults(options.faults, events),
          mFunction(options, mOptions, firmware, events, mFaults,
                    [](simulator::U3vFunction::Departure) {}) {}

    std::uint32_t Read(std::uint64_t address, std::uint16_t count, std::string& bytes) override {
        return Ask(0x0800, Little(address, 8) + Little(0, 2) + Little(count, 2), bytes);
    }
    std::uint32_t Write(std::uint64_t address, const std::string& bytes) override {
        std::string ignored;
        return Ask(0x0802, Little(address, 8) + bytes, ignored);
    }

  private:
    static std::string Little(std::uint64_t value, unsigned int size) {
        std::string bytes;
        for (unsigned int i = 0; i < size; ++i) {
            bytes.push_back(static_cast<char>(value >> (8U * i) & 0xFFU));
        }
        return bytes;
    }

    std::uint32_t Ask(unsigned int command, const std::string& payload, std::string& answered) {
        const std::string packet = "U3VC" + Little(0x4000, 2) + Little(command, 2) +
                                   Little(payload.size(), 2) + Little(++mId, 2) + payload;
        (void)mFunction.Out(simulator::kControlOut,
                            {reinterpret_cast<const std::uint8_t*>(packet.data()), packet.size()});
        std::vector<std::uint8_t> answer;
        while (mFunction.In(simulator::kControlIn, answer) !=
                   simulator::UsbFunction::Transfer::kDone ||
               answer[6] == 5) {
            // PENDING_ACK, or not ready yet.
        }
        answered.assign(answer.begin() + 12, answer.end());
        return static_cast<std::uint32_t>(answer[4] | answer[5] << 8U);
    }

    simulator::U3vOptions mOptions;
    simulator::DeviceFaults mFaults;
    simulator::U3vFunction mFunction;
    unsigned int mId = 0;
};

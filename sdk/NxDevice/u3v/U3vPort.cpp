#include "U3vPort.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <libusb.h>
#include <unistd.h>

#include <NxBase/NxResultCodes.h>

#include <internal/NxBase/ByteOrder.h>
#include <internal/NxBase/ReturnIfFailed.h>
#include <internal/NxSystem/U3vDescriptor.h>
#include <internal/NxSystem/U3vIdentity.h>
#include <internal/NxSystem/U3vTextTime.h>

#include "UsbBulkPipe.h"
#include "xml_location/DescriptionArchive.h"

namespace {

using std::chrono::milliseconds;

// Of silence. With the 1.3 seconds for the devices' GUIDs, a device that falls silent while it is
// connected to is given up within five seconds.
constexpr milliseconds kStartTimeout{1500};
constexpr milliseconds kDescriptionTimeout{2500};
// For the GUIDs of the devices that were late.
constexpr milliseconds kSecondAsking{500};
// Each command is waited for as long as the device announces, but all of them together no longer
// than any single one.
constexpr std::chrono::seconds kMostForStart{60};
// A device that talks without end does not hold a connection for ever.
constexpr std::uint64_t kSlowestBytesPerSecond = 16U << 10U;

// Technology-agnostic bootstrap registers (GenCP 1.1, section 5; USB3 Vision 1.0, section 4).
constexpr std::uint64_t kResponseTimeRegister = 0x01CC;
constexpr std::uint64_t kManifestAddressRegister = 0x01D0;
constexpr std::uint64_t kSbrmAddressRegister = 0x01D8;
// Relative to the SBRM.
constexpr std::uint64_t kMaxCommandRegister = 0x14;
constexpr std::uint64_t kMaxAckRegister = 0x18;

constexpr std::uint32_t kSmallestTransfer = 64;
constexpr std::uint64_t kMostManifestEntries = 64;
constexpr std::uint64_t kManifestEntryLength = 64;
constexpr std::uint64_t kLongestDescription = 16U << 20U;
constexpr std::size_t kRegisterLength = 4;

bool IsNeighbour(const GenPort::Register& one, const GenPort::Register& next) {
    return next.address == one.address + kRegisterLength;
}

std::size_t CountNeighbours(std::span<const GenPort::Register> registers) {
    std::size_t count = 1;
    while (count < registers.size() && IsNeighbour(registers[count - 1], registers[count])) {
        ++count;
    }
    return count;
}

// Of the first register, which takes two entries when it has eight bytes.
std::size_t CountHalves(std::span<const GenPort::Register> registers) {
    return registers.size() > 1 && registers[1].isSecondHalf &&
                   IsNeighbour(registers[0], registers[1])
               ? 2
               : 1;
}

struct Camera {
    libusb_device* device = nullptr;
    U3vDescriptor descriptor;
    U3vIdentity identity;
};

std::vector<Camera> FindCameras(const UsbContext& usb) {
    std::vector<Camera> cameras;
    for (const auto& [device, descriptor] : U3vDescriptor::FindAll(usb)) {
        cameras.push_back({.device = device,
                           .descriptor = descriptor,
                           .identity = U3vIdentity::FromSystem(device)});
    }
    return cameras;
}

// Leaves in `cameras` those that were late, for another try.
// @param failure of a device that may be the requested one; its GUID could not be read
bool AskForGuid(const std::string& guid, U3vTextTime time, std::vector<Camera>& cameras,
                Camera& found, NxResult& failure) {
    std::vector<Camera> late;
    for (Camera& camera : cameras) {
        const NxResult read = U3vIdentity::ReadGuid(camera.device, camera.descriptor,
                                                    time.TakeShare(), camera.identity);
        if (camera.identity.guid == guid) {
            found = std::move(camera);
            return true;
        }
        if (read.GetCode() == kNxTimeout) {
            late.push_back(std::move(camera));
        } else if (!read.IsOK()) {
            failure = read;
        }
    }
    cameras = std::move(late);
    return false;
}

// libusb leaves a device out of its list when it cannot open the device's files.
NxResult NotFound(const std::string& guid) {
    constexpr std::size_t kFilesAtOnce = 4;
    std::vector<int> files;
    while (files.size() < kFilesAtOnce && (files.empty() || files.back() >= 0)) {
        files.push_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
    }
    const int error = files.back() < 0 ? errno : 0;
    for (const int file : files) {
        (void)close(file);
    }
    return error == 0 ? NxResult(kNxDeviceGone, "No USB3 Vision device " + guid +
                                                    " is connected; check its cable and power")
                      : NxResult(kNxAccessDenied, "Cannot look for USB3 Vision device " + guid +
                                                      ": " + std::strerror(error));
}

/// @param guid the device's, or '@' and its USB port, for which no device has to be asked
NxResult FindCamera(const UsbContext& usb, const std::string& guid, Camera& found) {
    std::vector<Camera> cameras = FindCameras(usb);
    for (Camera& camera : cameras) {
        if ("@" + camera.identity.place == guid) {
            found = std::move(camera);
            return NxResult();
        }
    }
    NxResult failure = NotFound(guid);
    // A device may be late for once, as when it has just been plugged in.
    if (AskForGuid(guid, U3vTextTime(cameras.size()), cameras, found, failure) ||
        AskForGuid(guid, U3vTextTime(cameras.size(), kSecondAsking), cameras, found, failure)) {
        return NxResult();
    }
    return cameras.empty() ? failure
                           : DescribeU3vOpenFailure(cameras.back().identity, LIBUSB_ERROR_TIMEOUT);
}

}  // namespace

U3vPort::U3vPort(std::unique_ptr<UsbContext> usb, std::unique_ptr<UsbPipe> pipe, std::string device)
    : mUsb(std::move(usb)), mChannel(std::move(pipe), std::move(device)) {}

NxResult U3vPort::Start(milliseconds timeout) {
    const std::lock_guard lock(mMutex);
    mChannel.SetDeadline(U3vChannel::Clock::now() + kMostForStart);
    mChannel.SetLeastTimeout(timeout);
    const NxResult result = ReadLimits();
    mChannel.ResetLeastTimeout();
    mChannel.ClearDeadline();
    return result;
}

NxResult U3vPort::ReadLimits() {
    std::uint64_t sbrm = 0;
    std::uint32_t longestCommand = 0;
    std::uint32_t longestAck = 0;
    std::uint32_t responseTime = 0;  // milliseconds
    NX_RETURN_IF_FAILED(mChannel.Start());
    // First, since all that follows may take as long. A device that does not report it gets the
    // shortest timeout of all.
    NxResult result = ReadNumber(kResponseTimeRegister, responseTime);
    if (!mChannel.IsAlive()) {
        return result;
    }
    mChannel.SetResponseTime(milliseconds(responseTime));
    NX_RETURN_IF_FAILED(ReadNumber(kManifestAddressRegister, mManifestAddress));
    NX_RETURN_IF_FAILED(ReadNumber(kSbrmAddressRegister, sbrm));
    NX_RETURN_IF_FAILED(ReadNumber(sbrm + kMaxCommandRegister, longestCommand));
    NX_RETURN_IF_FAILED(ReadNumber(sbrm + kMaxAckRegister, longestAck));
    if (longestCommand < kSmallestTransfer || longestAck < kSmallestTransfer) {
        return NxResult(kNxProtocol, mChannel.GetDeviceName() + " supports only commands of " +
                                         std::to_string(longestCommand) + " bytes and acks of " +
                                         std::to_string(longestAck) + " bytes");
    }
    mChannel.SetLimits(longestCommand, longestAck);
    return NxResult();
}

NxResult U3vPort::ReadMemory(std::uint64_t address, std::span<std::byte> buffer) {
    const std::lock_guard lock(mMutex);
    return mChannel.Read(address, buffer);
}

NxResult U3vPort::WriteMemory(std::uint64_t address, std::span<const std::byte> data) {
    const std::lock_guard lock(mMutex);
    return mChannel.Write(address, data);
}

// Reading changes nothing, so that neighbours may be tried together: a device that takes one
// register per command only says so, and nothing has happened.
NxResult U3vPort::ReadRegisters(std::span<Register> registers) {
    const std::lock_guard lock(mMutex);
    while (!registers.empty()) {
        const std::size_t one = CountHalves(registers);
        const std::span<Register> together =
            registers.first(mReadsNeighbours ? CountNeighbours(registers) : one);
        const NxResult result = ReadTogether(together);
        if (result.IsOK()) {
            registers = registers.subspan(together.size());
            continue;
        }
        if (together.size() == one || result.GetCode() != kNxDeviceError || !mChannel.IsAlive()) {
            return result;
        }
        mReadsNeighbours = false;
    }
    return NxResult();
}

NxResult U3vPort::ReadTogether(std::span<Register> neighbours) {
    std::vector<std::byte> bytes(neighbours.size() * kRegisterLength);
    const NxResult result = mChannel.Read(neighbours.front().address, bytes);
    for (std::size_t i = 0; result.IsOK() && i < neighbours.size(); ++i) {
        std::copy_n(&bytes[i * kRegisterLength], kRegisterLength, neighbours[i].bytes.begin());
    }
    return result;
}

// One register per command, and the whole of it: half a register may be refused, or be taken for
// all of it and start an operation with half of its number. Neighbours are not written together,
// although that would save commands: a device that knows one register per command may write the
// first, leave out the one that starts the operation, and report success.
NxResult U3vPort::WriteRegisters(std::span<const Register> registers) {
    const std::lock_guard lock(mMutex);
    while (!registers.empty()) {
        const std::size_t halves = CountHalves(registers);
        std::array<std::byte, 2 * kRegisterLength> bytes{};
        for (std::size_t i = 0; i < halves; ++i) {
            std::copy_n(registers[i].bytes.begin(), kRegisterLength, &bytes[i * kRegisterLength]);
        }
        NX_RETURN_IF_FAILED(mChannel.Write(registers.front().address,
                                           std::span(bytes).first(halves * kRegisterLength)));
        registers = registers.subspan(halves);
    }
    return NxResult();
}

NxResult U3vPort::ReadDescription(std::string& xml) {
    const std::lock_guard lock(mMutex);
    mChannel.SetLeastTimeout(kDescriptionTimeout);
    mChannel.SetDeadline(U3vChannel::Clock::now() + kMostForStart);
    std::uint64_t address = 0;
    std::size_t length = 0;
    NxResult result = FindDescription(address, length);
    std::vector<std::byte> stored(length);
    if (result.IsOK()) {
        result = ReadStored(address, stored);
    }
    mChannel.ResetLeastTimeout();
    mChannel.ClearDeadline();
    if (std::string why; result.IsOK() && !UnpackDescription(stored, xml, why)) {
        result =
            NxResult(kNxBadDescription, "The GenICam description of " + mChannel.GetDeviceName() +
                                            " cannot be used: " + why);
    }
    return result;
}

NxResult U3vPort::ReadStored(std::uint64_t address, std::span<std::byte> stored) {
    const auto begin = U3vChannel::Clock::now();
    const std::size_t block = mChannel.GetReadBlock();
    mChannel.ClearDeadline();
    for (std::size_t offset = 0; offset < stored.size(); offset += block) {
        const auto passed = U3vChannel::Clock::now() - begin;
        const milliseconds atSlowestPace(offset * 1000 / kSlowestBytesPerSecond);
        if (passed > mChannel.GetTimeout() + atSlowestPace) {
            const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(passed).count();
            return NxResult(kNxTimeout, mChannel.GetDeviceName() + " sent only " +
                                            std::to_string(offset) + " of " +
                                            std::to_string(stored.size()) +
                                            " bytes of its GenICam description in " +
                                            std::to_string(seconds) + " seconds");
        }
        NX_RETURN_IF_FAILED(mChannel.Read(
            address + offset, stored.subspan(offset, std::min(block, stored.size() - offset))));
    }
    return NxResult();
}

NxResult U3vPort::Probe() {
    const std::unique_lock lock(mMutex, std::try_to_lock);
    if (!lock.owns_lock()) {
        return NxResult();
    }
    // No deadline: a command that goes unanswered is the end of the connections that are there.
    std::uint64_t sbrm = 0;
    return ReadNumber(kSbrmAddressRegister, sbrm);
}

NxResult U3vPort::ReadNumber(std::uint64_t address, std::uint32_t& number) {
    std::array<std::byte, 4> bytes{};
    const NxResult result = mChannel.Read(address, bytes);
    number = ByteOrder::LoadLittle32(bytes.data());
    return result;
}

NxResult U3vPort::ReadNumber(std::uint64_t address, std::uint64_t& number) {
    std::array<std::byte, 8> bytes{};
    const NxResult result = mChannel.Read(address, bytes);
    number = ByteOrder::LoadLittle64(bytes.data());
    return result;
}

NxResult U3vPort::FindDescription(std::uint64_t& address, std::size_t& length) {
    std::uint64_t count = 0;
    NX_RETURN_IF_FAILED(ReadNumber(mManifestAddress, count));
    for (std::uint64_t i = 0; i < std::min(count, kMostManifestEntries); ++i) {
        // Version, schema, address, size; a checksum that may be left out follows.
        std::array<std::byte, 24> entry{};
        NX_RETURN_IF_FAILED(mChannel.Read(mManifestAddress + 8 + i * kManifestEntryLength, entry));
        const bool isDeviceXml = (ByteOrder::LoadLittle32(&entry[4]) & 7U) == 0;
        const std::uint64_t size = ByteOrder::LoadLittle64(&entry[16]);
        if (isDeviceXml && size > 0 && size <= kLongestDescription) {
            address = ByteOrder::LoadLittle64(&entry[8]);
            length = static_cast<std::size_t>(size);
            return NxResult();
        }
    }
    return NxResult(kNxBadDescription,
                    mChannel.GetDeviceName() +
                        " has no GenICam description of 1 byte to 16 MiB among the " +
                        std::to_string(count) + " entries of its manifest table");
}

NxResult OpenU3vPort(const std::string& guid, std::shared_ptr<DevicePort>& port) {
    auto usb = std::make_unique<UsbContext>();
    Camera camera;
    NX_RETURN_IF_FAILED(FindCamera(*usb, guid, camera));
    auto pipe = std::make_unique<UsbBulkPipe>();
    const int error = pipe->Open(usb->Get(), camera.device, camera.descriptor);
    if (error != LIBUSB_SUCCESS) {
        return DescribeU3vOpenFailure(camera.identity, error);
    }
    auto opened =
        std::make_shared<U3vPort>(std::move(usb), std::move(pipe), camera.identity.Describe());
    NX_RETURN_IF_FAILED(opened->Start(kStartTimeout));
    port = std::move(opened);
    return {};
}

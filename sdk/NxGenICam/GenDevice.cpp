#include "GenDevice.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include <NxBase/NxResultCodes.h>

namespace {

// No register of a description that is accepted has more.
constexpr guint32 kLongestRead = 16U << 20U;

struct PortDevice {
    ArvDevice parent;
    GenDevice* owner;
};

struct PortDeviceClass {
    ArvDeviceClass parent;
};

GenDevice& OwnerOf(ArvDevice* device) {
    return *reinterpret_cast<PortDevice*>(device)->owner;
}

gboolean Report(const NxResult& result, GError** error) {
    if (result.IsOK()) {
        return TRUE;
    }
    g_set_error_literal(error, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_TRANSFER_ERROR,
                        result.GetDescription().GetAscii());
    return FALSE;
}

gboolean ReadMemory(ArvDevice* device, guint64 address, guint32 size, void* buffer,
                    GError** error) {
    if (size > kLongestRead) {
        return Report(OwnerOf(device).RefuseRead(size), error);
    }
    const std::span<std::byte> bytes(static_cast<std::byte*>(buffer), size);
    // What a failed read leaves is used by some callers before they look at the error.
    std::fill(bytes.begin(), bytes.end(), std::byte{0});
    return Report(OwnerOf(device).Read(address, bytes), error);
}

gboolean WriteMemory(ArvDevice* device, guint64 address, guint32 size, void* buffer,
                     GError** error) {
    return Report(OwnerOf(device).Write(address, {static_cast<const std::byte*>(buffer), size}),
                  error);
}

void InitialiseClass(gpointer klass, gpointer /*data*/) {
    auto* device = static_cast<ArvDeviceClass*>(klass);
    device->read_memory = ReadMemory;
    device->write_memory = WriteMemory;
}

GType PortDeviceType() {
    static const GType type = g_type_register_static_simple(
        ARV_TYPE_DEVICE, "MirskoPortDevice", sizeof(PortDeviceClass), InitialiseClass,
        sizeof(PortDevice), nullptr, static_cast<GTypeFlags>(0));
    return type;
}

}  // namespace

GenDevice::GenDevice(std::shared_ptr<GenPort> port)
    : mPort(std::move(port)),
      mDevice(static_cast<ArvDevice*>(g_object_new(PortDeviceType(), nullptr))) {
    reinterpret_cast<PortDevice*>(mDevice)->owner = this;
}

GenDevice::~GenDevice() {
    g_object_unref(mDevice);
}

NxResult GenDevice::Read(std::uint64_t address, std::span<std::byte> buffer) {
    const std::pair place(address, buffer.size());
    if (const auto kept = mKeptReads.find(place); kept != mKeptReads.end()) {
        std::copy(kept->second.bytes.begin(), kept->second.bytes.end(), buffer.begin());
        return Note(kept->second.result);
    }
    NxResult result = ReadPort(address, buffer);
    if (mKeepsReads) {
        mKeptReads[place] = {result, {buffer.begin(), buffer.end()}};
    }
    return Note(std::move(result));
}

NxResult GenDevice::ReadPort(std::uint64_t address, std::span<std::byte> buffer) {
    if (!mUsesRegisterCommands || buffer.size() != 4) {
        return mPort->ReadMemory(address, buffer);
    }
    std::array<GenPort::Register, 1> one{{{.address = address}}};
    NxResult result = mPort->ReadRegisters(one);
    std::copy(one[0].bytes.begin(), one[0].bytes.end(), buffer.begin());
    return result;
}

void GenDevice::KeepReads() {
    mKeptReads.clear();
    mKeepsReads = true;
}

NxResult GenDevice::RefuseRead(std::uint64_t size) {
    return Note(NxResult(kNxBadDescription, mPort->DeviceName() + " has a register of " +
                                                std::to_string(size) +
                                                " bytes; 16 MiB is the most"));
}

NxResult GenDevice::Write(std::uint64_t address, std::span<const std::byte> data) {
    if (!mUsesRegisterCommands || data.size() != 4) {
        return Note(mPort->WriteMemory(address, data));
    }
    std::array<GenPort::Register, 1> one{{{.address = address}}};
    std::copy(data.begin(), data.end(), one[0].bytes.begin());
    return Note(mPort->WriteRegisters(one));
}

NxResult GenDevice::TakeFailure() {
    return std::exchange(mFailure, NxResult());
}

NxResult GenDevice::Check(const std::string& what, GError* error) {
    NxResult failure = TakeFailure();
    if (error == nullptr) {
        // Some of Aravis's calls drop a failed access of a register on the way.
        return failure;
    }
    const std::string message = error->message != nullptr ? error->message : "";
    g_error_free(error);
    if (!failure.IsOK()) {
        return failure;
    }
    return NxResult(kNxNodeAccess, what + ": " + message);
}

NxResult GenDevice::Note(NxResult result) {
    if (!result.IsOK()) {
        mFailure = result;
    }
    return result;
}

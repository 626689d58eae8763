// Writes the same payload into a USB3 Vision device in three ways, several rounds of each
// alternately, and prints the median throughputs:
//   sdk      NxGenFile::WriteFrom, as the updater does
//   aravis   a plain Aravis client: the same file operations through Aravis's node map and device
//   bus      Aravis's write_memory alone, the bytes of the payload into FileAccessBuffer
// Exit status: 0 sdk is as fast as is aimed at, 1 it is not, 2 something failed.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <arv.h>

#include <NxDevice/NxDevice.h>
#include <NxGenICam/NxGenFile.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kRounds = 5;
constexpr double kAim = 0.9;  // sdk / aravis

[[noreturn]] void Fail(const std::string& why) {
    std::fprintf(stderr, "%s\n", why.c_str());
    std::exit(2);
}

void Check(const NxResult& result) {
    if (!result.IsOK()) {
        Fail(result.GetDescription().GetAscii());
    }
}

void Check(GError* error, const char* what) {
    if (error != nullptr) {
        Fail(std::string(what) + ": " + error->message);
    }
}

double MegabytesPerSecond(std::size_t bytes, Clock::time_point start) {
    const std::chrono::duration<double> time = Clock::now() - start;
    return static_cast<double>(bytes) / 1e6 / time.count();
}

double WriteWithSdk(const std::string& guid, const std::string& file, std::size_t size) {
    NxResult result;
    NxDevice* device = NxDevice::CreateAndConnect(NxString("u3v:" + guid), &result);
    Check(result);
    NxGenFile target;
    Check(target.Open(device->GetParameters(), NxString("RemoteUpdateDfw"), NxGenOpenMode(0)));
    const auto start = Clock::now();
    Check(target.WriteFrom(NxString(file)));
    const double speed = MegabytesPerSecond(size, start);
    Check(target.Close());
    NxDevice::Free(device);
    return speed;
}

/// Aravis's own device, as any of its users gets it.
class AravisCamera {
  public:
    explicit AravisCamera(const std::string& guid) {
        GError* error = nullptr;
        mDevice = arv_uv_device_new_from_guid(guid.c_str(), &error);
        Check(error, "open");
        mNodes = arv_device_get_genicam(mDevice);
    }
    ~AravisCamera() { g_object_unref(mDevice); }
    AravisCamera(const AravisCamera&) = delete;
    AravisCamera& operator=(const AravisCamera&) = delete;

    ArvGcNode* Node(const char* name) { return arv_gc_get_node(mNodes, name); }
    guint64 BufferAddress() {
        GError* error = nullptr;
        const guint64 address =
            arv_gc_register_get_address(ARV_GC_REGISTER(Node("FileAccessBuffer")), &error);
        Check(error, "FileAccessBuffer");
        return address;
    }
    std::size_t BufferSize() {
        GError* error = nullptr;
        const guint64 size =
            arv_gc_register_get_length(ARV_GC_REGISTER(Node("FileAccessBuffer")), &error);
        Check(error, "FileAccessBuffer");
        return size;
    }
    /// In the largest blocks that write_memory does not silently lose.
    void WriteMemory(guint64 address, const char* data, std::size_t size, std::size_t block) {
        while (size > 0) {
            const std::size_t length = std::min(size, block);
            GError* error = nullptr;
            if (arv_device_write_memory(mDevice, address, static_cast<guint32>(length),
                                        const_cast<char*>(data), &error) == FALSE) {
                Check(error, "write_memory");
                Fail("write_memory refused");
            }
            address += length;
            data += length;
            size -= length;
        }
    }
    void SetInteger(const char* name, gint64 value) {
        GError* error = nullptr;
        arv_gc_integer_set_value(ARV_GC_INTEGER(Node(name)), value, &error);
        Check(error, name);
    }
    gint64 GetInteger(const char* name) {
        GError* error = nullptr;
        const gint64 value = arv_gc_integer_get_value(ARV_GC_INTEGER(Node(name)), &error);
        Check(error, name);
        return value;
    }
    void Select(const char* name, const char* entry) {
        GError* error = nullptr;
        arv_gc_enumeration_set_string_value(ARV_GC_ENUMERATION(Node(name)), entry, &error);
        Check(error, name);
    }
    void Execute() {
        GError* error = nullptr;
        arv_gc_command_execute(ARV_GC_COMMAND(Node("FileOperationExecute")), &error);
        Check(error, "FileOperationExecute");
        const char* status = arv_gc_enumeration_get_string_value(
            ARV_GC_ENUMERATION(Node("FileOperationStatus")), &error);
        Check(error, "FileOperationStatus");
        if (std::string(status) != "Success") {
            Fail("a file operation failed");
        }
    }

  private:
    ArvDevice* mDevice = nullptr;
    ArvGc* mNodes = nullptr;
};

double WriteWithAravis(const std::string& guid, const std::string& payload, std::size_t block) {
    AravisCamera camera(guid);
    camera.Select("FileSelector", "RemoteUpdateDfw");
    camera.Select("FileOperationSelector", "Open");
    camera.Select("FileOpenMode", "Write");
    camera.Execute();
    const guint64 address = camera.BufferAddress();
    const std::size_t buffer = camera.BufferSize();
    camera.Select("FileOperationSelector", "Write");
    const auto start = Clock::now();
    for (std::size_t offset = 0; offset < payload.size();) {
        const std::size_t length = std::min(buffer, payload.size() - offset);
        camera.WriteMemory(address, &payload[offset], length, block);
        camera.SetInteger("FileAccessOffset", static_cast<gint64>(offset));
        camera.SetInteger("FileAccessLength", static_cast<gint64>(length));
        camera.Execute();
        if (camera.GetInteger("FileOperationResult") != static_cast<gint64>(length)) {
            Fail("a short write");
        }
        offset += length;
    }
    const double speed = MegabytesPerSecond(payload.size(), start);
    camera.Select("FileOperationSelector", "Close");
    camera.Execute();
    return speed;
}

double WriteToBus(const std::string& guid, const std::string& payload, std::size_t block) {
    AravisCamera camera(guid);
    const guint64 address = camera.BufferAddress();
    const std::size_t buffer = camera.BufferSize();
    const auto start = Clock::now();
    for (std::size_t offset = 0; offset < payload.size(); offset += buffer) {
        camera.WriteMemory(address, &payload[offset], std::min(buffer, payload.size() - offset),
                           block);
    }
    return MegabytesPerSecond(payload.size(), start);
}

double Median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        Fail(
            "usage: bench-u3v GUID PAYLOAD BLOCK\n"
            "BLOCK: the most bytes that one command of the device writes");
    }
    const std::string guid = argv[1];
    std::ifstream file(argv[2], std::ios::binary);
    const std::string payload((std::istreambuf_iterator<char>(file)),
                              std::istreambuf_iterator<char>());
    const auto block = static_cast<std::size_t>(std::strtoul(argv[3], nullptr, 10));
    if (payload.empty() || block == 0) {
        Fail("an empty payload or block");
    }

    std::vector<double> sdk;
    std::vector<double> aravis;
    std::vector<double> bus;
    for (int round = 0; round < kRounds; ++round) {
        sdk.push_back(WriteWithSdk(guid, argv[2], payload.size()));
        aravis.push_back(WriteWithAravis(guid, payload, block));
        bus.push_back(WriteToBus(guid, payload, block));
    }
    const double ratio = Median(sdk) / Median(aravis);
    const bool met = ratio >= kAim;
    std::printf("%8.2f %8.2f %8.2f %10.2f %8.2f%s\n", Median(sdk), Median(aravis), Median(bus),
                ratio, Median(sdk) / Median(bus), met ? "" : "  MISSED");
    return met ? 0 : 1;
}

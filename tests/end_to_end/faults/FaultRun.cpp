#include "FaultRun.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <utility>

#include <nlohmann/json.hpp>

#include "ManifestBuilder.h"
#include "PayloadBuilder.h"
#include "SimulatedCamera.h"
#include "TemporaryFolder.h"
#include "Updater.h"
#include "UsbCamera.h"
#include "ZipBuilder.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr int kNoDevice = 100;
constexpr seconds kShortestNextLimit{40};
const std::string kComplete = "Firmware upload complete.\n";
const std::string kFailed = "Update failed.\n";
const std::string kWritingFailed = "Writing payload file to device failed!\n";

/// Three firmwares of one camera: the one it has, the one that is sent first, the one after that.
struct Firmware {
    std::string body;
    std::uint16_t minorNumber;

    [[nodiscard]] std::string Version() const { return "2." + std::to_string(minorNumber); }
    [[nodiscard]] std::string Payload() const {
        return MakePayload(body, {.minorNumber = minorNumber});
    }
};

constexpr std::size_t kBodySize = kFaultPayloadSize - 64;
const Firmware kOld{RandomBytes(4000, 1), 0};
const Firmware kNew{RandomBytes(kBodySize, 2), 1};
const Firmware kNext{RandomBytes(kBodySize, 3), 2};

bool IsUsb(Transport transport) {
    return transport == Transport::kUsb || transport == Transport::kUsbPackage;
}

bool IsPackage(Transport transport) {
    return transport == Transport::kFileAccessPackage || transport == Transport::kTftpPackage ||
           transport == Transport::kUsbPackage;
}

void LeaveAnEarlierUpdate(const std::filesystem::path& stateFolder) {
    std::filesystem::create_directories(stateFolder);
    std::ofstream(stateFolder / "firmware.bin", std::ios::binary) << kOld.body;
    const auto crc = crc32(0, reinterpret_cast<const Bytef*>(kOld.body.data()),
                           static_cast<uInt>(kOld.body.size()));
    const nlohmann::json state = {
        {"running_version", kOld.Version()},
        {"stored_version", kOld.Version()},
        {"image", {{"version", kOld.Version()}, {"length", kOld.body.size()}, {"crc32", crc}}},
        {"flashing", nullptr},
        {"device_id", "before"},
        {"resets", 0},
        {"transfers", 1},
        {"last_status", "Firmware applied: MirskoSim " + kOld.Version()}};
    std::ofstream(stateFolder / "state.json") << state;
}

/// The firmware that a device holds, by its bytes and by the version that it reports of them.
std::string Held(const std::string& body, const nlohmann::json& state) {
    const std::string version = state.value("stored_version", "");
    for (const auto& [firmware, name] :
         {std::pair(&kOld, "old"), std::pair(&kNew, "new"), std::pair(&kNext, "next")}) {
        if (body == firmware->body) {
            return version == firmware->Version() ? name : "bytes and version of two firmwares";
        }
    }
    return "damaged firmware";
}

/// "complete", "failed" or "not found"; anything else is a fault of the updater.
std::string Ending(Transport transport, const ProcessResult& result) {
    if (result.timedOut) {
        return "over the time limit";
    }
    if (result.signal != 0) {
        return "ended by signal " + std::to_string(result.signal);
    }
    if (result.exitStatus == kNoDevice) {
        return "not found";
    }
    if (result.exitStatus != 0) {
        return "status " + std::to_string(result.exitStatus);
    }
    const bool claims = result.out.find(kComplete) != std::string::npos;
    if (claims) {
        return result.out.ends_with("\n" + kComplete) && result.err.empty()
                   ? "complete"
                   : "success claimed with an error";
    }
    const auto lines = std::count(result.err.begin(), result.err.end(), '\n');
    const bool started = result.out.starts_with("Starting update...\n");
    if (started && !result.out.ends_with("\n" + kFailed)) {
        return "no last line";
    }
    if (IsPackage(transport)) {
        // The worker's reason, and what the manifest's run makes of it.
        return lines == (started ? 2 : 1) ? "failed" : "not one line of error";
    }
    if (!result.err.ends_with(kWritingFailed)) {
        return "no error";
    }
    return lines == (started ? 2 : 1) ? "failed" : "not one line of reason";
}

/// The camera of a cell and the computer that it is connected to.
class Bench {
  public:
    explicit Bench(const FaultCell& cell) : mCell(cell) {}
    virtual ~Bench() = default;
    Bench(const Bench&) = delete;
    Bench& operator=(const Bench&) = delete;

    /// The cell's two updates. @param[out] next of the second one, once it found a device
    virtual ProcessResult Update(ProcessResult& next) = 0;
    [[nodiscard]] virtual std::string HeldFirmware() const = 0;
    /// What the device held after the first update.
    [[nodiscard]] const std::string& HeldBetween() const { return mBetween; }
    /// Whether the first update was over before the fault struck.
    [[nodiscard]] bool WasUntouched() const { return mUntouched; }

  protected:
    /// @return a file to hand to the updater
    [[nodiscard]] std::string File(const std::string& name, const Firmware& firmware) const {
        if (!IsPackage(mCell.transport)) {
            return mFolder.Write(name + ".dfw", firmware.Payload());
        }
        const bool tftp = mCell.transport == Transport::kTftpPackage;
        return mFolder.Write(
            name + ".zip",
            MakeZip({{"Manifest.xml", MakeManifest(Upload("fw.dfw", tftp ? "TFTP" : "GenICam"))},
                     {"fw.dfw", firmware.Payload()}}));
    }
    [[nodiscard]] std::vector<std::string> Options(bool faulty) const {
        std::vector<std::string> options{"--zipped-xml", "--buffer-size", "2048", "--reboot-time",
                                         "300"};
        if (mCell.transport == Transport::kTftp) {
            options.insert(options.end(), {"--profile", "no-file-access"});
        }
        // Small ones, so that a session consists of some commands. A fault may have others.
        const std::vector<std::pair<std::string, std::string>> limits =
            IsUsb(mCell.transport)
                ? std::vector<std::pair<std::string, std::string>>{{"--max-command", "1024"},
                                                                   {"--max-ack", "1024"}}
                : std::vector<std::pair<std::string, std::string>>{{"--tftp-max-blksize", "512"},
                                                                   {"--tftp-max-windowsize", "4"}};
        for (const auto& [name, value] : limits) {
            if (!faulty || std::ranges::count(mCell.options, name) == 0) {
                options.insert(options.end(), {name, value});
            }
        }
        if (faulty) {
            options.insert(options.end(), mCell.options.begin(), mCell.options.end());
        }
        return options;
    }
    [[nodiscard]] seconds NextLimit() const { return std::max(mCell.limit, kShortestNextLimit); }
    /// Between the two updates. @param faults that have struck
    void NoteBetween(std::size_t faults) {
        mBetween = HeldFirmware();
        mUntouched = faults == 0 && std::ranges::count(mCell.options, "--fault") != 0;
    }
    /// A fault that has not struck would strike the next update.
    [[nodiscard]] bool Restarts() const {
        return mUntouched || mCell.remedy == FaultCell::Remedy::kRestart;
    }

    const FaultCell& mCell;

  private:
    TemporaryFolder mFolder;
    std::string mBetween;
    bool mUntouched = false;
};

class NetworkBench : public Bench {
  public:
    explicit NetworkBench(const FaultCell& cell)
        : Bench(cell), mCamera(Options(true), nullptr, LeaveAnEarlierUpdate) {}

    ProcessResult Update(ProcessResult& next) override {
        const ProcessResult result =
            RunUpdater({kLoopback, "--deviceid=new", File("new", kNew)}, mCell.limit);
        NoteBetween(mCamera.Events("fault").size());
        if (Restarts()) {
            mCamera.SetOptions(Options(false));
            mCamera.PowerCycle();
        }
        const std::string file = File("next", kNext);
        (void)WaitUntil([&] {
            next = RunUpdater({kLoopback, file}, NextLimit());
            return next.exitStatus != kNoDevice;
        });
        return result;
    }

    [[nodiscard]] std::string HeldFirmware() const override {
        // Flashing may take a while after an updater has given up.
        EXPECT_TRUE(WaitUntil([this] { return mCamera.State()["flashing"].is_null(); }));
        return Held(mCamera.Firmware(), mCamera.State());
    }

  private:
    SimulatedCamera mCamera;
};

class UsbBench : public Bench {
  public:
    explicit UsbBench(const FaultCell& cell) : Bench(cell), mCamera(Options(true)) {
        LeaveAnEarlierUpdate(std::filesystem::path(mCamera.FirmwareFile()).parent_path());
    }

    ProcessResult Update(ProcessResult& next) override {
        const std::vector<std::string> first{"--u3v", "--deviceid=new", File("new", kNew)};
        const std::string file = File("next", kNext);
        if (Restarts()) {
            const ProcessResult result = mCamera.Update(first, mCell.limit);
            NoteBetween(mCamera.Events("fault").size());
            mCamera.SetOptions(Options(false));
            next = mCamera.Update({"--u3v", file}, NextLimit());
            return result;
        }
        // A copy of what the device holds between the two, taken while it stays plugged in.
        const std::string kept = file + ".between";
        std::filesystem::create_directories(kept);
        std::vector<std::string> command{MIRSKO_BUILD_FOLDER "/tests/run_in_turn"};
        const auto add = [&command](const std::vector<std::string>& words) {
            command.insert(command.end(), words.begin(), words.end());
        };
        add({Program("MirskoFirmwareUpdater")});
        add(first);
        add({"--", "cp", "-r",
             std::filesystem::path(mCamera.FirmwareFile()).parent_path().string() + "/.", kept,
             "--", Program("MirskoFirmwareUpdater"), "--u3v", file});
        const ProcessResult all = mCamera.Run(command, mCell.limit + NextLimit());
        const std::vector<std::string> out = Split(all.out);
        const std::vector<std::string> err = Split(all.err);
        ProcessResult result = all;
        next = all;
        result.exitStatus = 0;
        result.out = out[0];
        result.err = err[0];
        result.duration = milliseconds(std::atoi(out[1].c_str()));
        next.out = out[4];
        next.err = err[4];
        next.duration = milliseconds(std::atoi(out[5].c_str()));
        mBetweenFolder = kept;
        NoteBetween(mCamera.Events("fault").size());
        mBetweenFolder.clear();
        return result;
    }

    [[nodiscard]] std::string HeldFirmware() const override {
        if (!mBetweenFolder.empty()) {
            return Held(ReadFile(mBetweenFolder / "firmware.bin"),
                        nlohmann::json::parse(ReadFile(mBetweenFolder / "state.json")));
        }
        return Held(mCamera.Firmware(), mCamera.State());
    }

  private:
    /// What run_in_turn's three commands wrote, each followed by the time that it took.
    static std::vector<std::string> Split(const std::string& all) {
        std::vector<std::string> parts{""};
        for (const char character : all) {
            if (character == '\f') {
                parts.emplace_back();
            } else if (character == '\v') {
                parts.back().clear();
            } else {
                parts.back() += character;
            }
        }
        EXPECT_EQ(parts.size(), 7U) << all;
        parts.resize(7);
        return parts;
    }

    UsbCamera mCamera;
    std::filesystem::path mBetweenFolder;
};

std::string FirstLine(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

std::string WhyNotExpected(const FaultCell& cell, const FaultResult& result,
                           const std::string& ending, const std::string& held) {
    if (ending == "complete" && held != "new") {
        return "success was claimed, the device holds: " + held;
    }
    if (held != "new" && held != "old") {
        return "the device holds: " + held;
    }
    if (ending != "complete" && ending != "failed" && ending != "not found") {
        return ending;
    }
    const std::string expected = NameOf(cell.expected);
    const bool fits = cell.expected == Outcome::kCompleteOrNot
                          ? ending != "not found"
                          : result.observed == expected ||
                                (cell.expected == Outcome::kFailed && ending == "failed");
    return fits ? "" : "expected: " + expected;
}

}  // namespace

std::string FaultResult::Line(const FaultCell& cell) const {
    std::array<char, 1024> line{};
    (void)std::snprintf(line.data(), line.size(),
                        "%-3s | %-12s | %-22s | %-10s | %-14s | %-14s | %5.1f s | %4.1f s | %s",
                        wrong.empty() ? "ok" : "BAD", NameOf(cell.transport), cell.fault.c_str(),
                        cell.moment.c_str(), NameOf(cell.expected), observed.c_str(),
                        static_cast<double>(duration.count()) / 1000,
                        static_cast<double>(next.count()) / 1000,
                        (wrong.empty() ? reason : "[" + wrong + "] " + reason).c_str());
    return line.data();
}

FaultResult RunFaultCell(const FaultCell& cell) {
    std::unique_ptr<Bench> bench;
    if (IsUsb(cell.transport)) {
        bench = std::make_unique<UsbBench>(cell);
    } else {
        bench = std::make_unique<NetworkBench>(cell);
    }
    ProcessResult next;
    const ProcessResult update = bench->Update(next);
    const std::string ending = Ending(cell.transport, update);
    FaultResult result;
    result.observed = ending + ", " + bench->HeldBetween();
    if (bench->WasUntouched() && result.observed == NameOf(Outcome::kComplete)) {
        result.observed = NameOf(Outcome::kUntouched);
    }
    result.reason = FirstLine(update.err);
    result.duration = update.duration;
    result.next = next.duration;
    result.wrong = WhyNotExpected(cell, result, ending, bench->HeldBetween());
    if (result.wrong.empty()) {
        const std::string nextEnding = Ending(cell.transport, next);
        const std::string held = bench->HeldFirmware();
        if (nextEnding != "complete" || held != "next") {
            result.wrong =
                "the next update: " + nextEnding + ", " + held + ": " + FirstLine(next.err);
        }
    }
    return result;
}

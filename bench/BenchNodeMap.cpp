// bench-node-map [ROUNDS]: how long the simulated camera's description of 1.2 MB takes until its
// features can be asked for, by the SDK and by Aravis, alternately; the medians, as JSON.
#include <arv.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <vector>

#include <nlohmann/json.hpp>

#include <NxBase/NxResultCodes.h>
#include <internal/NxGenICam/ParameterArrayFactory.h>

#include "simulator/description/GenICamDescription.h"

namespace {

/// Nothing is read while a description is loaded.
class SilentPort : public GenPort {
  public:
    NxResult ReadMemory(std::uint64_t, std::span<std::byte>) override { return Refuse(); }
    NxResult WriteMemory(std::uint64_t, std::span<const std::byte>) override { return Refuse(); }
    NxResult ReadRegisters(std::span<Register>) override { return Refuse(); }
    NxResult WriteRegisters(std::span<const Register>) override { return Refuse(); }
    [[nodiscard]] std::string DeviceName() const override { return "nobody"; }
    [[nodiscard]] bool CombinesRegisters() const override { return true; }
    [[nodiscard]] bool HasRegisterCommands() const override { return true; }

  private:
    static NxResult Refuse() { return NxResult(kNxTimeout, "nobody answers"); }
};

template <typename Work>
double Milliseconds(const Work& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin)
        .count();
}

double Median(std::vector<double> numbers) {
    std::sort(numbers.begin(), numbers.end());
    return numbers[numbers.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::max(std::atoi(argv[1]), 1) : 21;
    simulator::DeviceOptions options;
    options.description = {simulator::DescriptionShape::kLarge};
    const std::string xml = DescribeDevice(options, simulator::Bus::kGigEVision);
    std::vector<double> ours;
    std::vector<double> theirs;
    bool good = true;
    for (int round = 0; round < rounds; ++round) {
        std::unique_ptr<NxGenParameterArray> parameters;
        ours.push_back(Milliseconds([&] {
            good =
                MakeParameterArray(std::make_shared<SilentPort>(), xml, parameters).IsOK() && good;
        }));
        ArvGc* nodes = nullptr;
        theirs.push_back(
            Milliseconds([&] { nodes = arv_gc_new(nullptr, xml.data(), xml.size()); }));
        good = good && nodes != nullptr;
        g_clear_object(&nodes);
    }
    std::cout << nlohmann::json{{"bytes", xml.size()},
                                {"ours_ms", Median(ours)},
                                {"aravis_ms", Median(theirs)}}
              << "\n";
    // The target, on any computer that is not much slower than today's.
    return good && Median(ours) < 50 ? 0 : 1;
}

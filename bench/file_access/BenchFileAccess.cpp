// bench-file-access CLIENT ADDRESS PAYLOAD [LAYOUT BUFFER]: writes a payload into the simulated
// GigE Vision camera at ADDRESS with one of these clients, and prints, as JSON, how long writing
// took and how much CPU time; without connecting, opening and closing.
//   sdk              the SDK
//   straightforward  Aravis, every feature by its name for every chunk
//   lean             Aravis, only what a chunk needs
//   resolved         Aravis, with the addresses of all registers resolved once
//   bare, bare-spin  the fewest GVCP commands and nothing else; LAYOUT and BUFFER are the camera's
// Exit status: 2 when something failed.
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>

#include <sys/resource.h>

#include <nlohmann/json.hpp>

#include "AravisFileClient.h"
#include "BareFileClient.h"
#include "Fail.h"
#include "SdkFileClient.h"

namespace {

double CpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

std::unique_ptr<FileClient> MakeClient(int argc, char** argv) {
    const std::string name = argv[1];
    const std::string address = argv[2];
    if (name == "sdk") {
        return std::make_unique<SdkFileClient>(address.starts_with("u3v:") ? address
                                                                           : address + "%lo");
    }
    if (name == "straightforward") {
        return std::make_unique<AravisFileClient>(address,
                                                  AravisFileClient::Style::kStraightforward);
    }
    if (name == "lean") {
        return std::make_unique<AravisFileClient>(address, AravisFileClient::Style::kLean);
    }
    if (name == "resolved") {
        return std::make_unique<AravisFileClient>(address, AravisFileClient::Style::kResolved);
    }
    if (name.starts_with("bare") && argc == 6) {
        const auto layout = BareLayout::Named(argv[4]);
        if (!layout) {
            Fail(std::string("no bare client for the layout ") + argv[4]);
        }
        return std::make_unique<BareFileClient>(
            address, *layout, std::strtoul(argv[5], nullptr, 10),
            name == "bare" ? BareFileClient::Wait::kPoll : BareFileClient::Wait::kSpin);
    }
    Fail("no such client: " + name);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4 && argc != 6) {
        Fail("usage: bench-file-access CLIENT ADDRESS PAYLOAD [LAYOUT BUFFER]");
    }
    const std::unique_ptr<FileClient> client = MakeClient(argc, argv);
    client->Open();
    const double cpuBefore = CpuSeconds();
    const auto begin = std::chrono::steady_clock::now();
    client->Write(argv[3]);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    const double cpu = CpuSeconds() - cpuBefore;
    client->Close();
    std::cout << nlohmann::json{{"seconds", seconds.count()}, {"cpu_seconds", cpu}} << "\n";
    return 0;
}

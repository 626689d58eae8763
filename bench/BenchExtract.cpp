// bench-extract ARCHIVE MEMBER: unpacks one member as the updater does and prints, as JSON, how
// long it took and how much memory was used at most.
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include <nlohmann/json.hpp>

#include "ZipFwFileReader.h"

namespace {

// Not getrusage: its peak counts the process that started this one, until the program is loaded.
long PeakKiB() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == "VmHWM:") {
            long peak = 0;
            status >> peak;
            return peak;
        }
    }
    return -1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: bench-extract ARCHIVE MEMBER\n";
        return 2;
    }
    ZipFwFileReader reader("", argv[1]);
    const auto begin = std::chrono::steady_clock::now();
    const std::string path = reader.ExtractFile(argv[2]);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    if (path.empty()) {
        std::cerr << argv[1] << ": cannot unpack " << argv[2] << "\n";
        return 1;
    }
    std::cout << nlohmann::json{{"bytes", std::filesystem::file_size(path)},
                                {"seconds", seconds.count()},
                                {"peak_kib", PeakKiB()}}
              << "\n";
    return 0;
}

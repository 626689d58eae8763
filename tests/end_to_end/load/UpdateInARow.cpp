// update_in_a_row genicam|tftp CONNECTION-ID PAYLOAD COUNT: updates one camera so many times in one
// process, with the updater's own transfer workers. Prints one line of JSON: how many succeeded,
// the first failure, the time, and what the process held after a tenth of the updates and at the
// end. Ends with status 1 when an update failed.
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>

#include <nlohmann/json.hpp>

#include <NxBase/NxResult.h>
#include <NxBase/NxString.h>

#include "ThreadGenICam.h"
#include "ThreadTftp.h"

namespace {

nlohmann::json Holding() {
    const auto entries = [](const char* folder) {
        const std::filesystem::directory_iterator all(folder);
        return std::distance(begin(all), end(all));
    };
    long pages = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return {{"memory_kib", resident * (sysconf(_SC_PAGESIZE) / 1024)},
            {"descriptors", entries("/proc/self/fd")},
            {"threads", entries("/proc/self/task")}};
}

std::unique_ptr<Thread> MakeWorker(const std::string& transport, const NxString& connection,
                                   const NxString& payload) {
    if (transport == "tftp") {
        return std::make_unique<ThreadTftp>(connection, payload);
    }
    return std::make_unique<ThreadGenICam>(connection, payload);
}

NxResult Update(Thread& worker) {
    worker.Start();
    while (!worker.IsComplete()) {
        (void)usleep(1000);
    }
    return worker.mResult.IsOK() ? worker.Validate() : worker.mResult;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 5) {
        return 2;
    }
    const int count = std::stoi(arguments[4]);
    const auto start = std::chrono::steady_clock::now();
    nlohmann::json early;
    std::string failure;
    int succeeded = 0;
    for (int i = 0; i < count; ++i) {
        if (i == (count + 9) / 10) {
            early = Holding();
        }
        const std::unique_ptr<Thread> worker =
            MakeWorker(arguments[1], NxString(arguments[2]), NxString(arguments[3]));
        const NxResult result = Update(*worker);
        if (result.IsOK()) {
            ++succeeded;
        } else if (failure.empty()) {
            failure = result.GetDescription().GetAscii();
        }
    }
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    std::cout << nlohmann::json{{"updates", count},   {"succeeded", succeeded},
                                {"failure", failure}, {"seconds", time.count()},
                                {"early", early},     {"late", Holding()}}
                     .dump()
              << "\n";
    return succeeded == count ? 0 : 1;
}

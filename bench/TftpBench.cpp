// Sends one file to the same TFTP server with this project's client and with others, in turns, and
// compares how long they take. Run by bench/run-tftp.sh, which starts the servers.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sched.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include <NxDevice/TftpClient.h>

namespace {

struct Arguments {
    std::string address;
    std::string serverName;
    std::string file;
    std::string remoteFile;  ///< where the server puts it, to be compared
    std::vector<unsigned int> blockSizes = {512, 1428, 8192};
    std::vector<unsigned int> windowSizes = {1};
    int clientCpu = 0;
    int rounds = 5;
};

struct Contestant {
    std::string name;
    std::function<bool()> send;
    double bestSeconds = 1e9;
    bool works = true;
};

void PinTo(int cpu) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<unsigned int>(cpu), &set);
    if (sched_setaffinity(0, sizeof set, &set) != 0) {
        std::perror("sched_setaffinity");
    }
}

// Runs a program with its output thrown away.
bool RunQuietly(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const int error =
        posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    return error == 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

bool SendWithOurs(const Arguments& arguments, unsigned int blockSize, unsigned int windowSize) {
    TftpClient client({.blockSize = blockSize, .windowSize = windowSize});
    NxResult result = client.Init(arguments.address, "upload");
    if (result.IsOK()) {
        result = client.SendFile(arguments.file);
    }
    if (!result.IsOK()) {
        std::fprintf(stderr, "%s\n", result.GetDescription().GetAscii());
    }
    return result.IsOK();
}

std::vector<Contestant> Contestants(const Arguments& arguments, unsigned int blockSize,
                                    unsigned int windowSize) {
    const std::string block = std::to_string(blockSize);
    std::vector<Contestant> all;
    all.push_back(
        {"ours", [=, &arguments] { return SendWithOurs(arguments, blockSize, windowSize); }});
    if (windowSize == 1) {
        all.push_back({"curl", [=, &arguments] {
                           return RunQuietly({"timeout", "60", "curl", "--silent", "--upload-file",
                                              arguments.file, "--tftp-blksize", block,
                                              "tftp://" + arguments.address + "/upload"});
                       }});
    }
    if (windowSize == 1 && blockSize == 512) {
        all.push_back({"tftp-hpa", [&arguments] {
                           return RunQuietly({"timeout", "60", "tftp", "-m", "binary",
                                              arguments.address, "-c", "put", arguments.file,
                                              "upload"});
                       }});
    }
    std::vector<std::string> atftp = {"timeout", "60", "atftp", "--option", "blksize " + block};
    if (windowSize > 1) {
        atftp.insert(atftp.end(), {"--option", "windowsize " + std::to_string(windowSize)});
    }
    atftp.insert(atftp.end(), {"--put", "--local-file", arguments.file, "--remote-file", "upload",
                               arguments.address});
    all.push_back({"atftp", [atftp] { return RunQuietly(atftp); }});
    return all;
}

// The server may close its file a moment after its last acknowledgement.
bool Arrived(const Arguments& arguments) {
    for (int i = 0; i < 200; ++i) {
        if (RunQuietly({"cmp", "--silent", arguments.file, arguments.remoteFile})) {
            return true;
        }
        usleep(5000);
    }
    return false;
}

void Measure(const Arguments& arguments, Contestant& contestant) {
    (void)::unlink(arguments.remoteFile.c_str());
    const auto start = std::chrono::steady_clock::now();
    contestant.works = contestant.send();
    const std::chrono::duration<double> duration = std::chrono::steady_clock::now() - start;
    if (contestant.works && !Arrived(arguments)) {
        std::fprintf(stderr, "%s: the file did not arrive as it was sent\n",
                     contestant.name.c_str());
        contestant.works = false;
    }
    contestant.bestSeconds = std::min(contestant.bestSeconds, duration.count());
}

void Compare(const Arguments& arguments, unsigned int blockSize, unsigned int windowSize,
             double megabytes) {
    std::vector<Contestant> contestants = Contestants(arguments, blockSize, windowSize);
    for (int round = 0; round < arguments.rounds; ++round) {
        for (Contestant& contestant : contestants) {
            if (contestant.works) {
                Measure(arguments, contestant);
            }
        }
    }
    std::printf("%-10s %6u %6u", arguments.serverName.c_str(), blockSize, windowSize);
    double fastest = 1e9;
    for (const Contestant& contestant : contestants) {
        if (contestant.works) {
            std::printf("  %s %.1f", contestant.name.c_str(), megabytes / contestant.bestSeconds);
        } else {
            std::printf("  %s failed", contestant.name.c_str());
        }
        if (&contestant != &contestants.front() && contestant.works) {
            fastest = std::min(fastest, contestant.bestSeconds);
        }
    }
    if (fastest < 1e8) {
        std::printf("  ratio %.2f", fastest / contestants.front().bestSeconds);
    }
    std::printf("\n");
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    Arguments arguments;
    CLI::App app("Compares TFTP clients on one server; MB/s, best of the rounds");
    app.add_option("--address", arguments.address)->required();
    app.add_option("--server-name", arguments.serverName)->required();
    app.add_option("--file", arguments.file)->required()->check(CLI::ExistingFile);
    app.add_option("--remote-file", arguments.remoteFile)->required();
    app.add_option("--blocks", arguments.blockSizes)->delimiter(',');
    app.add_option("--windows", arguments.windowSizes)->delimiter(',');
    app.add_option("--cpu", arguments.clientCpu, "that the clients run on");
    app.add_option("--rounds", arguments.rounds);
    CLI11_PARSE(app, argc, argv);

    PinTo(arguments.clientCpu);
    FILE* file = std::fopen(arguments.file.c_str(), "rb");
    (void)std::fseek(file, 0, SEEK_END);
    const double megabytes = static_cast<double>(std::ftell(file)) / 1e6;
    (void)std::fclose(file);
    for (const unsigned int windowSize : arguments.windowSizes) {
        for (const unsigned int blockSize : arguments.blockSizes) {
            Compare(arguments, blockSize, windowSize, megabytes);
        }
    }
    return 0;
}

// Sends one file to the same TFTP server with this project's client and with others, alternately,
// and compares how long they take. Every client is a program of its own, started alike. Run by
// bench/run-tftp.sh, which starts the servers. Exit status: 0 every aim is met, 1 one is missed,
// 2 wrong use.

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sched.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

namespace {

constexpr int kMissed = 1;
constexpr int kFailed = 2;

// The targets, as ratios of throughputs.
constexpr double kAimLockStep = 1.0;          // of the fastest other client, block by block
constexpr double kAimLockStepOtherCpu = 1.3;  // the same, with the server on another CPU
constexpr double kAimSameWindow = 1.1;        // of the fastest other client with the same window
constexpr double kAimWindows = 5.0;           // of the fastest client that goes block by block
constexpr double kAimNoCollapse = 0.25;       // of our own client that goes block by block
constexpr unsigned int kEthernetBlock = 1428;

struct Case {
    unsigned int blockSize;
    unsigned int windowSize;
};

// Blocks one by one come first: windows are compared with them.
constexpr std::array<Case, 3> kLockStep{{{512, 1}, {1428, 1}, {8192, 1}}};
constexpr std::array<Case, 4> kWindows{{{1428, 16}, {1428, 64}, {8192, 16}, {8192, 64}}};

struct Arguments {
    std::string address;
    std::string serverName;
    std::string file;        ///< without the "-8192" that names the block size it is for
    std::string remoteFile;  ///< where the server puts it, to be compared
    std::string json;  ///< file that the figures are appended to, one object a line; may be empty
    bool windows = false;   ///< whether the server grants them
    bool otherCpu = false;  ///< whether the server runs on another CPU
    int clientCpu = 0;
    int rounds = 5;
};

struct Contestant {
    std::string name;
    std::vector<std::string> command;
    std::vector<double> seconds = {};

    [[nodiscard]] double MedianSeconds() const {
        std::vector<double> sorted = seconds;
        std::sort(sorted.begin(), sorted.end());
        return sorted[sorted.size() / 2];
    }
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

std::string FileFor(const Arguments& arguments, const Case& tested) {
    return arguments.file + "-" + std::to_string(tested.blockSize);
}

std::vector<Contestant> Contestants(const Arguments& arguments, const Case& tested) {
    const std::string file = FileFor(arguments, tested);
    const std::string block = std::to_string(tested.blockSize);
    const std::string window = std::to_string(tested.windowSize);
    // Longer than any client takes that has not collapsed.
    const std::vector<std::string> limited = {"timeout", "20"};
    std::vector<Contestant> all;
    const auto add = [&](const std::string& name, const std::vector<std::string>& command) {
        all.push_back({name, limited});
        all.back().command.insert(all.back().command.end(), command.begin(), command.end());
    };
    const auto here = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    add("ours", {here / "bench-tftp-upload", arguments.address, file, "upload", block, window});
    if (tested.windowSize == 1) {
        add("curl", {"curl", "--silent", "--upload-file", file, "--tftp-blksize", block,
                     "tftp://" + arguments.address + "/upload"});
    }
    if (tested.windowSize == 1 && tested.blockSize == 512) {
        add("tftp-hpa", {"tftp", "-m", "binary", arguments.address, "-c", "put", file, "upload"});
    }
    std::vector<std::string> atftp = {"atftp", "--option", "blksize " + block};
    if (tested.windowSize > 1) {
        atftp.insert(atftp.end(), {"--option", "windowsize " + window});
    }
    atftp.insert(atftp.end(),
                 {"--put", "--local-file", file, "--remote-file", "upload", arguments.address});
    add("atftp", atftp);
    return all;
}

// The server may close its file a moment after its last acknowledgement.
bool Arrived(const Arguments& arguments, const std::string& file) {
    for (int i = 0; i < 200; ++i) {
        if (RunQuietly({"cmp", "--silent", file, arguments.remoteFile})) {
            return true;
        }
        usleep(5000);
    }
    return false;
}

void Measure(const Arguments& arguments, const std::string& file, Contestant& contestant) {
    (void)::unlink(arguments.remoteFile.c_str());
    const auto start = std::chrono::steady_clock::now();
    contestant.works = RunQuietly(contestant.command);
    const std::chrono::duration<double> duration = std::chrono::steady_clock::now() - start;
    if (contestant.works && !Arrived(arguments, file)) {
        std::fprintf(stderr, "%s: the file did not arrive as it was sent\n",
                     contestant.name.c_str());
        contestant.works = false;
    }
    contestant.seconds.push_back(duration.count());
}

double Megabytes(const std::string& path) {
    return static_cast<double>(std::filesystem::file_size(path)) / 1e6;
}

class Comparison {
  public:
    explicit Comparison(const Arguments& arguments) : mArguments(arguments) {}

    void Run(const Case& tested) {
        std::vector<Contestant> contestants = Contestants(mArguments, tested);
        for (int round = 0; round < mArguments.rounds; ++round) {
            for (Contestant& contestant : contestants) {
                if (contestant.works) {
                    Measure(mArguments, FileFor(mArguments, tested), contestant);
                }
            }
        }
        std::printf("%-10s %6u %6u", mArguments.serverName.c_str(), tested.blockSize,
                    tested.windowSize);
        const double megabytes = Megabytes(FileFor(mArguments, tested));
        double ours = 0;
        double fastestOther = 0;
        for (const Contestant& contestant : contestants) {
            const double speed = contestant.works ? megabytes / contestant.MedianSeconds() : 0;
            std::printf(contestant.works ? "  %s %.1f" : "  %s failed", contestant.name.c_str(),
                        speed);
            (contestant.name == "ours" ? ours : fastestOther) =
                std::max(contestant.name == "ours" ? ours : fastestOther, speed);
        }
        mRow = {{"server", mArguments.serverName},
                {"block", tested.blockSize},
                {"window", tested.windowSize},
                {"other_cpu", mArguments.otherCpu},
                {"aims", nlohmann::json::array()}};
        for (const Contestant& contestant : contestants) {
            mRow["speeds"][contestant.name] =
                contestant.works ? nlohmann::json(megabytes / contestant.MedianSeconds()) : nullptr;
        }
        if (tested.windowSize == 1) {
            mFastestOther[tested.blockSize] = fastestOther;
            mOurs[tested.blockSize] = ours;
            Judge("the fastest other", ours, fastestOther,
                  mArguments.otherCpu ? kAimLockStepOtherCpu : kAimLockStep);
        } else {
            const bool aimed = mArguments.otherCpu && tested.blockSize == kEthernetBlock;
            Judge("the fastest other with the same window", ours, fastestOther, kAimSameWindow);
            Judge("the fastest other in lock-step", ours, mFastestOther[tested.blockSize],
                  aimed ? kAimWindows : 0);
            Judge("ours in lock-step", ours, mOurs[tested.blockSize], kAimNoCollapse);
        }
        std::printf("\n");
        std::fflush(stdout);
        if (!mArguments.json.empty()) {
            std::ofstream(mArguments.json, std::ios::app) << mRow << "\n";
        }
    }

    [[nodiscard]] bool IsMissed() const { return mMissed; }

  private:
    void Judge(const char* what, double ours, double theirs, double aim) {
        // As it is printed: two decimals are more than rounds agree on.
        const double ratio = theirs > 0 ? std::round(100 * ours / theirs) / 100 : 0;
        const bool met = ours > 0 && (theirs <= 0 || ratio >= aim);
        mMissed = mMissed || !met;
        if (theirs > 0) {
            mRow["aims"].push_back(
                {{"than", what}, {"value", ratio}, {"limit", aim}, {"met", met}});
        }
        std::printf("  %.2f x %s%s", ratio, what, met ? "" : " MISSED");
    }

    const Arguments& mArguments;
    // MB/s in lock-step, by block size
    std::map<unsigned int, double> mFastestOther;
    std::map<unsigned int, double> mOurs;
    bool mMissed = false;
    nlohmann::json mRow;
};

}  // namespace

int main(int argc, char** argv) {
    Arguments arguments;
    CLI::App app("Compares TFTP clients on one server; MB/s, medians of the rounds");
    app.add_option("--address", arguments.address)->required();
    app.add_option("--server-name", arguments.serverName);
    app.add_option("--file", arguments.file,
                   "To compare: without its \"-512\", \"-1428\", \"-8192\"")
        ->required();
    app.add_option("--remote-file", arguments.remoteFile);
    app.add_option("--json", arguments.json, "File that the figures are appended to");
    app.add_flag("--windows", arguments.windows, "The server grants windows");
    app.add_flag("--other-cpu", arguments.otherCpu, "The server runs on another CPU");
    app.add_option("--cpu", arguments.clientCpu, "that the clients run on");
    app.add_option("--rounds", arguments.rounds);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kFailed;
    }

    PinTo(arguments.clientCpu);
    Comparison comparison(arguments);
    for (const Case& tested : kLockStep) {
        comparison.Run(tested);
    }
    for (const Case& tested : kWindows) {
        if (arguments.windows) {
            comparison.Run(tested);
        }
    }
    return comparison.IsMissed() ? kMissed : 0;
}

#include "MockedCommand.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <linux/capability.h>
#include <signal.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "BedGuard.h"
#include "ProgramFile.h"

extern char** environ;  // NOLINT(readability-redundant-declaration): unistd.h's needs _GNU_SOURCE

namespace simulator {

namespace {

constexpr const char* kPreload = "libumockdev-preload.so.0";

/// The superuser opens files whatever their permissions say; a program started after this does not.
void DropOverride() {
    static constexpr std::array<unsigned long, 2> kOverrides{CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH};
    for (const unsigned long capability : kOverrides) {
        // Refused to those who have not got the capability in the first place.
        (void)prctl(PR_CAPBSET_DROP, capability, 0, 0, 0);
        (void)prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_LOWER, capability, 0, 0);
    }
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, 2> data{};
    if (syscall(SYS_capget, &header, data.data()) == 0) {
        data[0].inheritable &= ~((1U << CAP_DAC_OVERRIDE) | (1U << CAP_DAC_READ_SEARCH));
        (void)syscall(SYS_capset, &header, data.data());
    }
}

/// For other processes too: its path, because if it runs under an emulator, they see the emulator
/// in /proc. If its file was replaced, its link in /proc.
std::string ThisProgram() {
    std::error_code ignored;
    const std::filesystem::path name = std::filesystem::read_symlink("/proc/self/exe", ignored);
    return std::filesystem::exists(name, ignored) ? name.string()
                                                  : "/proc/" + std::to_string(getpid()) + "/exe";
}

/// What is written to the pipe until its other ends are closed.
std::string ReadAll(int pipeEnd) {
    std::string text;
    std::array<char, 1024> buffer{};
    ssize_t length = 0;
    while ((length = read(pipeEnd, buffer.data(), buffer.size())) > 0) {
        text.append(buffer.data(), static_cast<std::size_t>(length));
    }
    return text;
}

/// Starts this program again. @return an error number, 0 when it was started
int SpawnGuard(std::vector<std::string> arguments, std::vector<std::string> settings, int report,
               pid_t& id) {
    std::vector<char*> argumentPointers;
    std::vector<char*> settingPointers;
    for (std::string& argument : arguments) {
        argumentPointers.push_back(argument.data());
    }
    for (std::string& setting : settings) {
        settingPointers.push_back(setting.data());
    }
    argumentPointers.push_back(nullptr);
    settingPointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, report, report);  // so that it stays open
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    const int error = posix_spawn(&id, ThisProgram().c_str(), &actions, &attributes,
                                  argumentPointers.data(), settingPointers.data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return error;
}

}  // namespace

bool MockedCommand::Start(const std::string& bed, const std::vector<std::string>& command,
                          bool withoutOverride, std::string& why) {
    const ProgramFile program(command[0]);
    if (!program.Obstacle().empty()) {
        why = "cannot start " + program.Obstacle();
        return false;
    }
    const ProgramFile guard(ThisProgram());
    const std::string preload = program.PreloadOf(kPreload);
    const std::string guardPreload = guard.PreloadOf(kPreload);
    if (!guard.Loads(kPreload, guardPreload) || !program.Loads(kPreload, preload)) {
        why = "cannot start " + command[0] + ": " + kPreload +
              " cannot be preloaded into it, and it would run on this computer's real USB; install "
              "the package umockdev";
        return false;
    }
    std::vector<std::string> settings = {"LD_PRELOAD=" + guardPreload};
    for (char** setting = environ; *setting != nullptr; ++setting) {
        if (std::strncmp(*setting, "LD_PRELOAD=", 11) != 0) {
            settings.emplace_back(*setting);
        }
    }
    if (withoutOverride) {
        DropOverride();
    }
    std::array<int, 2> report{};
    if (pipe2(report.data(), O_CLOEXEC) != 0) {
        why = "cannot start " + command[0] + ": " + std::strerror(errno);
        return false;
    }
    const int error =
        SpawnGuard(BedGuard::CommandLine(bed, report[1], preload, program.Path(), command),
                   std::move(settings), report[1], mId);
    close(report[1]);
    why = error != 0 ? "cannot start " + command[0] + ": " + std::strerror(error)
                     : ReadAll(report[0]);
    close(report[0]);
    if (error == 0 && !why.empty()) {
        (void)waitpid(mId, nullptr, 0);
    }
    if (!why.empty()) {
        mId = -1;
    }
    return why.empty();
}

bool MockedCommand::HasEnded() {
    int status = 0;
    if (mId == -1 || waitpid(mId, &status, WNOHANG) != mId) {
        return mId == -1;
    }
    mId = -1;
    mStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return true;
}

}  // namespace simulator

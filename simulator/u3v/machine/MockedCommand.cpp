#include "MockedCommand.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>

#include <fcntl.h>
#include <linux/capability.h>
#include <signal.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;  // NOLINT(readability-redundant-declaration): unistd.h's needs _GNU_SOURCE

namespace simulator {

namespace {

constexpr const char* kPreload = "libumockdev-preload.so.0";

/// The superuser opens files whatever their permissions say; a program started after this does not.
void DropOverride() {
    for (const unsigned long capability : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH}) {
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

std::string FindProgram(const std::string& name) {
    if (name.find('/') != std::string::npos) {
        return name;
    }
    const char* path = std::getenv("PATH");
    std::istringstream folders(path == nullptr ? "/usr/bin:/bin" : path);
    for (std::string file; std::getline(folders, file, ':');) {
        file.append("/").append(name);
        if (access(file.c_str(), X_OK) == 0) {
            return file;
        }
    }
    return name;
}

std::string OutputOf(std::vector<std::string> command) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
        return "";
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, ends[0]);
    posix_spawn_file_actions_addclose(&actions, ends[1]);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    std::vector<char*> arguments;
    for (std::string& argument : command) {
        arguments.push_back(argument.data());
    }
    arguments.push_back(nullptr);
    pid_t id = -1;
    const int error = posix_spawnp(&id, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    std::string text;
    std::array<char, 4096> buffer{};
    ssize_t length = 0;
    while (error == 0 && (length = read(ends[0], buffer.data(), buffer.size())) > 0) {
        text.append(buffer.data(), static_cast<std::size_t>(length));
    }
    close(ends[0]);
    if (error == 0) {
        (void)waitpid(id, nullptr, 0);
    }
    return text;
}

}  // namespace

std::string MockedCommand::PreloadFor(const std::string& program) {
    std::string preload;
    std::istringstream libraries(OutputOf({"ldd", FindProgram(program)}));
    for (std::string line; std::getline(libraries, line);) {
        std::istringstream words(line);
        std::string name;
        std::string arrow;
        std::string path;
        words >> name >> arrow >> path;
        for (const char* runtime : {"libasan.so", "libtsan.so", "libubsan.so", "libclang_rt."}) {
            if (name.rfind(runtime, 0) == 0 && !path.empty() && path[0] == '/') {
                preload += path + ":";
            }
        }
    }
    preload += kPreload;
    const char* inherited = std::getenv("LD_PRELOAD");
    return inherited == nullptr || *inherited == '\0' ? preload : preload + ":" + inherited;
}

bool MockedCommand::Start(const std::vector<std::string>& command, bool withoutOverride,
                          std::string& why) {
    const std::string preload = "LD_PRELOAD=" + PreloadFor(command[0]);
    std::vector<std::string> settings = {preload};
    for (char** setting = environ; *setting != nullptr; ++setting) {
        if (std::strncmp(*setting, "LD_PRELOAD=", 11) != 0) {
            settings.emplace_back(*setting);
        }
    }
    std::vector<std::string> arguments = command;
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

    if (withoutOverride) {
        DropOverride();
    }
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    const int error = posix_spawnp(&mId, argumentPointers[0], nullptr, &attributes,
                                   argumentPointers.data(), settingPointers.data());
    posix_spawnattr_destroy(&attributes);
    if (error != 0) {
        mId = -1;
        why = "cannot start " + command[0] + ": " + std::strerror(error);
        return false;
    }
    return true;
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

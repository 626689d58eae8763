#include "BedGuard.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include <dirent.h>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace simulator {

namespace {

constexpr const char* kAsked = "--run-in-bed";
enum Argument { kProgram, kMode, kBed, kReport, kPreload, kFile, kCommand };

constexpr const char* kNodes = "/dev/bus/usb";
constexpr const char* kDevices = "/sys/bus/usb";

// The preload library takes the place of functions of the C library, not of system calls.
bool RealStat(const std::string& path, struct stat& status) {
    return syscall(SYS_newfstatat, AT_FDCWD, path.c_str(), &status, 0) == 0;
}

bool IsSame(const struct stat& left, const struct stat& right) {
    return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

/// Asks as programs do, through the C library.
bool IsInBed(const std::string& bed, const std::string& folder) {
    struct stat expected {};
    struct stat found {};
    DIR* opened = opendir(folder.c_str());
    const bool isSame = opened != nullptr && fstat(dirfd(opened), &found) == 0 &&
                        RealStat(bed + folder, expected) && IsSame(expected, found);
    if (opened != nullptr) {
        closedir(opened);
    }
    return isSame;
}

bool WriteText(const char* file, const std::string& text) {
    std::ofstream stream(file);
    stream << text;
    stream.close();
    return static_cast<bool>(stream);
}

/// A mount namespace, also for those who may not make one but in a user namespace of their own.
bool EnterMountNamespace() {
    if (unshare(CLONE_NEWNS) == 0) {
        return true;
    }
    const std::string user = std::to_string(geteuid());
    const std::string group = std::to_string(getegid());
    return unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 && WriteText("/proc/self/setgroups", "deny") &&
           WriteText("/proc/self/uid_map", user + " " + user + " 1") &&
           WriteText("/proc/self/gid_map", group + " " + group + " 1");
}

bool HideFolder(const char* folder) {
    return mount("none", folder, "tmpfs", MS_NOSUID | MS_NODEV | MS_NOEXEC, "mode=0755,size=0") ==
               0 ||
           errno == ENOENT;
}

/// Leaves nothing of the real USB to what the command starts without the preload library.
/// @return false when there is real USB and it cannot be hidden
bool HideRealUsb(std::string& why) {
    struct stat ignored {};
    if (!RealStat(kNodes, ignored) && !RealStat(kDevices, ignored)) {
        return true;
    }
    if (EnterMountNamespace() && mount("none", "/", nullptr, MS_REC | MS_SLAVE, nullptr) == 0 &&
        HideFolder(kNodes) && HideFolder(kDevices)) {
        return true;
    }
    const int error = errno;
    // Without device nodes, as in most containers, there is nothing that could be opened.
    if (!RealStat(kNodes, ignored)) {
        return true;
    }
    why = std::string("cannot hide this computer's USB devices from the command: ") +
          std::strerror(error) + "; run as root or allow user namespaces";
    return false;
}

bool Prepare(char** arguments, std::string& why) {
    const std::string bed = arguments[kBed];
    for (const char* folder : {kNodes, kDevices}) {
        if (!IsInBed(bed, folder)) {
            why = std::string("umockdev's preload library does not take: ") + folder +
                  " is not the emulated one";
            return false;
        }
    }
    return HideRealUsb(why);
}

}  // namespace

std::vector<std::string> BedGuard::CommandLine(const std::string& bed, int report,
                                               const std::string& preload,
                                               const std::string& program,
                                               const std::vector<std::string>& command) {
    std::vector<std::string> line = {"mirsko-simulator",     kAsked,  bed,
                                     std::to_string(report), preload, program};
    line.insert(line.end(), command.begin(), command.end());
    return line;
}

bool BedGuard::IsAskedFor(int argumentCount, char** arguments) {
    return argumentCount > kCommand && std::strcmp(arguments[kMode], kAsked) == 0;
}

int BedGuard::Run(int /*argumentCount*/, char** arguments) {
    const int report = std::atoi(arguments[kReport]);
    (void)fcntl(report, F_SETFD, FD_CLOEXEC);
    std::string why;
    if (Prepare(arguments, why)) {
        (void)setenv("LD_PRELOAD", arguments[kPreload], 1);
        (void)execv(arguments[kFile], arguments + kCommand);
        why = std::strerror(errno);
    }
    why = std::string("cannot start ") + arguments[kCommand] + ": " + why;
    (void)!write(report, why.data(), why.size());
    return 1;
}

}  // namespace simulator

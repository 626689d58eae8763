#include "ProgramFile.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

#include <fcntl.h>
#include <link.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

extern char** environ;  // NOLINT(readability-redundant-declaration): unistd.h's needs _GNU_SOURCE

namespace simulator {

namespace {

// As many scripts as the system follows from one to the next.
constexpr int kMostInterpreters = 5;
constexpr std::size_t kLongestPath = 4096;

// Empty if there is none: a file of that name in the current folder is not what a shell would run.
std::string FindProgram(const std::string& name) {
    if (name.find('/') != std::string::npos) {
        return name;
    }
    const char* path = std::getenv("PATH");
    std::istringstream folders(path == nullptr ? "/usr/bin:/bin" : path);
    for (std::string file; std::getline(folders, file, ':');) {
        file.append(file.empty() ? "./" : "/").append(name);
        struct stat status {};
        if (stat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
            access(file.c_str(), X_OK) == 0) {
            return file;
        }
    }
    return "";
}

// A program that gains rights when it is started is started without LD_PRELOAD.
bool GainsRights(const std::string& file) {
    struct stat status {};
    return stat(file.c_str(), &status) == 0 &&
           ((status.st_mode & (S_ISUID | S_ISGID)) != 0 ||
            getxattr(file.c_str(), "security.capability", nullptr, 0) > 0);
}

// The dynamic loader that a program names; empty for one that is linked statically, and for what is
// not a program of this computer's kind.
std::string LoaderOf(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    ElfW(Ehdr) header{};
    if (!stream.read(reinterpret_cast<char*>(&header), sizeof header)) {
        return "";
    }
    for (unsigned int i = 0; i < header.e_phnum; ++i) {
        ElfW(Phdr) segment{};
        stream.seekg(static_cast<std::streamoff>(header.e_phoff + i * sizeof segment));
        if (!stream.read(reinterpret_cast<char*>(&segment), sizeof segment)) {
            return "";
        }
        if (segment.p_type == PT_INTERP && segment.p_filesz <= kLongestPath) {
            std::string loader(segment.p_filesz, '\0');
            stream.seekg(static_cast<std::streamoff>(segment.p_offset));
            stream.read(loader.data(), static_cast<std::streamsize>(loader.size()));
            return loader.substr(0, loader.find('\0'));
        }
    }
    return "";
}

std::string OutputOf(std::vector<std::string> command, std::vector<std::string> settings) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return "";
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    std::vector<char*> arguments;
    for (std::string& argument : command) {
        arguments.push_back(argument.data());
    }
    arguments.push_back(nullptr);
    std::vector<char*> environment;
    for (std::string& setting : settings) {
        environment.push_back(setting.data());
    }
    environment.push_back(nullptr);
    pid_t id = -1;
    const int error =
        posix_spawn(&id, arguments[0], &actions, nullptr, arguments.data(), environment.data());
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

bool IsSanitizerRuntime(const std::string& name) {
    for (const char* runtime : {"libasan.so", "libtsan.so", "libubsan.so", "libclang_rt."}) {
        if (name.rfind(runtime, 0) == 0) {
            return true;
        }
    }
    return false;
}

std::string FileName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

}  // namespace

ProgramFile::ProgramFile(const std::string& name)
    : mPath(FindProgram(name)),
      mObstacle(mPath.empty() ? name + ": command not found" : Examine(mPath, kMostInterpreters)) {}

std::string ProgramFile::Examine(const std::string& file, int depth) {
    std::ifstream stream(file, std::ios::binary);
    if (access(file.c_str(), X_OK) != 0) {
        return file + ": " + std::strerror(errno);
    }
    if (GainsRights(file)) {
        return file +
               " is set-uid, set-gid or has capabilities, and would run on this computer's real "
               "USB; run mirsko-simulator itself with the rights that it needs";
    }
    std::string start(kLongestPath, '\0');
    stream.read(start.data(), static_cast<std::streamsize>(start.size()));
    start.resize(static_cast<std::size_t>(stream.gcount()));
    if (start.rfind("#!", 0) != 0) {
        return ExamineProgram(file, start);
    }
    std::istringstream line(start.substr(2, start.find('\n') - 2));
    std::string interpreter;
    line >> interpreter;
    return depth == 0 || interpreter.empty() ? file + ": no interpreter for this script"
                                             : Examine(interpreter, depth - 1);
}

std::string ProgramFile::ExamineProgram(const std::string& file, const std::string& start) {
    constexpr char kNativeClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
    if (start.rfind(ELFMAG, 0) != 0 || start.size() <= EI_CLASS ||
        start[EI_CLASS] != kNativeClass) {
        return file + " is not a program of this computer's kind";
    }
    mLoaded = file;
    mLoader = LoaderOf(file);
    return mLoader.empty()
               ? file + " is statically linked, and would run on this computer's real USB"
               : "";
}

std::string ProgramFile::PreloadOf(const std::string& library) const {
    std::string preload;
    for (const std::string& path : Libraries("")) {
        if (IsSanitizerRuntime(FileName(path))) {
            preload.append(path).append(":");
        }
    }
    preload += library;
    const char* inherited = std::getenv("LD_PRELOAD");
    return inherited == nullptr || *inherited == '\0' ? preload : preload + ":" + inherited;
}

bool ProgramFile::Loads(const std::string& library, const std::string& preload) const {
    for (const std::string& path : Libraries(preload)) {
        if (FileName(path) == library) {
            return true;
        }
    }
    return false;
}

std::vector<std::string> ProgramFile::Libraries(const std::string& preload) const {
    if (mLoader.empty()) {
        return {};
    }
    std::vector<std::string> settings;
    for (char** setting = environ; *setting != nullptr; ++setting) {
        if (std::strncmp(*setting, "LD_PRELOAD=", 11) != 0) {
            settings.emplace_back(*setting);
        }
    }
    if (!preload.empty()) {
        settings.push_back("LD_PRELOAD=" + preload);
    }
    std::vector<std::string> found;
    // "NAME => PATH (ADDRESS)", or "PATH (ADDRESS)"
    std::istringstream lines(OutputOf({mLoader, "--list", mLoaded}, settings));
    for (std::string line; std::getline(lines, line);) {
        const std::size_t arrow = line.find(" => ");
        std::istringstream words(arrow == std::string::npos ? line : line.substr(arrow + 4));
        std::string path;
        words >> path;
        if (path.rfind('/', 0) == 0) {
            found.push_back(path);
        }
    }
    return found;
}

}  // namespace simulator

#include "DeviceLock.h"

#include <algorithm>
#include <array>
#include <map>
#include <mutex>

#include <sys/stat.h>

#include <NxBase/NxResultCodes.h>
#include <internal/NxSystem/HardwareAddresses.h>

#include "LockFile.h"

namespace {

constexpr const char* kNoMac = "00:00:00:00:00:00";

// The files that this process holds. They are taken and given up under the mutex only: the system
// would refuse this process a file that another of its threads is just about to close.
struct Holdings {
    std::mutex mutex;
    std::map<std::string, std::weak_ptr<LockFile>> files;
};

Holdings& OfThisProcess() {
    static Holdings holdings;
    return holdings;
}

// The first of them in which every user may make files, and nobody may remove another's: chosen by
// what it is and not by who asks, so that all users meet in the same one.
std::string LockFolder() {
    for (const char* folder : {"/run/lock", "/tmp"}) {
        struct stat status {};
        if (::stat(folder, &status) == 0 && S_ISDIR(status.st_mode) &&
            (status.st_mode & S_ISVTX) != 0 && (status.st_mode & S_IWOTH) != 0) {
            return folder;
        }
    }
    return {};
}

// The same address is another device in another network namespace, as may be a simulated device's
// hardware address.
std::string NetworkNamespace() {
    struct stat status {};
    return ::stat("/proc/self/ns/net", &status) == 0 ? std::to_string(status.st_ino) : "0";
}

// Safe as part of a file name.
std::string NamePart(std::string text) {
    std::ranges::replace_if(
        text,
        [](char byte) {
            const bool isPlain = (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z') ||
                                 (byte >= 'A' && byte <= 'Z');
            return !isPlain && byte != '.' && byte != '-' && byte != '%' && byte != '@';
        },
        '_');
    return text;
}

std::vector<std::string> NamesOf(const ConnectionId& id) {
    if (id.kind == ConnectionId::Kind::kUsb) {
        return {NamePart(id.guid)};
    }
    const std::string connectionId = id.Format();
    std::vector<std::string> names{NetworkNamespace() + "-" + NamePart(connectionId)};
    const std::string mac = HardwareAddresses::Find(connectionId);
    if (!mac.empty() && mac != kNoMac) {
        names.push_back(NetworkNamespace() + "-" + NamePart(mac));
    }
    return names;
}

// Empty without a folder for them.
std::vector<std::string> PathsOf(const ConnectionId& id) {
    const std::string folder = LockFolder();
    std::vector<std::string> paths;
    for (const std::string& name : folder.empty() ? std::vector<std::string>() : NamesOf(id)) {
        paths.push_back(folder);
        paths.back().append("/mirsko-").append(name).append(".lock");
    }
    return paths;
}

}  // namespace

DeviceLock::DeviceLock() = default;

NxResult DeviceLock::Acquire(const ConnectionId& id, std::shared_ptr<DeviceLock>& lock) {
    std::shared_ptr<DeviceLock> taken(new DeviceLock);
    for (const std::string& path : PathsOf(id)) {
        Holdings& holdings = OfThisProcess();
        const std::lock_guard guard(holdings.mutex);
        std::weak_ptr<LockFile>& known = holdings.files[path];
        std::shared_ptr<LockFile> file = known.lock();
        if (file == nullptr) {
            std::unique_ptr<LockFile> made;
            if (LockFile::Take(path, made) == LockFile::Outcome::kHeld) {
                return NxResult(kNxAccessDenied, "Cannot use " + id.Format() +
                                                     ": another program on this computer is using "
                                                     "it; wait until that program ends (it holds " +
                                                     path + ")");
            }
            file = std::move(made);
            known = file;
        }
        if (file != nullptr) {
            taken->mFiles.push_back(std::move(file));
        }
    }
    lock = std::move(taken);
    return NxResult();
}

DeviceLock::~DeviceLock() {
    Holdings& holdings = OfThisProcess();
    const std::lock_guard guard(holdings.mutex);
    mFiles.clear();
    std::erase_if(holdings.files, [](const auto& entry) { return entry.second.expired(); });
}

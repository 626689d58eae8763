#include "UpdateFile.h"

#include <algorithm>

namespace {

constexpr const char* kPackage = "package.zip";
constexpr const char* kSignature = "META-INF/signature.p7s";
constexpr std::size_t kLongestSignature = std::size_t{256} << 10U;

}  // namespace

std::string UpdateFile::Open(const std::string& path) {
    Archive outer;
    const std::string error = outer.Open(path);
    if (!error.empty()) {
        return error;
    }
    if (!Named(outer, kPackage).empty()) {
        return OpenOuter(outer);
    }
    if (Named(outer, "Control.xml").empty()) {
        return "contains neither \"package.zip\" nor \"Control.xml\"";
    }
    mPackagePath = path;
    return mPackage.Open(path);
}

std::string UpdateFile::OpenOuter(const Archive& outer) {
    const std::vector<std::size_t> packages = Named(outer, kPackage);
    const std::vector<std::size_t> signatures = Named(outer, kSignature);
    if (packages.size() > 1 || signatures.size() > 1) {
        return std::string("contains \"") + (packages.size() > 1 ? kPackage : kSignature) +
               "\" more than once";
    }
    if (!signatures.empty()) {
        mSignature.emplace();
        const std::string error =
            outer.ReadText(signatures.front(), kLongestSignature, *mSignature);
        if (!error.empty()) {
            return std::string(kSignature) + ": " + error;
        }
    }
    for (const Archive::Member& member : outer.Members()) {
        const std::string name = NormalPath(member.name);
        if (name != kPackage && name != kSignature && !member.isFolder) {
            mUnused.push_back(member.name);
        }
    }
    mPackagePath = mInner.Path();
    std::string error = mPackagePath.empty() ? "cannot create a temporary file"
                                             : TakeSize(outer.Members()[packages.front()]);
    error = error.empty() ? outer.Extract(packages.front(), mPackagePath) : error;
    error = error.empty() ? mPackage.Open(mPackagePath) : error;
    return error.empty() ? "" : std::string(kPackage) + ": " + error;
}

std::string UpdateFile::Find(const std::string& path, std::size_t& member) const {
    const std::vector<std::size_t> named = Named(mPackage, path);
    if (path.empty() || named.empty()) {
        return "contains no file \"" + path + "\"";
    }
    if (named.size() > 1) {
        return "contains \"" + path + "\" more than once";
    }
    member = named.front();
    return "";
}

std::string UpdateFile::Extract(std::size_t member, const std::string& destination) {
    const std::string error = TakeSize(mPackage.Members().at(member));
    return error.empty() ? mPackage.Extract(member, destination) : error;
}

/// Unpacking ends at the size that the directory declares, so declared sizes can be counted.
std::string UpdateFile::TakeSize(const Archive::Member& member) {
    if (member.size > kMaximumSize - mUnpacked) {
        return "the update file unpacks to more than " + std::to_string(kMaximumSize >> 20U) +
               " MiB";
    }
    mUnpacked += member.size;
    return "";
}

std::string UpdateFile::NormalPath(std::string path) {
    std::replace(path.begin(), path.end(), '\\', '/');
    while (path.rfind("./", 0) == 0 || path.rfind('/', 0) == 0) {
        path.erase(0, path[0] == '/' ? 1 : 2);
    }
    return path;
}

std::vector<std::size_t> UpdateFile::Named(const Archive& archive, const std::string& path) {
    std::vector<std::size_t> named;
    for (std::size_t index = 0; index < archive.Members().size(); ++index) {
        if (NormalPath(archive.Members()[index].name) == path) {
            named.push_back(index);
        }
    }
    return named;
}

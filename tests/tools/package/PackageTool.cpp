#include "PackageTool.h"

#include <algorithm>

std::string PackageTool::Path(const std::string& name) const {
    return (mFolder.Path() / name).string();
}

std::string PackageTool::Expand(std::string text) const {
    const std::string folder = mFolder.Path().string() + "/";
    for (std::size_t at = 0; (at = text.find('@', at)) != std::string::npos; at += folder.size()) {
        text.replace(at, 1, folder);
    }
    return text;
}

ProcessResult PackageTool::Run(const std::vector<std::string>& arguments) const {
    std::vector<std::string> command = {Program("mirsko-package")};
    for (const std::string& argument : arguments) {
        command.push_back(Expand(argument));
    }
    return Process::Run(command);
}

void PackageTool::Expect(const std::vector<std::string>& arguments, int status,
                         const std::string& out, const std::string& err) const {
    const ProcessResult result = Run(arguments);
    EXPECT_EQ(result.exitStatus, status);
    EXPECT_EQ(result.out, Expand(out));
    EXPECT_EQ(result.err, Expand(err));
}

bool PackageTool::Exists(const std::string& name) const {
    return std::filesystem::exists(mFolder.Path() / name);
}

std::vector<std::string> PackageTool::Files() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(mFolder.Path())) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

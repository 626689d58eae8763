#include <NxGenICam/NxGenFile.h>

#include <algorithm>
#include <string>

#include "Script.h"

class NxGenFile::Impl {};

NxGenFile::NxGenFile() {
    Script::Active().Note("NxGenFile::NxGenFile");
    ++Script::Active().files;
    Script::Active().newestFile = this;
}

NxGenFile::~NxGenFile() {
    Script::Active().Note("NxGenFile::~NxGenFile");
    --Script::Active().files;
}

bool NxGenFile::IsSupported(NxGenParameterArray* parameters) {
    Script::Active().Note("NxGenFile::IsSupported");
    return parameters != nullptr && Script::Active().fileAccess;
}

NxResult NxGenFile::Open(NxGenParameterArray*, const NxString& fileName, NxGenOpenMode mode) {
    // Of SFNC's ways to open a file, the number that each goes by in this SDK.
    const int number = static_cast<int>(mode);
    const std::string way = number == 0 ? "write" : number == 1 ? "read" : std::to_string(number);
    return Script::Active()
        .Take(std::string("NxGenFile::Open ") + fileName.GetAscii() + " " + way)
        .result;
}

NxResult NxGenFile::WriteFrom(const NxString& localPath) {
    return Script::Active()
        .Take(std::string("NxGenFile::WriteFrom ") + localPath.GetAscii())
        .result;
}

NxResult NxGenFile::Write(const unsigned char* data, long length, long& written) {
    const std::string bytes(reinterpret_cast<const char*>(data), static_cast<std::size_t>(length));
    const ExpectedCall step = Script::Active().Take("NxGenFile::Write " + bytes);
    written = step.result.IsOK() ? std::min(length, step.mostWritten) : 0;
    return step.result;
}

NxResult NxGenFile::Read(unsigned char* buffer, long length, long& read) {
    const ExpectedCall step = Script::Active().Take("NxGenFile::Read " + std::to_string(length));
    read = std::min(length, static_cast<long>(step.data.size()));
    std::copy_n(step.data.begin(), read, buffer);
    return step.result;
}

NxResult NxGenFile::Close() {
    return Script::Active().Take("NxGenFile::Close").result;
}

NxResult NxGenFile::GetProgress(long& done, long& total) {
    const Script::Progress progress = Script::Active().CurrentProgress();
    done = progress.first;
    total = progress.second;
    return Script::Active().progressResult;
}

#include "NxFwFileReader.h"

#include <fstream>
#include <iterator>

NxFwFileReader::NxFwFileReader(const std::string& aAuxiliary, const std::string& aFilePath)
    : mFilePath(aFilePath), mAuxiliary(aAuxiliary) {}

NxFwFileReader::~NxFwFileReader() = default;

std::string NxFwFileReader::ExtractFile(const std::string& aName) {
    return aName == mFilePath ? mFilePath : std::string();
}

std::string NxFwFileReader::GetFileContent() const {
    std::ifstream stream(mFilePath);
    const std::string content{std::istreambuf_iterator<char>(stream),
                              std::istreambuf_iterator<char>()};
    // Cut at the first zero byte on purpose: what is asked for is the text of a text file.
    return std::string(content.c_str());
}

#include "NxFwFileReader.h"

#include <fstream>

NxFwFileReader::NxFwFileReader(const std::string& aAuxiliary, const std::string& aFilePath)
    : mFilePath(aFilePath), mAuxiliary(aAuxiliary) {}

NxFwFileReader::~NxFwFileReader() = default;

std::string NxFwFileReader::ExtractFile(const std::string& aName) {
    return aName == mFilePath ? mFilePath : std::string();
}

std::string NxFwFileReader::GetFileContent() const {
    std::ifstream stream(mFilePath);
    // To the first zero byte only, on purpose: what is asked for is the text of a text file.
    std::string text;
    (void)std::getline(stream, text, '\0');
    return text;
}

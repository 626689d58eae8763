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
    // Byte by byte: what was read before a read error is kept, and no stream operation swallows the
    // exception of an exhausted memory, as std::getline would.
    std::string text;
    // To the first zero byte only, on purpose: what is asked for is the text of a text file.
    for (char byte = 0; stream.get(byte) && byte != '\0';) {
        text.push_back(byte);
    }
    return text;
}

#include <NxDevice/NxDfwPayload.h>

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "Script.h"

namespace {

NxResult HandOut(const ExpectedCall& step, unsigned char* buffer, unsigned int bufferSize,
                 unsigned int& length) {
    EXPECT_EQ(std::count(buffer, buffer + bufferSize, 0), bufferSize) << "not zeroed";
    EXPECT_EQ(length, 0U);
    length = static_cast<unsigned int>(step.data.size());
    std::copy(step.data.begin(), step.data.end(), buffer);
    return step.result;
}

}  // namespace

NxResult NxDfwPayload::GetDeviceIdRecord(const NxString& payloadFile, const NxString& newId,
                                         unsigned char* buffer, unsigned int bufferSize,
                                         unsigned int& length) {
    const std::string arguments = std::string(payloadFile.GetAscii()) + " " + newId.GetAscii() +
                                  " " + std::to_string(bufferSize);
    return HandOut(Script::Active().Take("NxDfwPayload::GetDeviceIdRecord " + arguments), buffer,
                   bufferSize, length);
}

NxResult NxDfwPayload::GetResetRecord(const NxString& payloadFile, unsigned char* buffer,
                                      unsigned int bufferSize, unsigned int& length) {
    const std::string arguments =
        std::string(payloadFile.GetAscii()) + " " + std::to_string(bufferSize);
    return HandOut(Script::Active().Take("NxDfwPayload::GetResetRecord " + arguments), buffer,
                   bufferSize, length);
}

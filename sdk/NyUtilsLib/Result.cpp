#include <NyUtilsLib/Result.h>

#include <utility>

namespace NyUtilsLib {

Result::Result(unsigned int code) : mCode(code) {}

Result::Result(unsigned int code, std::string message)
    : mCode(code), mMessage(std::move(message)) {}

unsigned int Result::GetCode() const {
    return mCode;
}

const std::string& Result::GetMessage() const {
    return mMessage;
}

}  // namespace NyUtilsLib

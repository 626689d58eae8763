#include <NyUtilsLib/NyString.h>

#include <utility>

NyString::NyString(const char* text) : mText(text != nullptr ? text : "") {}

NyString::NyString(std::string text) : mText(std::move(text)) {}

const char* NyString::GetAscii() const {
    return mText.c_str();
}

unsigned int NyString::GetLength() const {
    return static_cast<unsigned int>(mText.size());
}

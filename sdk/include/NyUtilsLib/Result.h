#pragma once

#include <string>

#include <NyUtilsLib/NyApi.h>

namespace NyUtilsLib {

/// The outcome of an operation: an unsigned code, 0 for success, and a message for a person.
class [[nodiscard]] NY_API Result {
  public:
    /// Success.
    Result() = default;
    explicit Result(unsigned int code);
    Result(unsigned int code, std::string message);

    [[nodiscard]] unsigned int GetCode() const;
    /// One line without a line end; empty when the code says it all.
    [[nodiscard]] const std::string& GetMessage() const;

  private:
    unsigned int mCode = 0;
    std::string mMessage;
};

}  // namespace NyUtilsLib

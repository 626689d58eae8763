#pragma once

#include <string>

#include <NyUtilsLib/NyApi.h>

/// A text of narrow characters as the utility library passes it around, such as a path.
class NY_API NyString {
  public:
    NyString() = default;
    /// Copies a zero-terminated text; a null pointer gives the empty text.
    NyString(const char* text);  // NOLINT(google-explicit-constructor): literals are passed as is
    explicit NyString(std::string text);

    /// The zero-terminated bytes; valid until the string is changed or destroyed.
    [[nodiscard]] const char* GetAscii() const;
    /// Number of bytes, the terminating zero not counted.
    [[nodiscard]] unsigned int GetLength() const;

    bool operator==(const NyString& other) const = default;

  private:
    std::string mText;
};

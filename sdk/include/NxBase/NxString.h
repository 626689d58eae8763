#pragma once

#include <string>

#include <NxBase/NxApi.h>

/// The SDK's text: narrow (UTF-8) and wide at once.
///
/// Bytes that are not UTF-8 are kept: each becomes the wide character 0xDC00 + byte, which turns
/// back into that byte, so narrow → wide → narrow gives the same bytes whatever they were.
class NX_API NxString {
  public:
    NxString() = default;
    /// Copies a zero-terminated text; a null pointer gives the empty text.
    NxString(const char* text);         // NOLINT(google-explicit-constructor): literals are
    NxString(const wchar_t* text);      // NOLINT(google-explicit-constructor): passed as they
    NxString(const std::string& text);  // NOLINT(google-explicit-constructor): stand

    /// The zero-terminated bytes; valid until the string is changed or destroyed.
    [[nodiscard]] const char* GetAscii() const;
    /// The zero-terminated wide characters; valid until the string is changed or destroyed.
    [[nodiscard]] const wchar_t* GetUnicode() const;
    /// Number of bytes of the narrow form, the terminating zero not counted.
    [[nodiscard]] unsigned int GetLength() const;

    NxString& operator+=(const NxString& other);

    bool operator==(const NxString& other) const;
    bool operator!=(const NxString& other) const;
    bool operator==(const char* other) const;
    bool operator!=(const char* other) const;

  private:
    std::string mNarrow;
    std::wstring mWide;
};

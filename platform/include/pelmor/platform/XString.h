#pragma once

#include <string>

#include "Export.h"

// Case handling of text comparisons: 0 ignores case, 1 respects it.
enum CaseSensitivity : int { CaseInsensitive = 0, CaseSensitive = 1 };

// The wide text of the core library: UTF-32 on every platform we build for. A class, not a typedef,
// because its name is part of the exported symbols a host binds.
class PELMOR_PLATFORM_API XString : public std::wstring {
  public:
    using std::wstring::compare;
    using std::wstring::wstring;

    XString() = default;
    XString(const std::wstring& text) : std::wstring(text) {}
    XString(std::wstring&& text) noexcept : std::wstring(std::move(text)) {}

    // UTF-8 in and out. Invalid input becomes U+FFFD; neither direction throws on bad data.
    static XString FromUtf8(const char* text, size_t length);
    static XString FromUtf8(const std::string& text) { return FromUtf8(text.data(), text.size()); }
    static XString FromUtf8(const char* text);
    std::string ToUtf8() const;

    // 0 when equal, like wcscmp; with CaseInsensitive letters are compared by their lower case.
    int compare(const wchar_t* other, CaseSensitivity sensitivity) const;
};

// Appends the UTF-8 form of one code point; anything that is not a Unicode scalar value becomes U+FFFD.
PELMOR_PLATFORM_API void AppendUtf8(std::string& out, char32_t codePoint);

// Returns text with every invalid UTF-8 sequence replaced by U+FFFD (the text itself when it is valid).
PELMOR_PLATFORM_API std::string SanitizeUtf8(const std::string& text);

// True when text is well-formed UTF-8.
PELMOR_PLATFORM_API bool IsValidUtf8(const char* text, size_t length) noexcept;

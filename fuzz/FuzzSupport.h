#pragma once

// What every fuzz target shares: reading a value so that the sanitizers see every byte of it, and the
// split of an input into its first byte (a choice) and the rest.
#include <pelmor/platform/XString.h>

#include <QByteArray>
#include <QString>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <string>
#include <type_traits>

namespace fuzz_support {

inline volatile std::size_t sink;

inline void Touch(const char* text) {
    if (text) sink = sink + std::strlen(text);
}
inline void Touch(const wchar_t* text) {
    if (text) sink = sink + std::wcslen(text);
}
// A buffer of a stated length: every byte of it is read.
inline void Touch(const char* data, int length) {
    if (!data || length <= 0) return;
    std::size_t sum = 0;
    for (int i = 0; i < length; ++i)
        sum += static_cast<unsigned char>(data[i]);
    sink = sink + sum;
}
inline void Touch(const XString& text) {
    sink = sink + text.ToUtf8().size();
}
inline void Touch(const QString& text) {
    sink = sink + static_cast<std::size_t>(text.toUtf8().size());
}
inline void Touch(const std::string& text) {
    sink = sink + text.size();
}
inline void Touch(const QByteArray& bytes) {
    Touch(bytes.constData(), bytes.size());
}
template <typename Number,
          typename = std::enable_if_t<std::is_arithmetic_v<Number> || std::is_enum_v<Number>>>
inline void Touch(Number value) {
    sink = sink + static_cast<std::size_t>(static_cast<long long>(value) & 1);
}
inline void Touch(double value) {
    // The host renders and computes with these: no infinity, no NaN may come out of a reply.
    if (value - value != 0) __builtin_trap();
    sink = sink + (value > 0);
}

}  // namespace fuzz_support

#include "pelmor/platform/PelmorMemory.h"

#include <cerrno>
#include <cstring>
#include <cwchar>

namespace Pelmor {

int memcpy(void* destination, unsigned long long capacity, const void* source,
           unsigned long long count) noexcept {
    if (count == 0) return 0;
    if (!destination || !source) return EINVAL;
    if (count > capacity) return ERANGE;
    std::memcpy(destination, source, static_cast<size_t>(count));
    return 0;
}

void* memset(void* destination, int value, unsigned long long count) noexcept {
    if (!destination || count == 0) return destination;
    return std::memset(destination, value, static_cast<size_t>(count));
}

int wcscmp(const wchar_t* a, const wchar_t* b) noexcept {
    return std::wcscmp(a ? a : L"", b ? b : L"");
}

}  // namespace Pelmor

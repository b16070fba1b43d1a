#pragma once

#include "Export.h"

namespace XStream {
// printf-style; writes one line to stderr.
PELMOR_PLATFORM_API void Info(const char* format, ...) __attribute__((format(printf, 1, 2)));
}  // namespace XStream

#pragma once

#include "Export.h"

namespace XStream {
// printf-style, one line. Written only when the environment variable PELMOR_LOG is set: "stderr", or the
// path of a file to append to. Otherwise nothing is written anywhere.
PELMOR_PLATFORM_API void Info(const char* format, ...) __attribute__((format(printf, 1, 2)));
}  // namespace XStream

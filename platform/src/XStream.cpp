#include "pelmor/platform/XStream.h"

#include <cstdarg>
#include <cstdio>

namespace XStream {

void Info(const char* format, ...) {
    if (!format) return;
    char line[1024];
    va_list args;
    va_start(args, format);
    const int length = std::vsnprintf(line, sizeof line, format, args);
    va_end(args);
    if (length < 0) return;
    // One write per line so that lines from several threads do not interleave.
    std::fprintf(stderr, "%s\n", line);
}

}  // namespace XStream

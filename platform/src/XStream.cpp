#include "pelmor/platform/XStream.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// The library lives in someone else's process: it writes only where PELMOR_LOG asks, "stderr" or a file
// to append to.
const char* LogTarget() {
    const char* target = std::getenv("PELMOR_LOG");
    return target && *target ? target : nullptr;
}

void WriteLine(const char* target, const char* line) {
    if (std::strcmp(target, "stderr") == 0) {
        // One write per line so that lines from several threads do not interleave.
        std::fprintf(stderr, "%s\n", line);
        return;
    }
    if (FILE* file = std::fopen(target, "a")) {
        std::fprintf(file, "%s\n", line);
        std::fclose(file);
    }
}

}  // namespace

namespace XStream {

void Info(const char* format, ...) {
    const char* target = LogTarget();
    if (!format || !target) return;
    char line[1024];
    va_list args;
    va_start(args, format);
    const int length = std::vsnprintf(line, sizeof line, format, args);
    va_end(args);
    if (length < 0) return;
    WriteLine(target, line);
}

}  // namespace XStream

#include "transport/ServiceHosts.h"

#include <cstdlib>
#include <cstring>

#ifndef PELMOR_SERVICE_HOST
#error "PELMOR_SERVICE_HOST must be defined by the build"
#endif
#ifndef PELMOR_COVERAGE_HOST
#error "PELMOR_COVERAGE_HOST must be defined by the build"
#endif

namespace {

// Letters, digits and the punctuation of names, IPv4 and bracketed IPv6 addresses and a port: anything
// else (a scheme, a path, spaces, a header break) would change more of the request than its host.
bool IsPlainHost(const char* text) {
    const std::size_t length = std::strlen(text);
    if (length == 0 || length > 255) return false;
    for (std::size_t i = 0; i < length; ++i) {
        const char c = text[i];
        const bool allowed = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                             c == '.' || c == '-' || c == '_' || c == ':' || c == '[' || c == ']';
        if (!allowed) return false;
    }
    return true;
}

struct Hosts {
    std::string service = ServiceHosts::Choose(std::getenv("PELMOR_SERVICE_HOST"), PELMOR_SERVICE_HOST);
    std::string coverage = ServiceHosts::Choose(std::getenv("PELMOR_COVERAGE_HOST"), PELMOR_COVERAGE_HOST);
};

// Built on first use, whichever file's load-time constants ask first.
const Hosts& Current() {
    static const Hosts hosts;
    return hosts;
}

// Read at load, not at the first request, so that a host changing its environment later changes nothing.
[[maybe_unused]] const bool readAtLoad = (Current(), true);

}  // namespace

namespace ServiceHosts {

std::string Choose(const char* fromEnvironment, const char* compiled) {
    return fromEnvironment && IsPlainHost(fromEnvironment) ? fromEnvironment : compiled;
}

const std::string& Service() noexcept {
    return Current().service;
}

const std::string& Coverage() noexcept {
    return Current().coverage;
}

}  // namespace ServiceHosts

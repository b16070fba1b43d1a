#pragma once

#include <string>

namespace pelmor {

// Plain HTTP on loopback: pelmor asks pelmor-emulator's control surface whether it runs, which code it
// texted, and so on. Every request is bounded by timeoutMs.
struct HttpAnswer {
    int status = 0;  // 0 when nothing answered
    std::string body;
};

HttpAnswer HttpRequest(const std::string& hostPort, const std::string& method, const std::string& target,
                       const std::string& body = "", int timeoutMs = 5000);

// Where the library sends service requests: $PELMOR_SERVICE_HOST when set (the library reads it too),
// else the host it was built for.
std::string ServiceHost();

// Where the library looks for the coverage site, likewise ($PELMOR_COVERAGE_HOST).
std::string CoverageHost();

// True when a connection to hostPort is refused outright (or cannot be made at all), so that "is it
// running?" is asked only when nothing listens; false when something accepted the connection.
bool ConnectionRefused(const std::string& hostPort);

// True when pelmor-emulator (not the real service) answers on hostPort.
bool EmulatorAnswers(const std::string& hostPort, int timeoutMs = 1000);

}  // namespace pelmor

#pragma once

#include <string>

namespace pelmor {

// A small blocking HTTP/1.0 client for loopback use: the demo asks pelmor-emulator's control surface
// whether it runs, which code it texted, and so on. Every step is bounded by timeoutMs.
struct HttpAnswer {
    int status = 0;  // 0 when nothing answered
    std::string body;
};

HttpAnswer HttpRequest(const std::string& hostPort, const std::string& method, const std::string& target,
                       const std::string& body = "", int timeoutMs = 5000);

}  // namespace pelmor

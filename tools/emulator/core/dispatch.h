#pragma once

#include "emulator/core/context.h"

#include <httplib.h>

#include <string>

namespace pelmor::emulator {

struct Target {
    Address address;
    std::string suffix;  // the part after the enterprise prefix, as received
};

// Which service address a request path names.
Target classify(const std::string& path);

// Answers one request outside the control surface: logs it, applies a pending script or the handlers,
// and writes the response.
void serve(Context& ctx, const httplib::Request& req, httplib::Response& res);

}  // namespace pelmor::emulator

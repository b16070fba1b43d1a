#pragma once

#include "emulator/core/context.h"

#include <httplib.h>

#include <string>

namespace pelmor::emulator {

// Plain HTTP answers for testing a client's transport, under /_emulator/http/ on the service port:
// echo, final, redirect, empty, zero (a body with a zero byte inside), slow and status. Unlike the
// control endpoints they are logged, with address "http", so that a test can tell whether a request
// was sent at all.
bool is_http_probe(const std::string& control_name);  // the name after /_emulator/
void serve_http_probe(Context& ctx, const std::string& control_name, const httplib::Request& req,
                      httplib::Response& res);

}  // namespace pelmor::emulator

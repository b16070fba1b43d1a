#pragma once

#include "emulator/core/context.h"

#include <httplib.h>

#include <string>

namespace pelmor::emulator {

// The test-facing endpoints live under this prefix on the service's own port; the service never uses it.
inline constexpr const char kControlPrefix[] = "/_emulator/";

bool is_control_path(const std::string& path);

void control(Context& ctx, const httplib::Request& req, httplib::Response& res);

}  // namespace pelmor::emulator

#pragma once

#include "emulator/core/options.h"

#include <httplib.h>

#include <cstddef>

namespace pelmor::emulator {

// The settings both listeners (the service and the coverage site) run with: worker threads, keep-alive,
// I/O time-outs and socket options.
void apply_server_settings(httplib::Server& server, const Options& options, std::size_t threads);

}  // namespace pelmor::emulator

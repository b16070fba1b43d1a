#pragma once

#include "emulator/core/options.h"
#include "emulator/core/request_log.h"
#include "emulator/core/router.h"
#include "emulator/core/script_queue.h"
#include "emulator/core/service_state.h"

namespace pelmor::emulator {

// Everything the request threads share. Each member guards itself; the router and options are only
// read once the server runs.
struct Context {
    explicit Context(Options opts) : options(std::move(opts)), log(options.log_limit) {}

    Options options;
    Router router;
    RequestLog log;
    ScriptQueue scripts;
    ServiceState state;
};

}  // namespace pelmor::emulator

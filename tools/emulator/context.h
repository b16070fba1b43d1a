#pragma once

#include "emulator/options.h"
#include "emulator/request_log.h"
#include "emulator/router.h"
#include "emulator/script_queue.h"
#include "emulator/service_state.h"

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

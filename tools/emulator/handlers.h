#pragma once

#include "emulator/router.h"

namespace pelmor::emulator {

// Registers every built-in handler. Each area of the service has its own source file and its own
// register function, called from here.
void register_handlers(Router& router);

void register_config_handlers(Router& router);

}  // namespace pelmor::emulator

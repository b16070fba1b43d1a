#pragma once

#include "emulator/core/router.h"

namespace pelmor::emulator {

// Registers every built-in handler. Each area of the service has its own source file and its own
// register function, called from here.
void register_handlers(Router& router);

void register_config_handlers(Router& router);        // config.cpp
void register_account_handlers(Router& router);       // accounts.cpp
void register_device_handlers(Router& router);        // devices.cpp
void register_professional_handlers(Router& router);  // professional.cpp
void register_feedback_handlers(Router& router);      // feedback.cpp
void register_enterprise_handlers(Router& router);    // enterprise.cpp

}  // namespace pelmor::emulator

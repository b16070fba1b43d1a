#pragma once

#include "emulator/router.h"

namespace pelmor::emulator {

// Registers every built-in handler. Each area of the service has its own source file and its own
// register function, called from here.
void register_handlers(Router& router);

void register_config_handlers(Router& router);        // handlers_config.cpp
void register_account_handlers(Router& router);       // handlers_accounts.cpp
void register_device_handlers(Router& router);        // handlers_devices.cpp
void register_professional_handlers(Router& router);  // handlers_professional.cpp
void register_feedback_handlers(Router& router);      // handlers_feedback.cpp
void register_enterprise_handlers(Router& router);    // handlers_enterprise.cpp

}  // namespace pelmor::emulator

#include "emulator/service/handlers.h"

namespace pelmor::emulator {

void register_handlers(Router& router) {
    register_config_handlers(router);
    register_account_handlers(router);
    register_device_handlers(router);
    register_professional_handlers(router);
    register_feedback_handlers(router);
    register_enterprise_handlers(router);
}

}  // namespace pelmor::emulator

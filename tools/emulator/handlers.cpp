#include "emulator/handlers.h"

namespace pelmor::emulator {

void register_handlers(Router& router) {
    register_config_handlers(router);
}

}  // namespace pelmor::emulator

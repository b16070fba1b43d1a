#include "emulator/handlers.h"

namespace pelmor::emulator {

void register_enterprise_handlers(Router&) {}

}  // namespace pelmor::emulator

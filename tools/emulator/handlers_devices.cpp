#include "emulator/handlers.h"

namespace pelmor::emulator {

void register_device_handlers(Router&) {}

}  // namespace pelmor::emulator

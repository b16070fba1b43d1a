#include "emulator/handlers.h"

namespace pelmor::emulator {

void register_professional_handlers(Router&) {}

}  // namespace pelmor::emulator

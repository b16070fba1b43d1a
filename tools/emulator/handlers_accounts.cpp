#include "emulator/handlers.h"

namespace pelmor::emulator {

void register_account_handlers(Router&) {}

}  // namespace pelmor::emulator

#include "emulator/handlers.h"

namespace pelmor::emulator {

void register_feedback_handlers(Router&) {}

}  // namespace pelmor::emulator

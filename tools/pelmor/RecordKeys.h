#pragma once

#include <pelmor/Records.h>

// The machine keys of report lines, as the service names them, so that a script can pick a line without
// reading its (translated) display name.
namespace pelmor {

const char* VerifyItemKey(EDeviceVerifyKey key);
const char* VerifyClassName(EDeviceVerifyClassify classify);
const char* ProverifyItemKey(ESocketProverifyItemKey key);
const char* ProverifyVariableKey(ESocketProverifyVariable key);

}  // namespace pelmor

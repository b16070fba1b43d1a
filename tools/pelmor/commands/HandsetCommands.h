#pragma once

#include <pelmor/ISocketDevice.h>

#include "Command.h"

namespace pelmor {

// `device import CAPTURE...` and `device check DEVICE`; a[0] is "import" or "check".
int DeviceSubcommand(Session& s, const Args& a);

// Appends the handsets connected now to the rows `devices` shows, and tells on one line of stderr when
// there are none and why.
void ConnectedRows(Session& s, JsonArray& rows);

// Warns on stderr before a description the service cannot verify is sent.
void WarnIfIncomplete(Session& s, const std::string& what, ISocketDevice& device);

}  // namespace pelmor

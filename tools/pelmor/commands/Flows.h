#pragma once

#include <functional>
#include <string>

#include "Session.h"

class CDeviceFile;

namespace pelmor {

// The two commands that take several exchanges and a person in between; the demo walks them as well.

// Asks for the payment QR code, shows it, calls onOrder with the order number, and (when wait) polls
// the order with a progress line until it is paid or timeout seconds have passed.
int PayAndWait(Session& s, CDeviceFile& device, bool way, bool wait, int timeout,
               const std::function<void(const std::string& order)>& onOrder);

// Fetches the captcha, saves it, gets its answer from answer(captchaPath, text) and shows the coverage
// page the site returns.
int CoverageLookup(Session& s, CDeviceFile& device,
                   const std::function<bool(const std::string& captchaPath, std::string& answer)>& answer);

}  // namespace pelmor

#pragma once

#include <functional>
#include <string>

#include "Session.h"

class CDeviceFile;

namespace pelmor {

// The two commands that take several exchanges and a person in between; the demo walks them as well.

// Forgets the running command's edition's session (token and what belongs to it); "logout" and
// "ent logout".
int Logout(Session& s, const Args& a);

// Asks for the payment QR code, shows it, calls onOrder with the order number, and (when wait) polls
// the order with a progress line until it is paid or timeout seconds have passed.
int PayAndWait(Session& s, CDeviceFile& device, bool way, bool wait, int timeout,
               const std::function<void(const std::string& order)>& onOrder);

// Fetches the captcha, saves it, gets its answer from answer(captchaPath, text) and shows the coverage
// page's fields. A wrong answer starts again with a new captcha, up to attempts times in all; a page that
// is not a coverage result fails with the site's reason.
int CoverageLookup(Session& s, CDeviceFile& device, int attempts,
                   const std::function<bool(const std::string& captchaPath, std::string& answer)>& answer);

// The fields of a coverage-site answer by name: "result" ("ok", or the site's reason such as "captcha";
// null when the page is not a result page), "serial", "product", "coverage" (one object per item) and the
// site's "message"; or "page" when the site answered JSON.
JsonObject CoveragePage(const std::string& page);

}  // namespace pelmor

#pragma once

#include "emulator/service/warranty.h"

#include <cstdint>
#include <string>

namespace pelmor::emulator::coverage {

// The two regional editions of the coverage pages: "/cn/zh/" in Chinese, "/us/eh/" in English.
enum class Region { cn, us };

// Why an answer was not accepted; each has its own page and HTTP status.
enum class Refusal { host, referer, session, token, form, serial, captcha };

struct Page {
    int status = 200;
    std::string content_type = "text/html; charset=utf-8";
    std::string body;
};

// The captcha as an SVG document: text, so that a client that reads responses as text gets all of it.
Page captcha_page(const std::string& answer);

// The coverage form of a serial number. A visitor with a session gets the page with its CSRF token in
// the page script (csrfToken: "..."); token "" gives the page without one, asking to reload the captcha.
Page form_page(Region region, const std::string& serial, const std::string& token);

// The coverage of a serial number on the day of now_ms. Serial numbers are checked to be letters and
// digits before they reach a page, so they need no escaping.
Page result_page(Region region, const std::string& serial, const Warranty& warranty, std::int64_t now_ms);

Page refusal_page(Region region, Refusal refusal);
const char* refusal_name(Refusal refusal);

Page not_found_page();

}  // namespace pelmor::emulator::coverage

#include <pelmor/HalvexHTTP.h>

#include <cstdio>
#include <string>

#include "HalvexCurl.h"

// Host-facing entry points. Our own failures (out of memory included) become false; a host callback that
// throws goes through a noexcept frame and ends the process, as documented.
namespace {

template <typename Run>
bool Guarded(Run&& run) noexcept {
    try {
        return run();
    } catch (...) {
        return false;
    }
}

// Form bodies go into a fixed buffer of 1024 bytes. A body that would not fit is refused rather than cut:
// a cut body would post a wrong answer or token to the site.
bool FormatBody(char (&buffer)[1024], const char* format, const char* sno, const char* ans,
                const char* token) {
    std::fill(std::begin(buffer), std::end(buffer), '\0');
    const int length = token ? std::snprintf(buffer, sizeof buffer, format, sno, ans, token)
                             : std::snprintf(buffer, sizeof buffer, format, sno, ans);
    return length >= 0 && static_cast<size_t>(length) < sizeof buffer;
}

}  // namespace

bool HalvexHTTP::POST(const char* url, const char* body, std::function<void(const char*)> callback) {
    if (!url || !body || !callback) return false;
    return Guarded([&] {
        HalvexCurl curl;
        return curl.POST(url, body, [&callback](const char* response) noexcept { callback(response); });
    });
}

bool HalvexHTTP::GET(const char* url, std::function<void(const char*)> callback) {
    if (!url || !callback) return false;
    return Guarded([&] {
        HalvexCurl curl;
        return curl.GET(url, [&callback](const char* response) noexcept { callback(response); });
    });
}

bool HalvexHTTP::GETWarranty(const char* url, std::function<void(const char*, const char*)> callback) {
    if (!url || !callback) return false;
    return Guarded([&] {
        HalvexCurl curl;
        std::string cookie;
        if (!curl.GetCookie(url, [&cookie](const char* text) { cookie = text; })) return false;
        // The same captcha address again, now with the cookies; the host keeps them for the answer step.
        return curl.GETWarranty(
            url, cookie.c_str(),
            [&callback](const char* response, const char* sent) noexcept { callback(response, sent); });
    });
}

bool HalvexHTTP::POSTWarranty(const char* url, const char* cookie, const char* sno, const char* ans,
                              std::function<void(const char*)> callback) {
    if (!url || !ans || !callback) return false;
    if (!sno) sno = "";
    return Guarded([&] {
        char body[1024];
        if (!FormatBody(body, "sno=%s&ans=%s&captchaMode=image", sno, ans, nullptr)) return false;
        std::string token;
        {
            HalvexCurl page;
            if (!page.WarrantySelectToken(url, cookie, [&token](const char* found) { token = found; }))
                return false;
        }
        // No token on the page: nothing is posted and nothing called back, yet the step went through.
        if (token.empty()) return true;
        if (!FormatBody(body, "sno=%s&ans=%s&captchaMode=image&CSRFToken=%s", sno, ans, token.c_str()))
            return false;
        HalvexCurl form;
        return form.POSTWarranty(url, cookie, body,
                                 [&callback](const char* response) noexcept { callback(response); });
    });
}

#pragma once

#include <functional>
#include <string>
#include <vector>

// A thin client over libcurl's easy interface: one blocking request per call, the whole response kept as
// text and handed to a callback. Objects are short-lived, one per request, because the response buffer
// grows across calls on the same object.
//
// The option sets of the requests differ on purpose: the POSTs have a total time-out and the plain POST
// verifies certificates; the GETs follow redirects, skip certificate checks, present a desktop browser and
// have no total time-out, only a connect time-out and a stall limit. The coverage-site requests ask for
// HTTP/1.1. Nothing is printed: the progress meter the GETs turn on is a silent function of ours.
class HalvexCurl {
  public:
    HalvexCurl() = default;
    virtual ~HalvexCurl();

    virtual bool POST(const char* url, const char* body, std::function<void(const char*)> callback);
    virtual bool GET(const char* url, std::function<void(const char*)> callback);

    // Warranty-coverage site. GetCookie: a GET whose first header block yields the site's cookies.
    virtual bool GetCookie(const char* url, std::function<void(const char*)> callback);
    // A GET with the cookies; hands (response, cookie) on.
    virtual bool GETWarranty(const char* url, const char* cookie,
                             std::function<void(const char*, const char*)> callback);
    // A GET of the coverage page; hands on the CSRF token it carries ("" when none).
    virtual bool WarrantySelectToken(const char* url, const char* cookie,
                                     std::function<void(const char*)> callback);
    // The form POST of the answer; hands on the response.
    virtual bool POSTWarranty(const char* url, const char* cookie, const char* body,
                              std::function<void(const char*)> callback);

    // Appends a block of the response as text: up to its first zero byte, never more than length bytes.
    virtual void AchieveHTTP(const char* data, unsigned int length);

    // libcurl's write function; user is the HalvexCurl that collects the response.
    static size_t CallBack_HTTP(void* data, size_t size, size_t count, void* user);

    // What the write callback has collected so far; lets the response handling be driven with text alone.
    const std::string& Response() const noexcept { return buffer_; }

    // Responses beyond this size abort the transfer, so a hostile server cannot exhaust memory.
    static constexpr size_t kMaxResponseBytes = 64u * 1024 * 1024;

  private:
    std::string buffer_;
};

// Splits text at every character found in delimiters; empty pieces are kept. An empty text or an empty
// delimiter set gives the whole text as one piece.
void StringSplit(std::string& text, std::string& delimiters, std::vector<std::string>* out);

// The cookie text of a response's first header block: the value of every "Set-Cookie: " line with the
// common attributes cut out, joined with ";".
std::string CookieTextOf(const std::string& response);

// The CSRF token a coverage page carries (headers and body searched together); "" when there is none.
std::string CsrfTokenOf(const std::string& response);

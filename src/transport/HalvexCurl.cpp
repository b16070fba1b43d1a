#include "HalvexCurl.h"

#include <curl/curl.h>
#include <pelmor/platform/ADPString.h>
#include <pelmor/platform/NetworkTimeouts.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <memory>
#include <string>

#include "transport/ServiceHosts.h"

namespace {

constexpr char kBrowser[] =
    "Mozilla/5.0 (Windows NT 5.1) AppleWebKit/537.36 (KHTML, like Gecko) Chrome/30.0.1599.69 Safari/537.36";
const std::string kHostHeaderLine = "Host: " + ServiceHosts::Coverage();
const std::string kFixedRefererLine = "Referer: https://" + ServiceHosts::Coverage() + "/cn/zh/";
const char* const kHostHeader = kHostHeaderLine.c_str();
const char* const kFixedReferer = kFixedRefererLine.c_str();
constexpr char kTokenStart[] = "csrfToken: \"";
constexpr char kTokenEnd[] = "\"";
constexpr char kSetCookie[] = "Set-Cookie: ";

// Attributes cut out of each cookie, one occurrence each, in this order. "; Path=/" three times over and
// the absence of "; path=/" and "; secure" are how the site's cookies have always been read: keep them.
constexpr const char* kCookieAttributes[] = {
    ";httponly", "; httponly", ";secure",   "; Secure",   ";path=/", "; Path=/", "; Path=/",
    ";Path=/",   "; Path=/",   ";HttpOnly", "; HttpOnly", ";Secure", "; Secure",
};

struct EasyCleanup {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
using EasyHandle = std::unique_ptr<CURL, EasyCleanup>;

struct ListCleanup {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using HeaderList = std::unique_ptr<curl_slist, ListCleanup>;

// Builds the list line by line; null when any line could not be added.
HeaderList MakeHeaders(std::initializer_list<const char*> lines) {
    curl_slist* list = nullptr;
    for (const char* line : lines) {
        curl_slist* grown = curl_slist_append(list, line);
        if (!grown) {
            curl_slist_free_all(list);
            return HeaderList();
        }
        list = grown;
    }
    return HeaderList(list);
}

// Stands in for libcurl's progress meter, which would otherwise print on the host's stderr.
int SilentProgress(void*, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
    return 0;
}

// libcurl copies text options; a copy that fails leaves the option unset, and the request would go out
// without it (a form posted without its cookie is refused by the site).
bool Copied(CURLcode code) {
    return code == CURLE_OK;
}

// An empty cookie text means no Cookie header at all, not an empty one.
bool SetCookie(CURL* curl, const char* cookie) {
    return !(cookie && *cookie) || Copied(curl_easy_setopt(curl, CURLOPT_COOKIE, cookie));
}

// Every request here has a handle of its own, so a TLS session kept for reuse is never reused. And
// libcurl 7.88 frees a block twice at cleanup when keeping one runs out of memory: do not keep them.
void KeepNoTlsSession(CURL* curl) {
    curl_easy_setopt(curl, CURLOPT_SSL_SESSIONID_CACHE, 0L);
}

// The coverage site is read line by line as HTTP/1.1 writes its headers; HTTP/2 would lower-case them.
void AskForHttp11(CURL* curl) {
    curl_easy_setopt(curl, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
}

// The options every GET of this client sets, in their order. No total time-out, since a host may fetch a
// large file, but a stalled transfer is given up. No signals: the host may have threads of its own.
// False when a text option could not be copied.
bool SetGetOptions(CURL* curl, const char* url, HalvexCurl* self, bool withHeaders, const char* cookie) {
    bool whole = Copied(curl_easy_setopt(curl, CURLOPT_URL, url));
    curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &HalvexCurl::CallBack_HTTP);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, self);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 0L);
    KeepNoTlsSession(curl);
    curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, &SilentProgress);
    if (withHeaders) curl_easy_setopt(curl, CURLOPT_HEADER, 1L);
    whole = Copied(curl_easy_setopt(curl, CURLOPT_USERAGENT, kBrowser)) && whole;
    whole = SetCookie(curl, cookie) && whole;
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, NetworkTimeouts::kConnectSeconds);
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_LIMIT, NetworkTimeouts::kStallBytesPerSecond);
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_TIME, NetworkTimeouts::kStallSeconds);
    return whole;
}

// The POSTs' pair of limits.
void SetPostTimeouts(CURL* curl) {
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, NetworkTimeouts::kPlainPostConnectSeconds);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, NetworkTimeouts::kPlainPostTotalSeconds);
}

// Where a line of the header block holds "Set-Cookie: " in any letter case (HTTP/2 and some servers
// write header names in lower case).
bool HoldsSetCookie(const std::string& line) {
    const char* const end = kSetCookie + sizeof kSetCookie - 1;
    return std::search(line.begin(), line.end(), kSetCookie, end, [](char a, char b) {
               return std::tolower(static_cast<unsigned char>(a)) ==
                      std::tolower(static_cast<unsigned char>(b));
           }) != line.end();
}

bool Perform(CURL* curl) {
    return curl_easy_perform(curl) == CURLE_OK;
}

}  // namespace

HalvexCurl::~HalvexCurl() = default;

size_t HalvexCurl::CallBack_HTTP(void* data, size_t size, size_t count, void* user) {
    const size_t length = size * count;
    auto* self = static_cast<HalvexCurl*>(user);
    if (!self) return length;
    if (self->buffer_.size() + length > kMaxResponseBytes) return 0;  // aborts the transfer
    try {
        self->AchieveHTTP(static_cast<const char*>(data), static_cast<unsigned int>(length));
    } catch (...) {
        return 0;  // out of memory: abort rather than hand on a response with a hole in it
    }
    return length;
}

void HalvexCurl::AchieveHTTP(const char* data, unsigned int length) {
    if (!data || length == 0) return;
    buffer_.append(data, strnlen(data, length));
}

bool HalvexCurl::POST(const char* url, const char* body, std::function<void(const char*)> callback) {
    if (!url || !body || !callback) return false;
    EasyHandle curl(curl_easy_init());
    if (!curl) return false;
    HeaderList headers = MakeHeaders({"Content-Type: text/plain"});
    if (!headers) return false;
    curl_easy_setopt(curl.get(), CURLOPT_POST, 1L);
    curl_easy_setopt(curl.get(), CURLOPT_URL, url);
    curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDS, body);
    curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDSIZE, static_cast<long>(std::strlen(body)));
    curl_easy_setopt(curl.get(), CURLOPT_HTTPHEADER, headers.get());
    curl_easy_setopt(curl.get(), CURLOPT_WRITEFUNCTION, &HalvexCurl::CallBack_HTTP);
    curl_easy_setopt(curl.get(), CURLOPT_WRITEDATA, this);
    SetPostTimeouts(curl.get());
    if (!Perform(curl.get())) return false;
    curl.reset();
    headers.reset();
    callback(buffer_.c_str());
    return true;
}

bool HalvexCurl::GET(const char* url, std::function<void(const char*)> callback) {
    if (!url || !callback) return false;
    EasyHandle curl(curl_easy_init());
    if (!curl) return false;
    if (!SetGetOptions(curl.get(), url, this, false, nullptr)) return false;
    if (!Perform(curl.get())) return false;
    curl.reset();
    callback(buffer_.c_str());
    return true;
}

bool HalvexCurl::GetCookie(const char* url, std::function<void(const char*)> callback) {
    if (!url || !callback) return false;
    EasyHandle curl(curl_easy_init());
    if (!curl) return false;
    if (!SetGetOptions(curl.get(), url, this, true, nullptr)) return false;
    AskForHttp11(curl.get());
    if (!Perform(curl.get())) return false;
    curl.reset();
    const std::string cookie = CookieTextOf(buffer_);
    callback(cookie.c_str());
    return true;
}

bool HalvexCurl::GETWarranty(const char* url, const char* cookie,
                             std::function<void(const char*, const char*)> callback) {
    if (!url || !callback) return false;
    buffer_.clear();
    EasyHandle curl(curl_easy_init());
    if (!curl) return false;
    if (!SetGetOptions(curl.get(), url, this, false, cookie)) return false;
    AskForHttp11(curl.get());
    HeaderList headers = MakeHeaders({kHostHeader, kFixedReferer});
    if (!headers) return false;  // without its Host and Referer lines the site refuses the request
    curl_easy_setopt(curl.get(), CURLOPT_HTTPHEADER, headers.get());
    const bool ok = Perform(curl.get());
    curl.reset();
    headers.reset();
    if (!ok) return false;
    callback(buffer_.c_str(), cookie);
    return true;
}

bool HalvexCurl::WarrantySelectToken(const char* url, const char* cookie,
                                     std::function<void(const char*)> callback) {
    if (!url || !callback) return false;
    EasyHandle curl(curl_easy_init());
    if (!curl) return false;
    if (!SetGetOptions(curl.get(), url, this, true, cookie)) return false;
    AskForHttp11(curl.get());
    // A page address too long for the line is cut: the referrer is a courtesy, not data.
    char referer[1024] = {};
    std::snprintf(referer, sizeof referer, "Referer: %s", url);
    HeaderList headers = MakeHeaders({kHostHeader, referer});
    if (!headers) return false;  // without its Host and Referer lines the site refuses the request
    curl_easy_setopt(curl.get(), CURLOPT_HTTPHEADER, headers.get());
    const bool ok = Perform(curl.get());
    headers.reset();
    curl.reset();
    if (!ok) return false;
    const std::string token = CsrfTokenOf(buffer_);
    callback(token.c_str());
    return true;
}

bool HalvexCurl::POSTWarranty(const char* url, const char* cookie, const char* body,
                              std::function<void(const char*)> callback) {
    if (!url || !body || !callback) return false;
    buffer_.clear();
    EasyHandle curl(curl_easy_init());
    if (!curl) return false;
    curl_easy_setopt(curl.get(), CURLOPT_SSL_VERIFYPEER, 0L);
    KeepNoTlsSession(curl.get());
    curl_easy_setopt(curl.get(), CURLOPT_POST, 1L);
    if (!Copied(curl_easy_setopt(curl.get(), CURLOPT_URL, url))) return false;
    curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDS, body);
    curl_easy_setopt(curl.get(), CURLOPT_POSTFIELDSIZE, static_cast<long>(std::strlen(body)));
    curl_easy_setopt(curl.get(), CURLOPT_WRITEFUNCTION, &HalvexCurl::CallBack_HTTP);
    curl_easy_setopt(curl.get(), CURLOPT_WRITEDATA, this);
    SetPostTimeouts(curl.get());
    if (!SetCookie(curl.get(), cookie)) return false;
    AskForHttp11(curl.get());
    HeaderList headers = MakeHeaders({kHostHeader, kFixedReferer});
    if (!headers) return false;  // without its Host and Referer lines the site refuses the request
    curl_easy_setopt(curl.get(), CURLOPT_HTTPHEADER, headers.get());
    const bool ok = Perform(curl.get());
    curl.reset();
    headers.reset();
    if (!ok) return false;
    callback(buffer_.c_str());
    return true;
}

void StringSplit(std::string& text, std::string& delimiters, std::vector<std::string>* out) {
    if (!out) return;
    if (text.empty() || delimiters.empty()) {
        out->push_back(text);
        return;
    }
    size_t start = 0;
    for (size_t at = text.find_first_of(delimiters); at != std::string::npos;
         at = text.find_first_of(delimiters, start)) {
        out->push_back(text.substr(start, at - start));
        start = at + 1;
    }
    out->push_back(text.substr(start));
}

std::string CookieTextOf(const std::string& response) {
    // Only the first header block counts: headers of responses reached through redirects are ignored.
    const size_t end = response.find("\r\n\r\n");
    std::string block = end == std::string::npos ? response : response.substr(0, end);
    std::string cookie;
    if (block.empty()) return cookie;
    std::string delimiters = "\r\n";
    std::vector<std::string> lines;
    StringSplit(block, delimiters, &lines);
    for (const std::string& line : lines) {
        if (!HoldsSetCookie(line)) continue;
        std::string value = line.substr(std::strlen(kSetCookie));
        if (!cookie.empty()) cookie += ";";
        for (const char* attribute : kCookieAttributes)
            value = ADPStringRemove(value, attribute);
        cookie += value;
    }
    return cookie;
}

std::string CsrfTokenOf(const std::string& response) {
    return ADPStringMiddle(response, kTokenStart, kTokenEnd);
}

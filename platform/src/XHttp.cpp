#include "pelmor/platform/XHttp.h"

#include <curl/curl.h>

namespace {

// One easy handle per thread: libcurl keeps the connection to the service open between requests.
struct ThreadHandle {
    CURL* handle = nullptr;
    curl_slist* headers = nullptr;

    ~ThreadHandle() {
        if (handle) curl_easy_cleanup(handle);
        if (headers) curl_slist_free_all(headers);
    }
};

struct Response {
    CURL* handle = nullptr;
    QByteArray body;
    bool overflow = false;
};

// Room for the whole body at its first piece when the server announced its length, so that a large
// reply is not moved again and again as it grows.
void ReserveAnnounced(Response& response) {
    curl_off_t announced = -1;
    if (curl_easy_getinfo(response.handle, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &announced) != CURLE_OK)
        return;
    if (announced > 0 && announced <= XHttp::kMaxResponseBytes)
        response.body.reserve(static_cast<int>(announced));
}

size_t CollectBody(char* data, size_t size, size_t count, void* user) {
    auto* response = static_cast<Response*>(user);
    const size_t length = size * count;
    if (response->body.isEmpty()) {
        try {
            ReserveAnnounced(*response);
        } catch (...) {
            // Without the room the body still grows piece by piece.
        }
    }
    if (static_cast<long long>(response->body.size()) + static_cast<long long>(length) >
        XHttp::kMaxResponseBytes) {
        response->overflow = true;
        return 0;  // a short count makes libcurl abort the transfer
    }
    try {
        response->body.append(data, static_cast<int>(length));
    } catch (...) {
        return 0;
    }
    return length;
}

int Perform(ThreadHandle& slot, const XString& url, const QByteArray& body, Response& response) {
    if (!slot.handle) {
        slot.handle = curl_easy_init();
        if (!slot.handle) return 0;
    }
    if (!slot.headers) {
        // An empty "Expect:" stops libcurl from waiting for 100-continue on larger bodies.
        curl_slist* list = curl_slist_append(nullptr, "Content-Type: text/plain");
        curl_slist* withExpect = list ? curl_slist_append(list, "Expect:") : nullptr;
        if (!withExpect) {
            curl_slist_free_all(list);
            return 0;
        }
        slot.headers = withExpect;
    }
    CURL* curl = slot.handle;
    response.handle = curl;
    // No curl_easy_reset(): every option is set again below on each call, and a reset costs a few
    // microseconds per request.
    const std::string address = url.ToUtf8();
    curl_easy_setopt(curl, CURLOPT_URL, address.c_str());
    curl_easy_setopt(curl, CURLOPT_POST, 1L);
    curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body.constData());
    curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, slot.headers);
    curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, XHttp::kConnectTimeoutSeconds);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, XHttp::kRequestTimeoutSeconds);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, CollectBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &response);
    if (curl_easy_perform(curl) != CURLE_OK) return 0;
    long status = 0;
    if (curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status) != CURLE_OK) return 0;
    return static_cast<int>(status);
}

}  // namespace

namespace XHttp {

int POST(const XString& url, const QByteArray& body, std::function<void(QByteArray)> callback) {
    thread_local ThreadHandle slot;
    Response response;
    int status = 0;
    try {
        status = Perform(slot, url, body, response);
    } catch (...) {
        status = 0;
    }
    if (status == 0) response.body.clear();
    if (callback) callback(response.body);
    return status;
}

}  // namespace XHttp

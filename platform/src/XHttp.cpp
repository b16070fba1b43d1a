#include "pelmor/platform/XHttp.h"

#include <curl/curl.h>
#include <pthread.h>

#include <new>

namespace {

// One easy handle per thread: libcurl keeps the connection to the service open between requests.
struct ThreadHandle {
    CURL* handle = nullptr;
    curl_slist* headers = nullptr;
    // The address, parsed once: given as text, libcurl parses and rebuilds it at every request, which
    // was an eighth of a small request's client work.
    CURLU* address = nullptr;
    // What the handle was last set up for: the options that never change are set once, and the address
    // again only when it differs.
    bool configured = false;
    XString url;

    ThreadHandle() = default;
    ThreadHandle(const ThreadHandle&) = delete;
    ThreadHandle& operator=(const ThreadHandle&) = delete;
    ~ThreadHandle() {
        if (handle) curl_easy_cleanup(handle);
        if (address) curl_url_cleanup(address);  // after the handle that uses it
        if (headers) curl_slist_free_all(headers);
    }
};

void DeleteThreadHandle(void* slot) {
    delete static_cast<ThreadHandle*>(slot);
}

// The handles hang on a thread key rather than a thread_local object: registering a thread_local's
// destructor allocates, and glibc ends the process when that fails. A key reports failure instead.
class ThreadHandles {
  public:
    ThreadHandles() noexcept : made_(pthread_key_create(&key_, DeleteThreadHandle) == 0) {}
    ThreadHandles(const ThreadHandles&) = delete;
    ThreadHandles& operator=(const ThreadHandles&) = delete;
    ~ThreadHandles() {
        if (!made_) return;
        // Other threads' handles stay (their threads may still run); this thread's goes with the key.
        DeleteThreadHandle(pthread_getspecific(key_));
        pthread_key_delete(key_);
    }

    // This thread's handle, made on first use; null when it cannot be kept.
    ThreadHandle* ThisThread() noexcept {
        if (!made_) return nullptr;
        if (auto* slot = static_cast<ThreadHandle*>(pthread_getspecific(key_))) return slot;
        auto* slot = new (std::nothrow) ThreadHandle();
        if (slot && pthread_setspecific(key_, slot) != 0) {
            delete slot;
            slot = nullptr;
        }
        return slot;
    }

  private:
    pthread_key_t key_{};
    bool made_;
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
    // No curl_easy_reset(): what differs between calls is set again below, and a reset costs a few
    // microseconds per request.
    if (!slot.configured) {
        curl_easy_setopt(curl, CURLOPT_POST, 1L);
        curl_easy_setopt(curl, CURLOPT_HTTPHEADER, slot.headers);
        curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 0L);
        curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, XHttp::kConnectTimeoutSeconds);
        curl_easy_setopt(curl, CURLOPT_TIMEOUT, XHttp::kRequestTimeoutSeconds);
        curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, CollectBody);
        slot.configured = true;
    }
    if (slot.url != url) {
        slot.url.clear();
        if (!slot.address) slot.address = curl_url();
        // The flags libcurl itself parses a CURLOPT_URL text with, so that any address reads the same.
        if (!slot.address ||
            curl_url_set(slot.address, CURLUPART_URL, url.ToUtf8().c_str(),
                         CURLU_GUESS_SCHEME | CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK ||
            curl_easy_setopt(curl, CURLOPT_CURLU, slot.address) != CURLE_OK)
            return 0;
        slot.url = url;
    }
    curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body.constData());
    curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &response);
    if (curl_easy_perform(curl) != CURLE_OK) return 0;
    long status = 0;
    if (curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status) != CURLE_OK) return 0;
    return static_cast<int>(status);
}

}  // namespace

namespace XHttp {

int POST(const XString& url, const QByteArray& body, std::function<void(QByteArray)> callback) {
    static ThreadHandles handles;
    Response response;
    int status = 0;
    try {
        // Without a kept handle the request still goes, on one that lives for this call only.
        ThreadHandle* kept = handles.ThisThread();
        ThreadHandle once;
        status = Perform(kept ? *kept : once, url, body, response);
    } catch (...) {
        status = 0;
    }
    if (status == 0) response.body.clear();
    if (callback) callback(response.body);
    return status;
}

}  // namespace XHttp

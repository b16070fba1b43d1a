#include "HttpRequest.h"

#include <curl/curl.h>

namespace {

size_t Collect(char* data, size_t size, size_t count, void* user) {
    static_cast<std::string*>(user)->append(data, size * count);
    return size * count;
}

}  // namespace

HttpAnswer HttpRequest(const std::string& url, const std::vector<std::string>& headers,
                       const std::string* body, const std::string& method) {
    HttpAnswer answer;
    CURL* curl = curl_easy_init();
    if (!curl) return answer;
    curl_slist* list = nullptr;
    for (const std::string& header : headers)
        list = curl_slist_append(list, header.c_str());
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, list);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 0L);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 0L);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, 20L);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, Collect);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &answer.body);
    if (body) {
        curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE, static_cast<long>(body->size()));
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body->c_str());
    }
    if (!method.empty()) curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, method.c_str());
    if (curl_easy_perform(curl) == CURLE_OK) curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &answer.status);
    curl_slist_free_all(list);
    curl_easy_cleanup(curl);
    return answer;
}

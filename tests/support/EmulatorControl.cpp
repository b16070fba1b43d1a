#include "EmulatorControl.h"

#include <curl/curl.h>
#include <gtest/gtest.h>

namespace EmulatorControl {

namespace {

size_t Collect(char* data, size_t size, size_t count, void* user) {
    static_cast<std::string*>(user)->append(data, size * count);
    return size * count;
}

int Request(const std::string& path, const std::string* payload, std::string* body) {
    CURL* curl = curl_easy_init();
    if (!curl) return 0;
    std::string received;
    const std::string url = BaseUrl() + path;
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, 20L);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, Collect);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &received);
    curl_slist* headers = nullptr;
    if (payload) {
        headers = curl_slist_append(headers, "Content-Type: application/json");
        curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, payload->c_str());
        curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE, static_cast<long>(payload->size()));
    }
    long status = 0;
    if (curl_easy_perform(curl) == CURLE_OK) curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
    curl_slist_free_all(headers);
    curl_easy_cleanup(curl);
    if (body) *body = received;
    return static_cast<int>(status);
}

}  // namespace

std::string BaseUrl() {
    return "http://127.0.0.1:" + std::to_string(PELMOR_EMULATOR_PORT);
}

int Get(const std::string& path, std::string* body) {
    return Request(path, nullptr, body);
}

int Post(const std::string& path, const std::string& payload, std::string* body) {
    return Request(path, &payload, body);
}

void Reset() {
    EXPECT_EQ(Post("/_emulator/reset", "{}"), 200) << "is pelmor-emulator running?";
}

XJson GetJson(const std::string& path) {
    std::string body;
    EXPECT_EQ(Get(path, &body), 200) << path << " -> " << body;
    return XJson(body);
}

XJson Log() {
    return GetJson("/_emulator/log");
}

XJson LastRequest() {
    const XJson log = Log();
    const unsigned size = log.GetArraySize();
    return size ? log[size - 1] : XJson();
}

void Script(const std::string& script) {
    std::string body;
    EXPECT_EQ(Post("/_emulator/script", script, &body), 200) << script << " -> " << body;
}

}  // namespace EmulatorControl

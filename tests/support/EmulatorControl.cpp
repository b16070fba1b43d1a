#include "EmulatorControl.h"

#include <gtest/gtest.h>

#include "HttpRequest.h"

namespace EmulatorControl {

namespace {

int Request(const std::string& path, const std::string* payload, std::string* body) {
    std::vector<std::string> headers;
    if (payload) headers.push_back("Content-Type: application/json");
    const HttpAnswer answer = HttpRequest(BaseUrl() + path, headers, payload);
    if (body) *body = answer.body;
    return static_cast<int>(answer.status);
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

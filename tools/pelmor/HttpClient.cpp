#include "HttpClient.h"

#include <httplib.h>

#include <cstdlib>

namespace pelmor {

namespace {

httplib::Client Client(const std::string& hostPort, int timeoutMs) {
    httplib::Client client("http://" + hostPort);
    const time_t seconds = timeoutMs / 1000;
    const time_t micros = (timeoutMs % 1000) * 1000;
    client.set_connection_timeout(seconds, micros);
    client.set_read_timeout(seconds, micros);
    client.set_write_timeout(seconds, micros);
    return client;
}

}  // namespace

HttpAnswer HttpRequest(const std::string& hostPort, const std::string& method, const std::string& target,
                       const std::string& body, int timeoutMs) {
    httplib::Client client = Client(hostPort, timeoutMs);
    httplib::Result result =
        method == "POST" ? client.Post(target, body, "application/json") : client.Get(target);
    HttpAnswer answer;
    if (result) {
        answer.status = result->status;
        answer.body = result->body;
    }
    return answer;
}

std::string ServiceHost() {
    const char* host = std::getenv("PELMOR_SERVICE_HOST");
    return host && *host ? host : PELMOR_SERVICE_HOST;
}

std::string CoverageHost() {
    const char* host = std::getenv("PELMOR_COVERAGE_HOST");
    return host && *host ? host : PELMOR_COVERAGE_HOST;
}

bool ConnectionRefused(const std::string& hostPort) {
    // The health probe's answer does not matter: any answer, even a refusal, proves a listener.
    httplib::Client client = Client(hostPort, 2000);
    const httplib::Result result = client.Get("/_emulator/health");
    return !result && result.error() == httplib::Error::Connection;
}

bool EmulatorAnswers(const std::string& hostPort, int timeoutMs) {
    const HttpAnswer answer = HttpRequest(hostPort, "GET", "/_emulator/health", "", timeoutMs);
    return answer.status == 200 && answer.body.rfind("ok", 0) == 0;
}

}  // namespace pelmor

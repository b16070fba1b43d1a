#include "BenchSupport.h"

#include <curl/curl.h>
#include <pelmor/HalvexHTTP.h>
#include <pelmor/PelmorSocket.h>
#include <pelmor/platform/XJson.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

#include "frame/PelmorSocketHelper.h"

namespace Bench {

namespace {

std::size_t Collect(char* data, std::size_t size, std::size_t count, void* out) {
    static_cast<std::string*>(out)->append(data, size * count);
    return size * count;
}

int Request(const std::string& url, const std::string* json, std::string* answer) {
    CURL* curl = curl_easy_init();
    if (!curl) return 0;
    std::string sink;
    curl_slist* headers = curl_slist_append(nullptr, "Content-Type: application/json");
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, Collect);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, answer ? answer : &sink);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, 60L);
    if (json) {
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, json->data());
        curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(json->size()));
    }
    long status = 0;
    if (curl_easy_perform(curl) == CURLE_OK) curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
    curl_slist_free_all(headers);
    curl_easy_cleanup(curl);
    return static_cast<int>(status);
}

long long StatusField(const char* name) {
    std::ifstream status("/proc/self/status");
    std::string line;
    const std::string prefix = std::string(name) + ":";
    while (std::getline(status, line)) {
        if (line.compare(0, prefix.size(), prefix) == 0) return std::stoll(line.substr(prefix.size())) * 1024;
    }
    return 0;
}

}  // namespace

std::string EmulatorBase() {
    return "http://" PELMOR_SERVICE_HOST;
}

int EmulatorPost(const std::string& path, const std::string& json, std::string* answer) {
    return Request(EmulatorBase() + path, &json, answer);
}

int EmulatorGet(const std::string& path, std::string* answer) {
    return Request(EmulatorBase() + path, nullptr, answer);
}

int ServicePost(const std::string& body, std::string* answer) {
    return Request(PelmorSocketHelper::RequestAddress().ToUtf8(), &body, answer);
}

RawPost::RawPost(std::string body)
    : body_(std::move(body)), url_(PelmorSocketHelper::RequestAddress().ToUtf8()), curl_(curl_easy_init()) {
    headers_ = curl_slist_append(headers_, "Content-Type: text/plain");
    headers_ = curl_slist_append(headers_, "Expect:");
    curl_easy_setopt(curl_, CURLOPT_URL, url_.c_str());
    curl_easy_setopt(curl_, CURLOPT_HTTPHEADER, headers_);
    curl_easy_setopt(curl_, CURLOPT_POSTFIELDS, body_.data());
    curl_easy_setopt(curl_, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body_.size()));
    curl_easy_setopt(curl_, CURLOPT_WRITEFUNCTION, Collect);
    curl_easy_setopt(curl_, CURLOPT_WRITEDATA, &response_);
    curl_easy_setopt(curl_, CURLOPT_TIMEOUT, 30L);
}

RawPost::~RawPost() {
    curl_slist_free_all(headers_);
    curl_easy_cleanup(curl_);
}

bool RawPost::operator()() {
    response_.clear();
    long status = 0;
    return curl_ && !body_.empty() && curl_easy_perform(curl_) == CURLE_OK &&
           curl_easy_getinfo(curl_, CURLINFO_RESPONSE_CODE, &status) == CURLE_OK && status == 200;
}

std::string ConfigurationRequestBody() {
    XJson document = PelmorSocketHelper::BuildJson("client.config", XJson());
    const QByteArray body = HalvexHTTP::Encrypt_BASE64_AES(document);
    return std::string(body.constData(), static_cast<std::size_t>(body.size()));
}

std::string LastRequestBody() {
    std::string log;
    if (EmulatorGet("/_emulator/log", &log) != 200) return std::string();
    XJson entries(log);
    const unsigned count = entries.GetArraySize();
    return count ? entries[count - 1].ToString("body") : std::string();
}

PelmorSocketInterface& Service() {
    static PelmorSocketInterface* service = [] {
        _07E1B4A0_9C19_4E0D_9C9E_DB8DE5EA4D5F(PELMOR_SOCKET_EDITION_STANDARD, XString(L"Brisel"),
                                              XString(L"4.0.0"));
        PelmorSocketInterface* created = _402FB360_0FB0_4ECD_B608_D2D254A998B7();
        if (!created) throw std::runtime_error("the library made no service object");
        return created;
    }();
    return *service;
}

CDeviceFile& CompleteDevice() {
    static std::unique_ptr<CDeviceFile> device = [] {
        std::string error;
        auto loaded = CDeviceFile::Load(PELMOR_BENCH_DATA_DIR "/devices/normal-complete.json", error);
        if (!loaded) throw std::runtime_error(error);
        return loaded;
    }();
    return *device;
}

QByteArray FileOfSize(std::size_t bytes) {
    static const char kLine[] = "MIIBIjANBgkqhkiG9w0BAQEFAAOCAQ8AMIIBCgKCAQEAu1SU1LfVLPHCozMxH2Mo4\n";
    QByteArray file(static_cast<int>(bytes), '\0');
    for (std::size_t i = 0; i < bytes; ++i)
        file[static_cast<int>(i)] = kLine[i % (sizeof kLine - 1)];
    return file;
}

long long ResidentBytes() {
    return StatusField("VmRSS");
}

long long PeakResidentBytes() {
    return StatusField("VmHWM");
}

bool ResetPeakResident() {
    // Writing 5 resets the peak to the current resident size (Linux 4.0 and later).
    std::ofstream clear("/proc/self/clear_refs");
    clear << "5";
    clear.flush();
    return static_cast<bool>(clear);
}

}  // namespace Bench

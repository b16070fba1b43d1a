#pragma once

// What the loopback benchmarks share: the emulator's control surface, the sample handset, the service
// object, and the process's memory and CPU figures.

#include <pelmor/ISocketReply.h>
#include <pelmor/PelmorSocket.h>
#include <pelmor/PelmorSocketInterface.h>

#include <curl/curl.h>
#include <QByteArray>
#include <memory>
#include <string>

#include "DeviceFile.h"

namespace Bench {

// The service address the library was built for, e.g. "http://127.0.0.1:18090".
std::string EmulatorBase();

// Control requests; the HTTP status, 0 when nothing answered.
int EmulatorPost(const std::string& path, const std::string& json, std::string* answer = nullptr);
int EmulatorGet(const std::string& path, std::string* answer);

// A bare POST of body to the service address the library uses; the HTTP status.
int ServicePost(const std::string& body, std::string* answer);

// A bare keep-alive POST of one body to the service address, with the headers the library sends: the floor
// the library is measured against. One handle, kept for every call.
class RawPost {
  public:
    explicit RawPost(std::string body);
    ~RawPost();
    RawPost(const RawPost&) = delete;
    RawPost& operator=(const RawPost&) = delete;

    // Sends the body once; true when the service answered 200.
    bool operator()();
    const std::string& Response() const { return response_; }

  private:
    std::string body_;
    std::string url_;
    std::string response_;
    CURL* curl_;
    curl_slist* headers_ = nullptr;
};

// The body the library sends for the configuration fetch.
std::string ConfigurationRequestBody();

// The raw body of the newest request the emulator logged, empty when there is none.
std::string LastRequestBody();

// The standard-edition service object (created once).
PelmorSocketInterface& Service();

// The complete sample handset of the test data, loaded once.
CDeviceFile& CompleteDevice();

// Text bytes of the given size in 64-character lines, like a dumped device file.
QByteArray FileOfSize(std::size_t bytes);

// Resident memory: now, and the peak since the last ResetPeakResident(); in bytes, 0 when unknown.
long long ResidentBytes();
long long PeakResidentBytes();
bool ResetPeakResident();

}  // namespace Bench

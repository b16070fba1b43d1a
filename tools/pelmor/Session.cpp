#include "Session.h"

#include <unistd.h>

#include <pelmor/HalvexReply.h>

#include <boost/json/parse.hpp>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <thread>

#include "DeviceFile.h"
#include "Devices.h"
#include "HttpClient.h"

namespace pelmor {

namespace {

// "pelmor: <what>: <text>", one line.
void TellStderr(const std::string& what, const std::string& text) {
    std::cerr << "pelmor: " << (what.empty() ? "" : what + ": ") << OneLine(text) << std::endl;
}

const char* EditionName(ENUM_PELMOR_SOCKET_EDITION edition) {
    return edition == PELMOR_SOCKET_EDITION_ENTERPRISE ? "enterprise" : "standard";
}

}  // namespace

Session::Session(Options options) : options_(std::move(options)) {}

Session::~Session() {
    EndProgress();
}

void Session::Open() {
    std::string warning;
    if (!state_.Load(options_.statePath, warning) && !options_.statePath.empty())
        std::cerr << "pelmor: " << warning << '\n';
}

bool Session::Ready(std::string& error) {
    if (library_.create) return true;
    return library_.Load(options_.library, error);
}

PelmorSocketInterface* Session::Service(ENUM_PELMOR_SOCKET_EDITION edition) {
    if (service_ && serviceEdition_ == edition) return service_;
    if (service_) library_.destroy();
    service_ = nullptr;
    // pelmor presents itself with the library's own default source and version.
    if (!library_.create(edition, XString(L"Brisel"), XString(L"4.0.0"))) return nullptr;
    service_ = library_.instance();
    serviceEdition_ = edition;
    if (service_)
        service_->SetToken(
            Wide(edition == PELMOR_SOCKET_EDITION_ENTERPRISE ? state_.enterpriseToken : state_.token));
    return service_;
}

PelmorSocketInterface& Session::S() {
    // Dispatch has bound the library (Ready), and create only fails when memory runs out.
    PelmorSocketInterface* service = Service(edition_);
    if (!service) {
        std::cerr << "pelmor: the library could not create its service object\n";
        std::exit(kFailed);
    }
    return *service;
}

void Session::KeepToken(const std::string& token) {
    (edition_ == PELMOR_SOCKET_EDITION_ENTERPRISE ? state_.enterpriseToken : state_.token) = token;
    S().SetToken(Wide(token));
    SaveState();
}

void Session::ForgetStateFile() {
    options_.statePath.clear();
    const std::string key = state_.key;
    state_ = State();
    state_.key = key;
    if (service_) service_->SetToken(XString());
}

bool Session::SaveState() {
    std::string error;
    if (state_.Save(options_.statePath, error)) return true;
    std::cerr << "pelmor: " << error << '\n';
    return false;
}

Session::Answer Session::Ask(const std::function<ISocketReply*()>& call) {
    Answer answer;
    ISocketReply* reply = call();
    if (!reply) return answer;
    answer.offered = true;
    answer.success = reply->IsSuccess();
    answer.code = reply->Code();
    answer.error = Utf8(reply->Error());
    answer.message = OneLine(Utf8(reply->Message()));
    // Every reply the library hands out is its reply envelope, whose members are all virtual.
    boost::system::error_code ec;
    answer.data = boost::json::parse(static_cast<HalvexReply*>(reply)->Data().ToJson(), ec);
    if (ec) answer.data = nullptr;
    reply->Release();
    return answer;
}

int Session::Report(const std::string& what, const Answer& answer) {
    EndProgress();
    if (!answer.offered) {
        return Fail(what,
                    std::string("not offered by the ") + EditionName(edition_) +
                        " edition of this library (it answered with no reply)",
                    kNotOffered);
    }
    if (answer.success) return kOk;
    JsonObject error{
        {"kind", answer.code >= HALVEX_REPLY_INVALID_ARG && answer.code <= HALVEX_REPLY_HTTP_ERROR
                     ? "library"
                     : "service"},
        {"code", answer.code},
        {"name", answer.error},
        {"message", answer.message}};
    // Only a refused connection means nothing serves there; a server that answered badly is running.
    const bool unanswered =
        answer.code == HALVEX_REPLY_CONNECT_ERROR || answer.code == HALVEX_REPLY_HTTP_ERROR;
    if (unanswered && ConnectionRefused(ServiceHost()))
        error["hint"] =
            "nothing answers on " + ServiceHost() + ": is the service or pelmor-emulator running?";
    return Failure(what, kFailed, std::move(error));
}

int Session::Call(const std::string& what, const std::function<ISocketReply*()>& call, Answer* answer) {
    Answer asked = Ask(call);
    const int status = Report(what, asked);
    if (answer) *answer = std::move(asked);
    return status;
}

int Session::Exchange(const std::string& what, const std::function<ISocketReply*(JsonObject& result)>& call) {
    JsonObject result;
    const int status = Call(what, [&] { return call(result); });
    if (status != kOk) return status;
    // Message() of a successful reply is a fixed fallback text, not the service's word: show no text.
    Show(result);
    return kOk;
}

void Session::Emit(Json document) {
    if (capture_) {
        capture_(std::move(document));
    } else {
        PrintResult(document, true);
    }
}

void Session::Show(const Json& result) {
    EndProgress();
    if (!options_.json) {
        if (result.is_object() && result.get_object().empty())
            std::cout << "ok" << std::endl;
        else
            PrintResult(result, false);
        return;
    }
    Emit(JsonObject{{"ok", true}, {"command", command_}, {"result", result}});
}

void Session::Warn(const std::string& what, const std::string& message) {
    EndProgress();
    TellStderr(what, message);
}

int Session::Fail(const std::string& what, const std::string& message, int status) {
    const char* kind = status == kBadInput ? "usage" : status == kNotOffered ? "notOffered" : "failed";
    return Failure(
        what, status,
        JsonObject{{"kind", kind}, {"code", nullptr}, {"name", ""}, {"message", OneLine(message)}});
}

int Session::Failure(const std::string& what, int status, JsonObject error, Json result) {
    EndProgress();
    if (options_.json) {
        JsonObject document{
            {"ok", false}, {"command", command_}, {"exitStatus", status}, {"error", std::move(error)}};
        if (!result.is_null()) document["result"] = std::move(result);
        Emit(std::move(document));
        return status;
    }
    // One line: "<code> <NAME> <message>" for a reply, the message alone otherwise.
    std::string line;
    if (!error.at("code").is_null())
        line = std::to_string(error.at("code").to_number<int>()) + " " +
               (error.at("name").get_string().empty() ? std::string("-")
                                                      : std::string(error.at("name").get_string())) +
               " ";
    line += std::string(error.at("message").get_string());
    if (const Json* hint = error.if_contains("hint")) line += " (" + std::string(hint->get_string()) + ")";
    TellStderr(what, line);
    return status;
}

void Session::Progress(const std::string& text) {
    if (isatty(STDERR_FILENO)) {
        std::cerr << "\r\033[K" << text << std::flush;
        progressShown_ = true;
    } else {
        std::cerr << text << '\n';
    }
}

void Session::EndProgress() {
    if (progressShown_) std::cerr << '\n';
    progressShown_ = false;
}

int Session::Wait(const std::string& what, const std::string& waiting, int timeoutSeconds,
                  int intervalSeconds, const std::string& timedOut,
                  const std::function<std::optional<int>(std::string& note)>& attempt) {
    using namespace std::chrono;
    const auto start = steady_clock::now();
    std::string note;
    for (;;) {
        const int waited = static_cast<int>(duration_cast<seconds>(steady_clock::now() - start).count());
        Progress(waiting + "... " + std::to_string(waited) + " s" + (note.empty() ? "" : " (" + note + ")"));
        if (const std::optional<int> done = attempt(note)) {
            EndProgress();
            return *done;
        }
        if (waited >= timeoutSeconds) {
            EndProgress();
            return Fail(what, timedOut, kFailed);
        }
        std::this_thread::sleep_for(seconds(intervalSeconds));
    }
}

std::unique_ptr<CDeviceFile> Session::Device(const std::string& what, const std::string& nameOrPath) {
    std::string error;
    std::unique_ptr<CDeviceFile> device = LoadDevice(nameOrPath, error);
    if (!device) Fail(what, error);
    return device;
}

}  // namespace pelmor

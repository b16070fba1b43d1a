// An emulator served in this process on free ports, with small clients for its three faces: the control
// surface, the encrypted service and the HTTPS coverage site.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "HttpRequest.h"
#include "emulator/core/codec.h"
#include "emulator/core/emulator.h"

namespace emulator_test {

using json = nlohmann::ordered_json;
using namespace pelmor::emulator;

struct Answer : HttpAnswer {
    json Json() const { return json::parse(body, nullptr, false); }
};

inline Answer Request(const std::string& url, const std::vector<std::string>& headers,
                      const std::string* body, const std::string& method = "") {
    return {HttpRequest(url, headers, body, method)};
}

class InProcessEmulator : public ::testing::Test {
  protected:
    void SetUp() override {
        Options options = default_options();
        options.port = 0;
        options.coverage_port = 0;
        options.quiet = true;
        emulator = std::make_unique<Emulator>(options);
        std::string error;
        ASSERT_TRUE(emulator->bind(error)) << error;
        server = std::thread([this] { emulator->run(); });
        while (!emulator->is_running())
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    void TearDown() override {
        emulator->stop();
        if (server.joinable()) server.join();
    }

    std::string Url(const std::string& path) const {
        return "http://127.0.0.1:" + std::to_string(emulator->port()) + path;
    }
    std::string Site(const std::string& path) const {
        return "https://127.0.0.1:" + std::to_string(emulator->coverage_port()) + path;
    }

    // GET, or POST of a JSON body, under /_emulator/.
    Answer Get(const std::string& name) const { return Request(Url("/_emulator/" + name), {}, nullptr); }
    Answer Post(const std::string& name, const json& body = json::object()) const {
        const std::string text = body.dump();
        return Request(Url("/_emulator/" + name), {}, &text);
    }

    // The reply envelope to a request document; null when the answer was not an encrypted envelope.
    json Send(const std::string& path, json document) const {
        const std::string body = codec::encode_document(document);
        const Answer answer = Request(Url(path), {"Content-Type: text/plain"}, &body);
        const codec::Decoded reply = codec::decode_document(answer.body);
        return reply.ok() ? reply.document : json();
    }
    json Standard(const std::string& method, json params = json::object(),
                  const std::string& token = "") const {
        return Send("/modules/app/api.do?", json{{"method", method},
                                                 {"params", std::move(params)},
                                                 {"source", "test"},
                                                 {"token", token},
                                                 {"version", "1.0.0"}});
    }
    json Enterprise(const std::string& suffix, json params = json::object(),
                    const std::string& token = "") const {
        return Send(
            "/brisel-ent/api" + suffix,
            json{{"params", std::move(params)}, {"source", "test"}, {"token", token}, {"version", "1.0.0"}});
    }
    // Logs in as the seeded demo account; "" when that failed.
    std::string EnterpriseLogin() const {
        const json reply = Enterprise("/login", json{{"account", "demo"}, {"password", "demo1234"}});
        return reply.value("token", "");
    }

    // Walks the coverage site as a browser would (captcha, form, answer) and returns the answer page.
    Answer Coverage(const std::string& serial) const {
        if (Request(Site("/gc?t=image&timestamp=1"), {}, nullptr).status != 200) return {};
        const json captcha = Get("coverage/captcha").Json();
        const std::string host = compiled_coverage_host();
        const std::string form = "sno=" + serial + "&ans=" + captcha.value("answer", "") +
                                 "&captchaMode=image&CSRFToken=" + captcha.value("token", "");
        return Request(Site("/cn/zh/?sn=" + serial),
                       {"Host: " + host, "Referer: https://" + host + "/cn/zh/",
                        "Cookie: " + captcha.value("cookie", "")},
                       &form);
    }

    std::unique_ptr<Emulator> emulator;
    std::thread server;
};

}  // namespace emulator_test

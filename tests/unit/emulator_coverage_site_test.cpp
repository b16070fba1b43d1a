// The emulator's coverage site refuses what a real site would: the library's tests lean on these checks.
#include <curl/curl.h>
#include <gtest/gtest.h>

#include <thread>

#include "emulator/core/emulator.h"

namespace {

using namespace pelmor::emulator;

size_t Collect(char* data, size_t size, size_t count, void* user) {
    static_cast<std::string*>(user)->append(data, size * count);
    return size * count;
}

struct Answer {
    long status = 0;
    std::string body;
};

Answer Request(const std::string& url, const std::vector<std::string>& headers, const std::string* body) {
    Answer answer;
    CURL* curl = curl_easy_init();
    curl_slist* list = nullptr;
    for (const std::string& header : headers)
        list = curl_slist_append(list, header.c_str());
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, list);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 0L);
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 0L);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, 20L);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, Collect);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &answer.body);
    if (body) curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body->c_str());
    if (curl_easy_perform(curl) == CURLE_OK) curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &answer.status);
    curl_slist_free_all(list);
    curl_easy_cleanup(curl);
    return answer;
}

class CoverageSiteChecks : public ::testing::Test {
  protected:
    void SetUp() override {
        Options options = default_options();
        options.port = 0;
        options.coverage_port = 0;
        options.quiet = true;
        emulator = std::make_unique<Emulator>(options);
        std::string error;
        ASSERT_TRUE(emulator->bind(error)) << error;
        ASSERT_GT(emulator->coverage_port(), 0);
        server = std::thread([this] { emulator->run(); });
        while (!emulator->is_running())
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    void TearDown() override {
        emulator->stop();
        server.join();
    }

    std::string Site(const std::string& path) const {
        return "https://127.0.0.1:" + std::to_string(emulator->coverage_port()) + path;
    }
    // Session, answer and token of the newest captcha, as the control endpoint tells them.
    nlohmann::json Captcha() const {
        const Answer answer =
            Request("http://127.0.0.1:" + std::to_string(emulator->port()) + "/_emulator/coverage/captcha",
                    {}, nullptr);
        return nlohmann::json::parse(answer.body);
    }

    std::unique_ptr<Emulator> emulator;
    std::thread server;
};

TEST_F(CoverageSiteChecks, AnAnswerIsTakenOnlyWithEverythingRight) {
    ASSERT_EQ(Request(Site("/gc?t=image&timestamp=1"), {}, nullptr).status, 200);
    const nlohmann::json captcha = Captcha();
    const std::string host = compiled_coverage_host();
    const std::string cookie =
        "Cookie: cv_sid=" + captcha["session"].get<std::string>() + ";cv_geo=CN; path=/";
    const std::string answer = captcha["answer"], token = captcha["token"];
    const std::string page = "/cn/zh/?sn=F2LZK3XYN72J";
    const std::string form = "sno=F2LZK3XYN72J&ans=" + answer + "&captchaMode=image&CSRFToken=" + token;
    const std::vector<std::string> good = {"Host: " + host, "Referer: https://" + host + "/cn/zh/", cookie};

    struct Case {
        const char* what;
        std::vector<std::string> headers;
        std::string path, body;
        long status;
        const char* result;
    } cases[] = {
        {"wrong host", {"Host: elsewhere.example", good[1], cookie}, page, form, 421, "host"},
        {"foreign referrer",
         {good[0], "Referer: https://elsewhere.example/cn/zh/", cookie},
         page,
         form,
         403,
         "referer"},
        {"no referrer", {good[0], cookie}, page, form, 403, "referer"},
        {"unknown session", {good[0], good[1], "Cookie: cv_sid=forged"}, page, form, 403, "session"},
        {"no captcha mode", good, page, "sno=F2LZK3XYN72J&ans=" + answer + "&CSRFToken=" + token, 400,
         "form"},
        {"foreign token", good, page, "sno=F2LZK3XYN72J&ans=" + answer + "&captchaMode=image&CSRFToken=x",
         403, "token"},
        {"serial not the page's", good, "/cn/zh/?sn=C02XK1Q4JG5H", form, 200, "serial"},
        {"serial not plausible", good, "/us/eh/?sn=f2lz",
         "sno=f2lz&ans=" + answer + "&captchaMode=image&CSRFToken=" + token, 200, "serial"},
        // None of the above used the captcha up; a wrong answer does.
        {"wrong answer", good, page, "sno=F2LZK3XYN72J&ans=XXXX&captchaMode=image&CSRFToken=" + token, 200,
         "captcha"},
        {"right answer, used captcha", good, page, form, 200, "captcha"},
    };
    for (const Case& c : cases) {
        const Answer answered = Request(Site(c.path), c.headers, &c.body);
        EXPECT_EQ(answered.status, c.status) << c.what;
        EXPECT_NE(answered.body.find(std::string("data-result=\"") + c.result + "\""), std::string::npos)
            << c.what << ": " << answered.body;
    }

    // A new captcha for the same session; the answer is taken in any letter case.
    ASSERT_EQ(Request(Site("/gc?t=image&timestamp=2"), {cookie}, nullptr).status, 200);
    std::string lower = Captcha()["answer"];
    for (char& c : lower)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    const std::string body = "sno=F2LZK3XYN72J&ans=" + lower + "&captchaMode=image&CSRFToken=" + token;
    const Answer accepted = Request(Site(page), good, &body);
    EXPECT_EQ(accepted.status, 200);
    EXPECT_NE(accepted.body.find("data-result=\"ok\" data-serial=\"F2LZK3XYN72J\""), std::string::npos);
}

}  // namespace

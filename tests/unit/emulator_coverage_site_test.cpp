// The emulator's coverage site refuses what a real site would: the library's tests lean on these checks.
#include "emulator_in_process.h"

namespace {

using namespace emulator_test;

class CoverageSiteChecks : public InProcessEmulator {
  protected:
    // Session, answer and token of the newest captcha, as the control endpoint tells them.
    json Captcha() const { return Get("coverage/captcha").Json(); }
};

TEST_F(CoverageSiteChecks, AnAnswerIsTakenOnlyWithEverythingRight) {
    ASSERT_EQ(Request(Site("/gc?t=image&timestamp=1"), {}, nullptr).status, 200);
    const json captcha = Captcha();
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

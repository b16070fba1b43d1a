// The warranty look-up on the emulator's HTTPS coverage site: the captcha step and the answer step, as
// the standard edition drives them and as hosts call them directly.
#include <gtest/gtest.h>
#include <pelmor/HalvexHTTP.h>

#include <chrono>

#include "DeviceFile.h"
#include "EmulatorControl.h"
#include "SampleDevices.h"
#include "TestData.h"
#include "standard/PelmorSocketStandard.h"
#include "transport/HalvexCurl.h"

namespace {

const std::string kSite = "https://" PELMOR_COVERAGE_HOST;
const std::string kFixedReferer = kSite + "/cn/zh/";
const char kBrowser[] =
    "Mozilla/5.0 (Windows NT 5.1) AppleWebKit/537.36 (KHTML, like Gecko) Chrome/30.0.1599.69 Safari/537.36";

// A device file's text with one member of the normal-mode record replaced.
std::unique_ptr<CDeviceFile> DeviceWith(const std::string& member, const std::string& value) {
    std::string error, text = ReadTestData("devices/normal-complete.json");
    const auto at = text.find("\"" + member + "\": \"");
    EXPECT_NE(at, std::string::npos);
    const auto start = at + member.size() + 5;
    text.replace(start, text.find('"', start) - start, value);
    auto device = CDeviceFile::FromText(text, member + " replaced", error);
    EXPECT_TRUE(device) << error;
    return device;
}

// What the emulator tells tests about the newest captcha: session, cookie, answer, token.
XJson Captcha() {
    return EmulatorControl::GetJson("/_emulator/coverage/captcha");
}

// The coverage-site requests since the last reset, oldest first.
std::vector<XJson> SiteRequests() {
    const XJson log = EmulatorControl::Log();
    std::vector<XJson> requests;
    for (unsigned i = 0; i < log.GetArraySize(); ++i)
        if (log[i].ToString("address") == "coverage") requests.push_back(log[i]);
    return requests;
}

std::string Header(const XJson& request, const char* name) {
    return request["headers"].ToString(name);
}

// The cookie text a client makes of the site's Set-Cookie lines: some attributes cut, some kept.
std::string ExpectedCookie(const std::string& session) {
    return "cv_sid=" + session + ";cv_lb=node2;cv_geo=CN; path=/; Max-Age=1800;cv_ab=b; SameSite=None";
}

class WarrantySite : public ::testing::Test {
  protected:
    void SetUp() override { EmulatorControl::Reset(); }

    PelmorSocketStandard service{PELMOR_SOCKET_EDITION_STANDARD, XString(L"WarrantyTest"), XString(L"4.0.0")};

    // Step 1 through the standard edition; returns the cookie text handed to the callback.
    std::string FetchCaptcha(ISocketDevice* device, std::string* captcha = nullptr) {
        int calls = 0;
        std::string cookie;
        EXPECT_TRUE(service.WarrantyVerify(device, [&](const char* response, const char* text) {
            ++calls;
            if (captcha) *captcha = response;
            cookie = text;
        }));
        EXPECT_EQ(calls, 1);
        return cookie;
    }
};

TEST_F(WarrantySite, CaptchaStepHandsOverTheCaptchaAndTheCookies) {
    auto device = LoadDevice("normal-complete");
    const auto before = std::chrono::duration_cast<std::chrono::milliseconds>(
                            std::chrono::system_clock::now().time_since_epoch())
                            .count();
    std::string captcha;
    const std::string cookie = FetchCaptcha(device.get(), &captcha);
    const auto after = std::chrono::duration_cast<std::chrono::milliseconds>(
                           std::chrono::system_clock::now().time_since_epoch())
                           .count();

    const XJson issued = Captcha();
    EXPECT_EQ(cookie, ExpectedCookie(issued.ToString("session")));
    EXPECT_EQ(issued.ToInt("captchas"), 2) << "the second fetch renews the captcha of the same session";
    EXPECT_NE(captcha.find("<svg"), std::string::npos);
    EXPECT_EQ(captcha.find("HTTP/1.1"), std::string::npos) << "no headers in the response handed over";

    const auto requests = SiteRequests();
    ASSERT_EQ(requests.size(), 2u);
    // The same captcha address twice: first bare, then with the cookies and the site's own headers.
    const std::string target = requests[0].ToString("target");
    EXPECT_EQ(requests[1].ToString("target"), target);
    ASSERT_EQ(target.rfind("/gc?t=image&timestamp=", 0), 0u) << target;
    const long long stamp = std::stoll(target.substr(target.find('=', 10) + 1));
    EXPECT_GE(stamp, before);
    EXPECT_LE(stamp, after);
    EXPECT_FALSE(requests[0]["headers"].Contains("Cookie"));
    EXPECT_FALSE(requests[0]["headers"].Contains("Referer"));
    EXPECT_EQ(Header(requests[0], "User-Agent"), kBrowser);
    EXPECT_EQ(Header(requests[1], "Cookie"), cookie);
    EXPECT_EQ(Header(requests[1], "Host"), PELMOR_COVERAGE_HOST);
    EXPECT_EQ(Header(requests[1], "Referer"), kFixedReferer);
}

TEST_F(WarrantySite, AnswerStepPostsTheFormWithThePagesToken) {
    struct Region {
        const char* device;
        const char* page;
        const char* words;
    } regions[] = {
        {"normal-complete", "/cn/zh/", "硬件维修和服务期限"},                    // CH/A
        {"replaced-screen-battery", "/us/eh/", "Repairs and Service Coverage"},  // LL/A
    };
    for (const Region& region : regions) {
        SCOPED_TRACE(region.device);
        EmulatorControl::Reset();
        auto device = LoadDevice(region.device);
        const std::string serial = PelmorSocketHelper::DeviceToSerial(device.get()).ToUtf8();
        const std::string cookie = FetchCaptcha(device.get());
        const XJson issued = Captcha();
        const std::string answer = issued.ToString("answer");

        int calls = 0;
        std::string page;
        EXPECT_TRUE(
            service.WarrantySelect(device.get(), cookie.c_str(), answer.c_str(), [&](const char* text) {
                ++calls;
                page = text;
            }));
        EXPECT_EQ(calls, 1);
        EXPECT_NE(page.find("data-result=\"ok\" data-serial=\"" + serial + "\""), std::string::npos) << page;
        EXPECT_NE(page.find(region.words), std::string::npos);

        const auto requests = SiteRequests();
        ASSERT_EQ(requests.size(), 4u);
        const XJson& form = requests[2];
        const XJson& post = requests[3];
        const std::string pageUrl = kSite + region.page + "?sn=" + serial;
        EXPECT_EQ(form.ToString("http_method"), "GET");
        EXPECT_EQ(form.ToString("target"), std::string(region.page) + "?sn=" + serial);
        EXPECT_EQ(Header(form, "Referer"), pageUrl) << "the page is its own referrer";
        EXPECT_EQ(Header(form, "Host"), PELMOR_COVERAGE_HOST);
        EXPECT_EQ(Header(form, "Cookie"), cookie);

        EXPECT_EQ(post.ToString("http_method"), "POST");
        EXPECT_EQ(post.ToString("target"), form.ToString("target"));
        EXPECT_EQ(post.ToString("body"), "sno=" + serial + "&ans=" + answer +
                                             "&captchaMode=image&CSRFToken=" + issued.ToString("token"));
        EXPECT_EQ(Header(post, "Content-Type"), "application/x-www-form-urlencoded");
        EXPECT_EQ(Header(post, "Cookie"), cookie);
        EXPECT_EQ(Header(post, "Host"), PELMOR_COVERAGE_HOST);
        EXPECT_EQ(Header(post, "Referer"), kFixedReferer) << "the fixed referrer, for both regions";
        EXPECT_FALSE(post["headers"].Contains("User-Agent"));
    }
}

TEST_F(WarrantySite, OnlyCHInTheRegionChoosesTheChinesePage) {
    for (const char* region : {"", "LL/A", "ZP/A", "CH/B"}) {
        SCOPED_TRACE(region);
        EmulatorControl::Reset();
        auto device = DeviceWith("region", region);
        service.WarrantySelect(device.get(), "cv_sid=none", "A", [](const char*) {});
        const auto requests = SiteRequests();
        ASSERT_EQ(requests.size(), 1u);
        const bool chinese = std::string(region).find("CH/") != std::string::npos;
        EXPECT_EQ(requests[0].ToString("path"), chinese ? "/cn/zh/" : "/us/eh/");
    }
}

TEST_F(WarrantySite, APageWithoutTokenEndsTheStepWithoutPosting) {
    auto device = LoadDevice("normal-complete");
    int calls = 0;
    // A session the site does not know: its page carries no token.
    EXPECT_TRUE(
        service.WarrantySelect(device.get(), "cv_sid=expired", "ABCD", [&](const char*) { ++calls; }));
    EXPECT_EQ(calls, 0);
    const auto requests = SiteRequests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].ToString("http_method"), "GET");
}

TEST_F(WarrantySite, TheSitesRefusalsReachTheCallbackLikeAnyPage) {
    auto device = LoadDevice("normal-complete");
    const std::string cookie = FetchCaptcha(device.get());
    std::string page;
    EXPECT_TRUE(service.WarrantySelect(device.get(), cookie.c_str(), "WRONG",
                                       [&](const char* text) { page = text; }));
    EXPECT_NE(page.find("data-result=\"captcha\""), std::string::npos) << page;
    // The captcha is used up: the right answer now needs a new one.
    const std::string answer = Captcha().ToString("answer");
    EXPECT_EQ(answer, "");
}

TEST_F(WarrantySite, MissingArgumentsSendNothing) {
    auto device = LoadDevice("normal-complete");
    auto response = [](const char*) { ADD_FAILURE() << "called back"; };
    auto captcha = [](const char*, const char*) { ADD_FAILURE() << "called back"; };
    EXPECT_FALSE(service.WarrantyVerify(nullptr, captcha));
    EXPECT_FALSE(service.WarrantyVerify(device.get(), nullptr));
    EXPECT_FALSE(service.WarrantySelect(nullptr, "c", "A", response));
    EXPECT_FALSE(service.WarrantySelect(device.get(), nullptr, "A", response));
    EXPECT_FALSE(service.WarrantySelect(device.get(), "c", nullptr, response));
    EXPECT_FALSE(service.WarrantySelect(device.get(), "c", "A", nullptr));
    const std::string page = kSite + "/cn/zh/?sn=F2LZK3XYN72J";
    EXPECT_FALSE(HalvexHTTP::GETWarranty(nullptr, captcha));
    EXPECT_FALSE(HalvexHTTP::GETWarranty(page.c_str(), nullptr));
    EXPECT_FALSE(HalvexHTTP::POSTWarranty(nullptr, "c", "S", "A", response));
    EXPECT_FALSE(HalvexHTTP::POSTWarranty(page.c_str(), "c", "S", nullptr, response));
    EXPECT_FALSE(HalvexHTTP::POSTWarranty(page.c_str(), "c", "S", "A", nullptr));
    EXPECT_EQ(EmulatorControl::Log().GetArraySize(), 0u);
}

TEST_F(WarrantySite, AResponseWithoutCookiesGivesAnEmptyCookieText) {
    // The coverage page sets no cookie; the second fetch then goes out without a Cookie header.
    const std::string page = kSite + "/us/eh/?sn=F2LZK3XYN72J";
    int calls = 0;
    std::string cookie = "unset";
    EXPECT_TRUE(HalvexHTTP::GETWarranty(page.c_str(), [&](const char*, const char* text) {
        ++calls;
        cookie = text;
    }));
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(cookie, "");
    const auto requests = SiteRequests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_FALSE(requests[1]["headers"].Contains("Cookie")) << Header(requests[1], "Cookie");
}

TEST_F(WarrantySite, InputsLongerThanTheFixedBuffersAreRefusedOrCut) {
    const std::string page = kSite + "/cn/zh/?sn=F2LZK3XYN72J";
    auto response = [](const char*) { ADD_FAILURE() << "called back"; };

    // The form body does not fit even without the token: refused before anything is sent.
    const std::string huge(1100, 'A');
    EXPECT_FALSE(HalvexHTTP::POSTWarranty(page.c_str(), "c", "S", huge.c_str(), response));
    EXPECT_TRUE(SiteRequests().empty());

    // It fits until the token is added: the page is fetched, nothing is posted.
    auto device = LoadDevice("normal-complete");
    const std::string cookie = FetchCaptcha(device.get());
    const std::string longAnswer(1024 - 29 - 12 - 1, 'B');  // sno=<12>&ans=<..>&captchaMode=image fills 1023
    EXPECT_FALSE(
        HalvexHTTP::POSTWarranty(page.c_str(), cookie.c_str(), "F2LZK3XYN72J", longAnswer.c_str(), response));
    auto requests = SiteRequests();
    ASSERT_EQ(requests.size(), 3u) << "two captcha fetches, then the page";
    EXPECT_EQ(requests[2].ToString("http_method"), "GET");
    EXPECT_EQ(requests[2].ToString("operation"), "page");

    // A page address too long for the referrer line: the line is cut, the address itself is not.
    EmulatorControl::Reset();
    const std::string longPage = kSite + "/cn/zh/?sn=" + std::string(1500, 'C');
    EXPECT_TRUE(HalvexHTTP::POSTWarranty(longPage.c_str(), "cv_sid=none", "S", "A", response));
    requests = SiteRequests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].ToString("target"), longPage.substr(kSite.size()));
    EXPECT_EQ(Header(requests[0], "Referer"), longPage.substr(0, 1023 - 9));

    // A serial too long for the page address is refused by the edition.
    EmulatorControl::Reset();
    auto longSerial = DeviceWith("serialNumber", std::string(1100, 'D'));
    EXPECT_FALSE(service.WarrantySelect(longSerial.get(), cookie.c_str(), "A", response));
    EXPECT_TRUE(SiteRequests().empty());
}

}  // namespace

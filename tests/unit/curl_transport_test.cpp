// The pieces of the curl transport that need no emulator: the response buffer, the cookie rules, the
// splitting of header blocks and the token search (against pages served in process). Requests against
// the emulator's probes and coverage site are in the end-to-end tests.
#include <gtest/gtest.h>

#include <map>
#include <memory>

#include "LoopbackServer.h"
#include "transport/HalvexCurl.h"

namespace {

// Serves /page/<name>: the named body, with the optional header line of that page.
class PageServer : public ::testing::Environment {
  public:
    struct Page {
        std::string header;  // "Name: value", or empty
        std::string body;
    };
    static inline std::unique_ptr<LoopbackServer> server;
    static inline std::map<std::string, Page> pages;

    void SetUp() override {
        server = LoopbackServer::Http([](httplib::Server& http) {
            http.Get("/page/(.*)", [](const httplib::Request& request, httplib::Response& response) {
                const auto it = pages.find(request.matches[1]);
                if (it == pages.end()) {
                    response.status = 404;
                    return;
                }
                const std::string& header = it->second.header;
                if (!header.empty())
                    response.set_header(header.substr(0, header.find(':')),
                                        header.substr(header.find(':') + 2));
                response.set_content(it->second.body, "text/html");
            });
            // What the request looked like, its version and its Cookie header (or "none"), written as a token
            // so that the page request, which hands on only the token, can show it too.
            const auto echo = [](const httplib::Request& request, httplib::Response& response) {
                const std::string cookie =
                    request.has_header("Cookie") ? "[" + request.get_header_value("Cookie") + "]" : "none";
                response.set_content("csrfToken: \"" + request.version + " " + cookie + "\"", "text/plain");
            };
            http.Get("/echo", echo);
            http.Post("/echo", echo);
        });
    }

    void TearDown() override { server.reset(); }
};

const auto* const environment = ::testing::AddGlobalTestEnvironment(new PageServer);

std::string PageUrl(const std::string& name) {
    return PageServer::server->Url("/page/" + name);
}

TEST(CurlBuffer, BlocksAreKeptAsTextAndTheBufferGrowsAcrossCalls) {
    HalvexCurl curl;
    curl.AchieveHTTP(nullptr, 4);
    curl.AchieveHTTP("abc", 0);
    curl.AchieveHTTP("abcdef", 3);
    curl.AchieveHTTP("x\0y", 3);
    char partial[] = {'p', 'q'};  // not terminated: length alone bounds the read
    curl.AchieveHTTP(partial, 2);
    PageServer::pages["empty"] = {"", ""};
    std::string seen;
    // A GET adds nothing for an empty page, so it reads the buffer back as it stands.
    EXPECT_TRUE(curl.GET(PageUrl("empty").c_str(), [&](const char* text) { seen = text; }));
    EXPECT_EQ(seen, "abcxpq");
    EXPECT_EQ(HalvexCurl::CallBack_HTTP(const_cast<char*>("zz"), 1, 2, nullptr), 2u)
        << "without an object the block is swallowed, never reported short";
}

TEST(CookieRules, AttributesAreCutInTheirListedCase) {
    struct Case {
        const char* block;
        const char* cookie;
    } cases[] = {
        {"HTTP/1.1 200 OK\r\nSet-Cookie: a=1; Path=/; HttpOnly\r\nSet-Cookie: b=2;secure\r\n\r\nbody",
         "a=1;b=2"},
        {"HTTP/1.1 200 OK\r\nSet-Cookie: c=3; path=/\r\n\r\n", "c=3; path=/"},
        {"HTTP/1.1 200 OK\r\nSet-Cookie: d=4; Secure; Path=/; expires=Wed, 01 Jan 2031 00:00:00 GMT\r\n\r\n",
         "d=4; expires=Wed, 01 Jan 2031 00:00:00 GMT"},
        // Each attribute goes once; a lower-case "; secure" is not among them.
        {"HTTP/1.1 200 OK\r\nSet-Cookie: e=5;HttpOnly;HttpOnly; secure\r\n\r\n", "e=5;HttpOnly; secure"},
        {"HTTP/1.1 200 OK\r\nContent-Type: image/png\r\n\r\nSet-Cookie: in=body", ""},
        // Only the first header block counts; later ones come from redirects.
        {"HTTP/1.1 302 Found\r\nSet-Cookie: f=6\r\n\r\nHTTP/1.1 200 OK\r\nSet-Cookie: g=7\r\n\r\n", "f=6"},
        // Without a blank line the whole text is the block; bare LF line ends split too.
        {"HTTP/1.1 200 OK\nSet-Cookie: h=8\nSet-Cookie: i=9", "h=8;i=9"},
        {"X-Set-Cookie: j=10", ": j=10"},  // the value starts twelve characters into the line
        // Header names in another case (HTTP/2 lower-cases them) still carry the cookie.
        {"HTTP/2 200\r\nset-cookie: k=11; Path=/\r\nSET-COOKIE: l=12\r\n\r\n", "k=11;l=12"},
        {"", ""},
    };
    for (const Case& c : cases)
        EXPECT_EQ(CookieTextOf(c.block), c.cookie) << c.block;
}

TEST(CookieRules, StringSplitKeepsEmptyPieces) {
    auto split = [](std::string text, std::string delimiters) {
        std::vector<std::string> pieces;
        StringSplit(text, delimiters, &pieces);
        return pieces;
    };
    using Pieces = std::vector<std::string>;
    EXPECT_EQ(split("a\r\nb", "\r\n"), (Pieces{"a", "", "b"}));
    EXPECT_EQ(split("\nx\n", "\r\n"), (Pieces{"", "x", ""}));
    EXPECT_EQ(split("\r\n\r\n", "\r\n"), (Pieces{"", "", "", "", ""}));
    EXPECT_EQ(split("", "\r\n"), (Pieces{""}));
    EXPECT_EQ(split("abc", ""), (Pieces{"abc"}));
    std::string text = "a", delimiters = ",";
    StringSplit(text, delimiters, nullptr);  // no list, nothing to do
}

TEST(TokenSearch, TheTextBetweenTheTokenStartAndTheNextQuote) {
    struct Case {
        const char* name;
        PageServer::Page page;
        const char* token;
    } cases[] = {
        {"plain", {"", "<script>cfg = { csrfToken: \"abc\", mode: \"image\" };</script>"}, "abc"},
        {"first", {"", "csrfToken: \"one\" csrfToken: \"two\""}, "one"},
        {"none", {"", "<p>no token here</p>"}, ""},
        {"unclosed", {"", "csrfToken: \"abc"}, ""},
        {"empty", {"", "csrfToken: \"\""}, ""},
        {"no-blank", {"", "csrfToken:\"abc\""}, ""},
        // Headers are searched too, and come first.
        {"header", {"X-Config: csrfToken: \"hdr\"", "csrfToken: \"body\""}, "hdr"},
    };
    for (const Case& c : cases) {
        PageServer::pages[c.name] = c.page;
        HalvexCurl curl;
        int calls = 0;
        std::string token = "unset";
        EXPECT_TRUE(curl.WarrantySelectToken(PageUrl(c.name).c_str(), nullptr, [&](const char* found) {
            ++calls;
            token = found;
        }));
        EXPECT_EQ(calls, 1) << c.name;
        EXPECT_EQ(token, c.token) << c.name;
    }
}

// The coverage site is read as HTTP/1.1 writes it, and an empty cookie text is no cookie at all.
TEST(CoverageRequests, AskForHttp11AndSendNoEmptyCookieHeader) {
    const std::string url = PageServer::server->Url("/echo");
    struct Case {
        const char* cookie;
        const char* sent;
    } cases[] = {{nullptr, "HTTP/1.1 none"}, {"", "HTTP/1.1 none"}, {"a=1;b=2", "HTTP/1.1 [a=1;b=2]"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.cookie ? c.cookie : "null");
        const std::string page = std::string("csrfToken: \"") + c.sent + "\"";
        std::string seen;
        HalvexCurl captcha;
        EXPECT_TRUE(
            captcha.GETWarranty(url.c_str(), c.cookie, [&](const char* text, const char*) { seen = text; }));
        EXPECT_EQ(seen, page);
        HalvexCurl form;
        EXPECT_TRUE(
            form.POSTWarranty(url.c_str(), c.cookie, "sno=1", [&](const char* text) { seen = text; }));
        EXPECT_EQ(seen, page);
        HalvexCurl token;
        EXPECT_TRUE(token.WarrantySelectToken(url.c_str(), c.cookie, [&](const char* text) { seen = text; }));
        EXPECT_EQ(seen, c.sent);
    }
}

}  // namespace

// The pieces of the curl transport that need no emulator: the response buffer, the cookie rules, the
// splitting of header blocks and the token search (against pages served in process). Requests against
// the emulator's probes and coverage site are in the end-to-end tests.
#include <gtest/gtest.h>
#include <httplib.h>

#include <chrono>
#include <map>
#include <thread>

#include "transport/HalvexCurl.h"

namespace {

// Serves /page/<name>: the named body, with the optional header line of that page.
class PageServer : public ::testing::Environment {
  public:
    struct Page {
        std::string header;  // "Name: value", or empty
        std::string body;
    };
    static inline httplib::Server* server = nullptr;
    static inline int port = 0;
    static inline std::map<std::string, Page> pages;

    void SetUp() override {
        server = new httplib::Server;
        server->set_keep_alive_timeout(1);
        server->Get("/page/(.*)", [](const httplib::Request& request, httplib::Response& response) {
            const auto it = pages.find(request.matches[1]);
            if (it == pages.end()) {
                response.status = 404;
                return;
            }
            const std::string& header = it->second.header;
            if (!header.empty())
                response.set_header(header.substr(0, header.find(':')), header.substr(header.find(':') + 2));
            response.set_content(it->second.body, "text/html");
        });
        port = server->bind_to_any_port("127.0.0.1");
        thread_ = std::thread([] { server->listen_after_bind(); });
        while (!server->is_running())
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

    void TearDown() override {
        server->stop();
        thread_.join();
        delete server;
    }

  private:
    std::thread thread_;
};

const auto* const environment = ::testing::AddGlobalTestEnvironment(new PageServer);

std::string PageUrl(const std::string& name) {
    return "http://127.0.0.1:" + std::to_string(PageServer::port) + "/page/" + name;
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

}  // namespace

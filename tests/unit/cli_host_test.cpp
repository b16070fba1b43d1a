// The command-line host's own pieces: option parsing, the state file, tables and saved images.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QByteArray>
#include <boost/json/parse.hpp>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include <climits>

#include "Command.h"
#include "HttpClient.h"
#include "LoopbackServer.h"
#include "Output.h"
#include "State.h"
#include "Terminal.h"
#include "TestData.h"
#include "commands/Flows.h"

using namespace pelmor;

namespace {

std::string TempDir() {
    char dir[] = "/tmp/pelmor-cli-unit-XXXXXX";
    return mkdtemp(dir) ? dir : "/tmp";
}

TEST(CliArgs, OptionsTakeValuesEitherWayAndTheRestArePositional) {
    Args args;
    std::string error;
    ASSERT_TRUE(args.Parse({"13800138000", "--serial", "42", "--key=a=b", "123456", "--wait", "--", "--file"},
                           "--serial= --key= --wait --file=", error))
        << error;
    ASSERT_EQ(args.Count(), 3u);
    EXPECT_EQ(args[0], "13800138000");
    EXPECT_EQ(args[1], "123456");
    EXPECT_EQ(args[2], "--file") << "after -- nothing is an option";
    EXPECT_EQ(args.Get("--serial"), "42");
    EXPECT_EQ(args.Get("--key"), "a=b");
    EXPECT_TRUE(args.Has("--wait"));
    EXPECT_FALSE(args.Has("--file"));
    EXPECT_EQ(args.At(5, "none"), "none");

    const std::pair<std::vector<std::string>, const char*> bad[] = {
        {{"--bogus"}, "unknown option --bogus"},
        {{"x", "--serial"}, "--serial needs a value"},
        {{"--wait=yes"}, "--wait takes no value"},
    };
    for (const auto& [words, reason] : bad) {
        Args failing;
        EXPECT_FALSE(failing.Parse(words, "--serial= --wait", error));
        EXPECT_EQ(error, reason);
    }
}

TEST(CliState, SurvivesARoundTripPrivatelyAndRecoversFromDamage) {
    const std::string path = TempDir() + "/nested/pelmor/state.json";
    std::string error;
    State fresh;
    EXPECT_TRUE(fresh.Load(path, error)) << "a missing file is an empty state";
    EXPECT_EQ(fresh.key.size(), 32u) << "a client key is made on first use";
    fresh.token = "tk1";
    fresh.mobile = "13800138000";
    fresh.serial = "100001";
    fresh.enterpriseToken = "ent\"quoted\"";
    fresh.enterpriseAccount = "demo";
    fresh.enterpriseExpires = 18446744073709551615ull;
    ASSERT_TRUE(fresh.Save(path, error)) << error;

    struct stat info {};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u) << "the file holds session tokens";

    State again;
    ASSERT_TRUE(again.Load(path, error));
    EXPECT_EQ(again.key, fresh.key);
    EXPECT_EQ(again.token, "tk1");
    EXPECT_EQ(again.serial, "100001");
    EXPECT_EQ(again.enterpriseToken, "ent\"quoted\"");
    EXPECT_EQ(again.enterpriseExpires, 18446744073709551615ull);

    std::ofstream(path) << "{\"standard\": {\"token\": ";
    State damaged;
    EXPECT_FALSE(damaged.Load(path, error));
    EXPECT_NE(error.find(path), std::string::npos);
    EXPECT_TRUE(damaged.token.empty());
    EXPECT_EQ(damaged.key.size(), 32u);
}

TEST(CliOutput, TablesAlignWideCharactersAndJsonReadsBack) {
    const Json rows = JsonArray{JsonObject{{"name", "屏幕序列号"}, {"result", "异常"}, {"health", 99.6}},
                                JsonObject{{"name", "IMEI"}, {"result", "ok"}, {"health", 87}}};
    testing::internal::CaptureStdout();
    PrintResult(rows, false);
    const std::string table = testing::internal::GetCapturedStdout();
    std::vector<std::string> lines;
    std::istringstream in(table);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    ASSERT_EQ(lines.size(), 4u) << table;
    // The second column starts at the same terminal column on every line: CJK characters take two.
    auto column = [](const std::string& line, const std::string& cell) {
        return DisplayWidth(line.substr(0, line.find(cell)));
    };
    EXPECT_EQ(column(lines[0], "result"), column(lines[2], "异常"));
    EXPECT_EQ(column(lines[0], "result"), column(lines[3], "ok"));
    EXPECT_NE(lines[2].find("99.6"), std::string::npos) << "numbers read as people write them";

    testing::internal::CaptureStdout();
    PrintResult(rows, true);
    EXPECT_EQ(boost::json::parse(testing::internal::GetCapturedStdout()), rows);
}

TEST(CliImages, ImagesSentAsTextAreSavedAsWhatTheyAre) {
    setenv("XDG_CACHE_HOME", TempDir().c_str(), 1);
    const QByteArray png("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16);
    const std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\"><text>HQWA</text></svg>";
    struct Case {
        std::string text, extension, content;
    } cases[] = {
        {png.toBase64().toStdString(), ".png", png.toStdString()},
        {"{\"img\":\"data:image/svg+xml;base64," + QByteArray::fromStdString(svg).toBase64().toStdString() +
             "\"}",
         ".svg", svg},
        {svg, ".svg", svg},
        {"not an image", ".txt", "not an image"},
    };
    for (const Case& c : cases) {
        std::string error;
        const std::string path = SaveImage(c.text, "captcha", error);
        ASSERT_FALSE(path.empty()) << error;
        EXPECT_EQ(path.substr(path.size() - c.extension.size()), c.extension) << c.text;
        EXPECT_EQ(ReadFile(path), c.content);
    }
}

TEST(CliArgs, NumbersAreWholeAndWithinTheirRange) {
    long long value = 7;
    EXPECT_TRUE(ReadInteger("-12", -100, 100, value));
    EXPECT_EQ(value, -12);
    for (const char* bad : {"", "-", "abc", "12x", " 1", "1.5", "101", "-101", "99999999999999999999"})
        EXPECT_FALSE(ReadInteger(bad, -100, 100, value)) << bad;
    EXPECT_EQ(value, -12) << "a refused text leaves the value alone";
    EXPECT_TRUE(ReadInteger("9223372036854775807", 0, LLONG_MAX, value));
    EXPECT_FALSE(ReadInteger("9223372036854775808", 0, LLONG_MAX, value));
}

TEST(CliOutput, KeysReadAsWordsAndValuesKeepTheirKind) {
    EXPECT_EQ(Label("serialNumber"), "serial number");
    EXPECT_EQ(Label("qrPayload"), "qr payload");
    EXPECT_EQ(Label("emulatorShowsCodeAt"), "emulator shows code at");

    EXPECT_EQ(IsoTime(1795456552000), Json("2026-11-23T17:55:52Z"));
    EXPECT_EQ(IsoTime(1795456552042), Json("2026-11-23T17:55:52.042Z"));
    EXPECT_TRUE(IsoTime(0).is_null()) << "0 is the service's 'never'";
    EXPECT_EQ(ServiceTime("2026-11-01 12:00:05"), Json("2026-11-01T12:00:05"));
    EXPECT_EQ(ServiceTime("2026-11-01"), Json("2026-11-01"));
    EXPECT_EQ(ServiceTime("tomorrow"), Json("tomorrow")) << "what is not a time is kept as sent";
    EXPECT_TRUE(ServiceTime("").is_null());

    EXPECT_EQ(NumberFromText("80"), Json(80));
    EXPECT_EQ(NumberFromText("-9.5"), Json(-9.5));
    EXPECT_TRUE(NumberFromText("99999999999999999999").is_double());
    for (const char* text : {"", " 8", "8 points", "nan", "1e999"})
        EXPECT_TRUE(NumberFromText(text).is_null()) << text;

    // Tables hide the raw twin of a time and show the ISO form under the plain label.
    JsonObject timed{{"title", "t"}};
    PutTime(timed, "expires", 1795456552000);
    testing::internal::CaptureStdout();
    PrintResult(timed, false);
    const std::string table = testing::internal::GetCapturedStdout();
    EXPECT_NE(table.find("expires  2026-11-23T17:55:52Z"), std::string::npos) << table;
    EXPECT_EQ(table.find("1795456552000"), std::string::npos) << table;
    testing::internal::CaptureStdout();
    PrintResult(JsonObject{{"price", 9.9}, {"third", 1.0 / 3}}, true);
    const std::string text = testing::internal::GetCapturedStdout();
    EXPECT_NE(text.find("\"price\": 9.9,"), std::string::npos) << text;
    EXPECT_EQ(boost::json::parse(text).at("third").as_double(), 1.0 / 3)
        << "printed digits read back exactly";
}

TEST(CliCoverage, ThePageIsReadByFieldName) {
    const JsonObject ok = CoveragePage(
        "<html><body><div id=\"coverage-result\" data-result=\"ok\" data-serial=\"F2LZK3XYN72J\">\n"
        "<h2>iPhone</h2><ul>\n<li data-item=\"purchase\">Valid purchase date</li>\n"
        "<li data-item=\"repair\" data-active=\"true\" data-expires=\"2027-05-09\">Repairs: <b>active</b>, "
        "expires 2027-05-09</li>\n<li data-item=\"support\" data-active=\"false\">Support: expired</li>\n"
        "</ul></div></body></html>");
    EXPECT_EQ(ok.at("result"), Json("ok"));
    EXPECT_EQ(ok.at("serial"), Json("F2LZK3XYN72J"));
    EXPECT_EQ(ok.at("product"), Json("iPhone"));
    const Json& repair = ok.at("coverage").at("repair");
    EXPECT_EQ(repair.at("active"), Json(true));
    EXPECT_EQ(repair.at("expires"), Json("2027-05-09"));
    EXPECT_EQ(repair.at("text"), Json("Repairs: active , expires 2027-05-09"));
    EXPECT_EQ(ok.at("coverage").at("support").at("active"), Json(false));

    const JsonObject wrong = CoveragePage(
        "<div id=\"coverage-result\" data-result=\"captcha\">\n<p class=\"error\">验证码不正确</p>\n</div>");
    EXPECT_EQ(wrong.at("result"), Json("captcha"));
    EXPECT_EQ(wrong.at("message"), Json("验证码不正确"));

    const JsonObject other = CoveragePage("<p>Service unavailable</p>");
    EXPECT_TRUE(other.at("result").is_null());
    EXPECT_EQ(other.at("text"), Json("Service unavailable"));
}

TEST(CliConnection, RefusedOnlyWhenNothingListens) {
    auto server = LoopbackServer::Http([](httplib::Server& http) {
        http.Get("/_emulator/health",
                 [](const httplib::Request&, httplib::Response& res) { res.status = 502; });
    });
    const std::string address = server->Address();
    EXPECT_FALSE(ConnectionRefused(address)) << "a server that answers badly runs";
    server.reset();
    EXPECT_TRUE(ConnectionRefused(address));
}

}  // namespace

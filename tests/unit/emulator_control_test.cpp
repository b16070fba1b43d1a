// The control surface a test drives the emulator with: what the log tells about each request, how
// scripts are checked, matched and withdrawn, and control requests that come without a body.
#include "emulator_in_process.h"

namespace {

using namespace emulator_test;

class EmulatorControl : public InProcessEmulator {
  protected:
    json Log(const std::string& query = "") const { return Get("log" + query).Json(); }
    json Script(const json& script) const {
        const Answer answer = Post("script", script);
        EXPECT_EQ(answer.status, 200) << answer.body;
        return answer.Json();
    }
};

TEST_F(EmulatorControl, EachLogEntryTellsWhatWentBackAndWhichScriptSentIt) {
    const json scripted = Script({{"match", "client.config"}, {"reply", {{"code", 7}, {"msg", "scripted"}}}});
    Script({{"match", "user.info"}, {"status", 503}, {"body", "busy"}});
    Standard("client.config");
    Standard("client.config");
    Standard("user.info");

    const json log = Log();
    ASSERT_EQ(log.size(), 3u) << log.dump();
    // The script answered the first request only; its reply is logged exactly as it was sent.
    EXPECT_EQ(log[0]["script"], scripted["id"]);
    EXPECT_EQ(log[0]["response"]["reply"], json({{"code", 7}, {"msg", "scripted"}}));
    EXPECT_TRUE(log[1]["script"].is_null());
    EXPECT_EQ(log[1]["response"]["status"], 200);
    EXPECT_EQ(log[1]["response"]["reply"]["code"], 0);
    EXPECT_TRUE(log[1]["response"]["reply"]["data"].contains("hasUpdate"));
    // A raw status has no reply to decode, only a note.
    EXPECT_EQ(log[2]["response"]["status"], 503);
    EXPECT_TRUE(log[2]["response"]["reply"].is_null());
    EXPECT_NE(log[2]["response"]["note"].get<std::string>().find("503"), std::string::npos);
}

TEST_F(EmulatorControl, TheLogCanBeFilteredAndClearedAlone) {
    Script({{"match", "*"}, {"times", 5}, {"delay_ms", 1}});
    Standard("client.config");
    Enterprise("/login", {{"account", "demo"}, {"password", "wrong"}});
    Standard("client.config");
    Request(Url("/_emulator/http/final"), {}, nullptr);

    EXPECT_EQ(Log("?method=client.config").size(), 2u);
    EXPECT_EQ(Log("?path=/brisel-ent/api/login").size(), 1u);
    EXPECT_EQ(Log("?address=http&http_method=GET").size(), 1u);
    const json later = Log("?after=2");
    ASSERT_EQ(later.size(), 2u);
    EXPECT_EQ(later[0]["seq"], 3);
    EXPECT_EQ(Get("log?colour=red").status, 400);
    EXPECT_EQ(Get("log?after=two").status, 400);

    // Clearing the log leaves the scripts and the service state alone.
    const std::string token = EnterpriseLogin();
    ASSERT_FALSE(token.empty());
    EXPECT_EQ(Post("log/clear").status, 200);
    EXPECT_TRUE(Log().empty());
    const json scripts = Get("scripts").Json();
    ASSERT_EQ(scripts.size(), 1u);
    EXPECT_EQ(scripts[0]["remaining"], 1) << "four service requests so far";
    EXPECT_EQ(Enterprise("/ckcheck/details", json::object(), token)["code"], 0);
    EXPECT_EQ(Log()[0]["seq"], 1);
}

TEST_F(EmulatorControl, AnAnswerThatComesAfterAClearStaysOffNewerEntries) {
    Script({{"match", "client.config"}, {"delay_ms", 400}, {"reply", {{"code", 9}}}});
    std::thread slow([this] { Standard("client.config"); });
    for (int i = 0; i < 2000 && Log().empty(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    Post("log/clear");
    Standard("user.info");  // seq 1 again, answered while the first request still waits
    slow.join();

    const json log = Log();
    ASSERT_EQ(log.size(), 1u) << log.dump();
    EXPECT_EQ(log[0]["operation"], "user.info");
    EXPECT_EQ(log[0]["response"]["reply"]["code"], 40101);
}

TEST_F(EmulatorControl, ScriptsNameARealOperationAndCanBeWithdrawn) {
    // A misspelt operation would never fire; it is refused with a reason instead.
    const Answer misspelt = Post("script", {{"match", "client.confg"}, {"status", 500}});
    EXPECT_EQ(misspelt.status, 400);
    EXPECT_NE(misspelt.Json().value("error", "").find("client.confg"), std::string::npos) << misspelt.body;
    for (const char* known : {"client.config", "/login", "cms.token.refresh", "*", "coverage:answer"})
        EXPECT_EQ(Post("script", {{"match", known}, {"delay_ms", 0}}).status, 200) << known;
    EXPECT_EQ(Post("reset").status, 200);

    const json first = Script({{"match", "client.config"}, {"reply", {{"code", 1}}}});
    const json second = Script({{"match", "client.config"}, {"reply", {{"code", 2}}}});
    const std::string id = std::to_string(first["id"].get<int>());
    EXPECT_EQ(Request(Url("/_emulator/scripts/" + id), {}, nullptr, "DELETE").status, 200);
    EXPECT_EQ(Request(Url("/_emulator/scripts/" + id), {}, nullptr, "DELETE").status, 404);
    EXPECT_EQ(Request(Url("/_emulator/scripts/x"), {}, nullptr, "DELETE").status, 400);
    EXPECT_EQ(Standard("client.config")["code"], 2);
    EXPECT_EQ(Log()[0]["script"], second["id"]);
}

TEST_F(EmulatorControl, CoverageStepsAreScriptedByNameOnly) {
    // A page reply makes no sense for an encrypted envelope, and the other way round.
    EXPECT_EQ(Post("script", {{"match", "coverage:captcha"}, {"reply", json::object()}}).status, 400);
    EXPECT_EQ(Post("script", {{"match", "coverage:page"}, {"not_json", true}}).status, 400);

    Script({{"match", "*"}, {"status", 500}});
    EXPECT_EQ(Request(Site("/gc?t=image&timestamp=1"), {}, nullptr).status, 200)
        << "\"*\" is for the service";
    Script({{"match", "coverage:captcha"}, {"status", 503}, {"body", "<p>down</p>"}});
    const Answer down = Request(Site("/gc?t=image&timestamp=2"), {}, nullptr);
    EXPECT_EQ(down.status, 503);
    EXPECT_EQ(down.body, "<p>down</p>");
    Script({{"match", "coverage:answer"}, {"drop", "empty"}});
    EXPECT_EQ(Coverage("F2LZK3XYN72J").status, 0);

    const json site = Log("?address=coverage");
    ASSERT_GE(site.size(), 3u);
    EXPECT_EQ(site[1]["response"]["status"], 503);
    EXPECT_FALSE(site[1]["script"].is_null());
    EXPECT_EQ(site.back()["operation"], "answer");
    EXPECT_EQ(site.back()["response"]["status"], 0);
    EXPECT_EQ(Get("scripts").Json().size(), 1u) << "the \"*\" script is still waiting for a service request";
}

TEST_F(EmulatorControl, ControlPostsWithoutABodyAreAcceptedWhereNoneIsNeeded) {
    Standard("client.config");
    const Answer reset = Request(Url("/_emulator/reset"), {}, nullptr, "POST");
    EXPECT_EQ(reset.status, 200) << reset.body;
    EXPECT_TRUE(Log().empty());
    Request(Url("/_emulator/clock/advance"), {}, nullptr, "POST");
    EXPECT_EQ(Request(Url("/_emulator/log/clear"), {}, nullptr, "POST").status, 200);

    // Where a body is needed, its absence is explained.
    const Answer script = Request(Url("/_emulator/script"), {}, nullptr, "POST");
    EXPECT_EQ(script.status, 400);
    EXPECT_FALSE(script.Json().value("error", "").empty()) << script.body;
}

}  // namespace

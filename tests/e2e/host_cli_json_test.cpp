// pelmor --json as a script meets it: every command's output is one document that the schema in docs/
// describes, failures included, and the documentation covers what the schema holds.
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <set>

#include "JsonSchemaCheck.h"
#include "cli_fixture.h"

namespace json = boost::json;

namespace {

const JsonSchemaCheck& Schema() {
    static const JsonSchemaCheck schema(json::parse(ReadFile(PELMOR_JSON_SCHEMA)));
    return schema;
}

const json::object& CommandResults() {
    return Schema().Root().at("commands").get_object();
}

std::string Join(const std::vector<std::string>& lines) {
    std::string text;
    for (const auto& line : lines)
        text += line + "\n";
    return text;
}

class CliJson : public CliTest {
  protected:
    // Runs pelmor --json and checks that stdout is one document of the contract, the result checked
    // against its command's schema (nested documents of the demo too). Returns the document.
    json::value Run(const std::vector<std::string>& args, int status = 0,
                    const std::function<std::string(const std::string&)>& answer = nullptr) {
        std::vector<std::string> line{"--json"};
        line.insert(line.end(), args.begin(), args.end());
        const Outcome run = Pelmor(line, {}, answer);
        // "ent" and the device file's own actions take a second word.
        const bool twoWords =
            args.size() > 1 &&
            (args[0] == "ent" || (args[0] == "device" && (args[1] == "import" || args[1] == "check")));
        const std::string typed = twoWords ? args[0] + " " + args[1] : args[0];
        SCOPED_TRACE("pelmor --json " + typed);
        EXPECT_EQ(run.status, status) << run.out << run.err;
        boost::system::error_code ec;
        json::value document = json::parse(run.out, ec);
        if (ec) {
            ADD_FAILURE() << "stdout is not one JSON document: [" << run.out << "]";
            return nullptr;
        }
        Conforms(document, typed);
        return document;
    }

    void Conforms(const json::value& document, const std::string& typed) {
        EXPECT_EQ(Join(Schema().Check(document)), "") << json::serialize(document);
        if (!document.is_object()) return;
        EXPECT_EQ(document.at("command"), json::value(typed));
        exercised_.insert(typed);
        const json::value* result = document.get_object().if_contains("result");
        const json::value* shape = CommandResults().if_contains(typed);
        if (!result) return;
        if (!shape) {
            ADD_FAILURE() << typed << ": no result schema in " PELMOR_JSON_SCHEMA;
            return;
        }
        EXPECT_EQ(Join(Schema().Check(*result, *shape)), "") << json::serialize(*result);
        if (const json::value* steps =
                result->is_object() ? result->get_object().if_contains("steps") : nullptr)
            for (const json::value& step : steps->get_array())
                for (const json::value& command : step.at("commands").get_array()) {
                    std::string nested(command.at("line").get_string());
                    nested = nested.substr(nested.find(' ') + 1);
                    const std::size_t words = nested.rfind("ent ", 0) == 0 ? 2 : 1;
                    std::size_t cut = 0;
                    for (std::size_t i = 0; i < words && cut != std::string::npos; ++i)
                        cut = nested.find(' ', cut ? cut + 1 : 0);
                    Conforms(command.at("document"), nested.substr(0, cut));
                }
    }

    static std::string Text(const json::value& document, const char* pointer) {
        boost::system::error_code ec;
        const json::value* found = document.find_pointer(pointer, ec);
        return found && found->is_string() ? std::string(found->get_string()) : std::string();
    }

    std::set<std::string> exercised_;
};

constexpr const char kHandset[] = "replaced-screen-battery";

TEST_F(CliJson, EveryCommandPrintsOneDocumentOfTheContract) {
    const std::string mobile = "13600136000";
    Run({"config"});
    Run({"version"});
    Run({"devices"});
    Run({"device", kHandset});
    const std::string captures = PELMOR_TEST_DATA_DIR "/captures/";
    const json::value imported =
        Run({"device", "import", captures + "complete-lockdownd.plist", captures + "complete-battery.plist"});
    const std::string phone = home_ + "/phone.json";
    std::ofstream(phone) << json::serialize(imported.at("result").at("device"));
    Run({"device", "check", phone});
    Run({"census", "verify", "start"});
    Run({"sms-request", mobile});
    const json::value sms = Run({"sms-code", mobile});
    EXPECT_NE(Text(sms, "/result/emulatorShowsCodeAt").find("/_emulator/sms?mobile=" + mobile),
              std::string::npos);
    Run({"login", mobile, SmsCode(mobile)});
    Run({"token-login"});
    Run({"token"});
    Run({"heartbeat"});
    Run({"user"});
    Run({"privileges"});
    Run({"referral", "PELMOR"});
    const json::value list = Run({"notifications"});
    Run({"notification",
         std::to_string(list.at("result").at("notifications").at(0).at("id").to_number<long long>())});

    const json::value qr = Run({"wechat", "--no-wait"});
    const std::string key = Text(qr, "/result/key");
    EXPECT_EQ(EmulatorControl::Post("/_emulator/wx/scan", "{\"key\":\"" + key + "\",\"openId\":\"wx-json\"}"),
              200);
    Run({"wechat-status", key});
    const std::string other = "13600136001";
    Run({"sms-code", other});
    Run({"wechat-bind", "wx-json", other, SmsCode(other)});
    Run({"wechat-login", "wx-json"});
    const std::string changed = "13600136002";
    Run({"sms-code", changed});
    Run({"change-phone", changed, SmsCode(changed)});

    for (const char* command : {"verify", "backup", "firmware", "colour", "screen", "warranty",
                                "report-image", "pro-check", "objection-reply"})
        Run({command, kHandset});
    Run({"keys"});
    Run({"airpods", "INSTANCE", "GX7D2ABCDEF1"});
    Run({"lock-status", kHandset, "idlock", "1"});
    Run({"objection", kHandset, "the screen is original"});
    Run({"feedback", "works well"});
    const json::value pay = Run({"pay", kHandset, "--no-wait"});
    EXPECT_TRUE(pay.at("result").at("price").is_number());
    Run({"pay-status", std::string(Text(pay, "/result/order"))});
    Run({"pay", kHandset, "--timeout", "30"});
    Run({"pro-report", kHandset});
    // The answer is typed when the captcha has been shown, as a person at the prompt would.
    Run({"coverage", kHandset}, 0, [](const std::string& err) {
        if (err.find("captcha answer:") == std::string::npos) return std::string();
        return EmulatorControl::GetJson("/_emulator/coverage/captcha").ToString("answer") + "\n";
    });
    Run({"logout"});

    const json::value login = Run({"ent", "login", "demo", "demo1234"});
    const json::value refresh = Run({"ent", "refresh"});
    const long long expires = refresh.at("result").at("expiresEpochMs").to_number<long long>();
    EXPECT_GE(expires, login.at("result").at("expiresEpochMs").to_number<long long>());
    EXPECT_EQ(SavedState()["enterprise"].ToInt64("expires"), expires) << "the new expiry is kept";
    for (const char* command : {"heartbeat", "account", "balance", "bill"})
        Run({"ent", command});
    for (const char* command : {"verify", "firmware", "warranty", "basic", "idlock", "refurbish", "simlock"})
        Run({"ent", command, kHandset});
    Run({"ent", "keys"});
    Run({"ent", "feedback", "works well"});
    Run({"ent", "password", "demo1234", "demo12345"});
    Run({"ent", "password", "demo12345", "demo1234"});  // the demo below logs in with it
    // Both ways out forget the enterprise account with its token.
    Run({"ent", "logout"});
    EXPECT_EQ(SavedState()["enterprise"].ToString("account"), "");
    Run({"ent", "login", "demo", "demo1234"});
    Run({"token", "clear"});
    EXPECT_EQ(SavedState()["enterprise"].ToString("account"), "");
    EXPECT_EQ(SavedState()["enterprise"].ToString("token"), "");

    Run({"demo"});

    std::set<std::string> documented;
    for (const auto& command : CommandResults())
        documented.insert(std::string(command.key()));
    EXPECT_EQ(exercised_, documented) << "every documented command is run here, and only those";
}

TEST_F(CliJson, FailuresAreDocumentsThatSayWhatKindTheyAre) {
    struct Case {
        std::vector<std::string> args;
        int status;
        const char* kind;
    } cases[] = {
        {{"frobnicate"}, 2, "usage"},
        {{"pay", kHandset, "--way", "7"}, 2, "usage"},
        {{"wechat", "--timeout", "abc"}, 2, "usage"},
        {{"ent", "bill", "yesterday"}, 2, "usage"},
        {{"user"}, 1, "service"},
        {{"coverage", kHandset, "--answer", "0000"}, 1, "site"},
    };
    for (const Case& c : cases) {
        const json::value document = Run(c.args, c.status);
        if (!document.is_object()) continue;
        EXPECT_EQ(document.at("ok"), json::value(false));
        EXPECT_EQ(Text(document, "/error/kind"), c.kind) << json::serialize(document);
    }
    EXPECT_EQ(Text(Run({"user"}, 1), "/error/name"), "TOKEN_INVALID");
    EXPECT_EQ(Text(Run({"coverage", kHandset, "--answer", "0000"}, 1), "/error/name"), "captcha");
}

// The documentation is written from the schema: each command has its section naming its result members.
TEST(CliJsonDoc, TheDocumentationCoversEveryCommandOfTheSchema) {
    const std::string doc = ReadFile(PELMOR_JSON_DOC);
    for (const auto& command : CommandResults()) {
        const std::string heading = "### `" + std::string(command.key()) + "`";
        const auto at = doc.find(heading + "\n");
        ASSERT_NE(at, std::string::npos) << heading;
        const std::string section = doc.substr(at, doc.find("\n### ", at + 1) - at);
        const json::value* members = command.value().get_object().if_contains("properties");
        if (!members) continue;
        for (const auto& member : members->get_object())
            EXPECT_NE(section.find("`" + std::string(member.key()) + "`"), std::string::npos)
                << heading << " does not name " << member.key();
    }
}

}  // namespace

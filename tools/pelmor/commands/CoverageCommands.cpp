// The device maker's warranty-coverage site: captcha, the user's answer, and the coverage page.
#include <unistd.h>

#include <QRegularExpression>
#include <QString>
#include <boost/json/parse.hpp>
#include <iostream>

#include "Command.h"
#include "DeviceFile.h"
#include "Terminal.h"
#include "commands/Flows.h"

namespace pelmor {

namespace {

// A person can type another answer; a script gets one try.
constexpr int kTerminalAttempts = 3;

std::string Text(const QString& html) {
    QString text = html;
    text.remove(QRegularExpression(
        "<(script|style)[^>]*>.*?</\\1>",
        QRegularExpression::DotMatchesEverythingOption | QRegularExpression::CaseInsensitiveOption));
    text.replace(QRegularExpression("<[^>]*>"), " ");
    return Utf8(text.simplified());
}

// "data-expires-on" -> "expiresOn"; "true"/"false" become booleans.
void PutAttributes(JsonObject& out, const QString& attributes) {
    QRegularExpression attribute("data-([a-z0-9-]+)=\"([^\"]*)\"");
    for (auto match = attribute.globalMatch(attributes); match.hasNext();) {
        const auto found = match.next();
        QString name;
        bool upper = false;
        for (const QChar c : found.captured(1)) {
            if (c == '-') {
                upper = true;
                continue;
            }
            name += upper ? c.toUpper() : c;
            upper = false;
        }
        const QString value = found.captured(2);
        if (value == "true" || value == "false")
            out[Utf8(name)] = value == "true";
        else
            out[Utf8(name)] = Utf8(value);
    }
}

}  // namespace

JsonObject CoveragePage(const std::string& page) {
    boost::system::error_code ec;
    Json parsed = boost::json::parse(page, ec);
    if (!ec && parsed.is_object()) return JsonObject{{"result", "ok"}, {"page", parsed}};

    const QString html = QString::fromStdString(page);
    const auto options = QRegularExpression::DotMatchesEverythingOption;
    JsonObject out{{"result", nullptr}};
    const auto result = QRegularExpression("<div id=\"coverage-result\"([^>]*)>", options).match(html);
    if (!result.hasMatch()) {
        out["text"] = Text(html);
        return out;
    }
    PutAttributes(out, result.captured(1));
    const auto product = QRegularExpression("<h2>(.*?)</h2>", options).match(html);
    if (product.hasMatch()) out["product"] = Text(product.captured(1));
    JsonObject coverage;
    QRegularExpression item("<li data-item=\"([^\"]+)\"([^>]*)>(.*?)</li>", options);
    for (auto match = item.globalMatch(html); match.hasNext();) {
        const auto found = match.next();
        JsonObject fields;
        PutAttributes(fields, found.captured(2));
        fields["text"] = Text(found.captured(3));
        coverage[Utf8(found.captured(1))] = std::move(fields);
    }
    if (!coverage.empty()) out["coverage"] = std::move(coverage);
    const auto error = QRegularExpression("<p class=\"error\">(.*?)</p>", options).match(html);
    if (error.hasMatch()) out["message"] = Text(error.captured(1));
    return out;
}

namespace {

int Coverage(Session& s, const Args& a) {
    auto device = s.Device("coverage", a[0]);
    if (!device) return kBadInput;
    const bool given = a.Has("--answer");
    const bool person = !given && isatty(STDIN_FILENO);
    return CoverageLookup(s, *device, person ? kTerminalAttempts : 1,
                          [&](const std::string& path, std::string& answer) {
                              if (given) {
                                  answer = a.Get("--answer");
                                  return true;
                              }
                              std::cerr << "captcha saved to " << path << std::endl;
                              if (person) ShowImage(path);
                              return Prompt("captcha answer: ", answer) && !answer.empty();
                          });
}

}  // namespace

int CoverageLookup(Session& s, CDeviceFile& device, int attempts,
                   const std::function<bool(const std::string& captchaPath, std::string& answer)>& answer) {
    if (!device.GetDeviceRecord())
        return s.Fail("coverage", "the device is not in normal mode (no serial number)");
    JsonObject page;
    std::string path;
    for (int attempt = 1; attempt <= attempts; ++attempt) {
        std::string captcha, cookie;
        bool ok = false;
        {
            QuietStderr quiet;
            ok = s.S().WarrantyVerify(&device, [&](const char* response, const char* c) {
                captcha = response ? response : "";
                cookie = c ? c : "";
            });
        }
        if (!ok)
            return s.Fail("coverage", "the coverage site did not hand out a captcha (is it reachable?)",
                          kFailed);
        std::string error;
        path = SaveImage(captcha, "captcha", error);
        if (path.empty()) return s.Fail("coverage", error, kFailed);
        std::string text;
        if (!answer(path, text))
            return s.Fail("coverage", "no captcha answer given (type it, or pass --answer)");

        bool answered = false;
        std::string body;
        {
            QuietStderr quiet;
            ok = s.S().WarrantySelect(&device, cookie.c_str(), text.c_str(), [&](const char* response) {
                body = response ? response : "";
                answered = true;
            });
        }
        if (!ok) return s.Fail("coverage", "the coverage site did not answer", kFailed);
        if (!answered)
            return s.Fail("coverage", "the coverage page carried no form token; nothing was asked", kFailed);
        page = CoveragePage(body);
        const Json& result = page.at("result");
        if (!result.is_string() || result.get_string() != "captcha") break;
        if (attempt < attempts) std::cerr << "The answer was wrong; here is a new captcha." << std::endl;
    }
    page["captcha"] = path;
    const Json& result = page.at("result");
    if (result.is_string() && result.get_string() != "ok") {
        const Json* message = page.if_contains("message");
        return s.FailWith("coverage", kFailed,
                          JsonObject{{"kind", "site"},
                                     {"code", nullptr},
                                     {"name", result},
                                     {"message", message && message->is_string()
                                                     ? *message
                                                     : Json("the coverage site refused: " +
                                                            std::string(result.get_string()))}});
    }
    s.Show(page);
    return kOk;
}

std::vector<Command> CoverageCommands() {
    return {
        {kGroupCoverage, "coverage", PELMOR_SOCKET_EDITION_STANDARD, "DEVICE [--answer TEXT]", "--answer=", 1,
         1,
         "look the handset up on the maker's coverage site (shows the captcha and asks for its answer, "
         "again when it was wrong)",
         Coverage},
    };
}

}  // namespace pelmor

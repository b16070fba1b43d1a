// The device maker's warranty-coverage site: captcha, the user's answer, and the coverage page.
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

// The site answers with a page; JSON is shown as it is, HTML as its visible text.
Json PageResult(const std::string& page) {
    boost::system::error_code ec;
    Json parsed = boost::json::parse(page, ec);
    if (!ec && parsed.is_object()) return parsed;
    QString text = QString::fromStdString(page);
    text.remove(QRegularExpression(
        "<(script|style)[^>]*>.*?</\\1>",
        QRegularExpression::DotMatchesEverythingOption | QRegularExpression::CaseInsensitiveOption));
    text.replace(QRegularExpression("<[^>]*>"), " ");
    text = text.simplified();
    return JsonObject{{"page", Utf8(text)}};
}

int Coverage(Session& s, const Args& a) {
    auto device = s.Device("coverage", a[0]);
    if (!device) return kBadInput;
    return CoverageLookup(s, *device, [&](const std::string& path, std::string& answer) {
        if (a.Has("--answer")) {
            if (!s.options().json) std::cout << "captcha saved to " << path << std::endl;
            answer = a.Get("--answer");
            return true;
        }
        std::cerr << "captcha saved to " << path << std::endl;
        return Prompt("captcha answer: ", answer) && !answer.empty();
    });
}

}  // namespace

int CoverageLookup(Session& s, CDeviceFile& device,
                   const std::function<bool(const std::string& captchaPath, std::string& answer)>& answer) {
    if (!device.GetDeviceRecord())
        return s.Fail("coverage", "the device is not in normal mode (no serial number)");
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
        return s.Fail("coverage", "the coverage site did not hand out a captcha (is it reachable?)", kFailed);
    std::string error;
    const std::string path = SaveImage(captcha, "captcha", error);
    if (path.empty()) return s.Fail("coverage", error, kFailed);
    std::string text;
    if (!answer(path, text)) return s.Fail("coverage", "no captcha answer given (type it, or pass --answer)");

    bool answered = false;
    std::string page;
    {
        QuietStderr quiet;
        ok = s.S().WarrantySelect(&device, cookie.c_str(), text.c_str(), [&](const char* response) {
            page = response ? response : "";
            answered = true;
        });
    }
    if (!ok) return s.Fail("coverage", "the coverage site did not answer", kFailed);
    if (!answered)
        return s.Fail("coverage", "the coverage page carried no form token; nothing was asked", kFailed);
    Json result = PageResult(page);
    if (result.is_object()) result.as_object()["captcha"] = path;
    s.Show(result);
    return kOk;
}

std::vector<Command> CoverageCommands() {
    return {
        {kGroupCoverage, "coverage", PELMOR_SOCKET_EDITION_STANDARD, "DEVICE [--answer TEXT]", "--answer=", 1,
         1, "look the handset up on the maker's coverage site (saves the captcha, asks for its answer)",
         Coverage},
    };
}

}  // namespace pelmor

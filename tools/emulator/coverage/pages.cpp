#include "emulator/coverage/pages.h"

#include <cstdio>

namespace pelmor::emulator::coverage {

namespace {

struct Texts {
    const char* lang;
    const char* locale;
    const char* title;
    const char* serial_label;
    const char* reload;
    const char* purchase;
    const char* purchase_ok;
    const char* support;
    const char* repair;
    const char* active;
    const char* expired;
    const char* expires;
};

const Texts kChinese{"zh-CN",
                     "zh_CN",
                     "查看您的保修服务和支持期限",
                     "序列号",
                     "会话已过期，请刷新验证码后重试。",
                     "有效购买日期",
                     "已验证",
                     "电话技术支持",
                     "硬件维修和服务期限",
                     "有效",
                     "已过期",
                     "预计到期日"};
const Texts kEnglish{"en-US",
                     "en_US",
                     "Check Your Service and Support Coverage",
                     "Serial Number",
                     "Your session has expired. Please load a new code and try again.",
                     "Valid Purchase Date",
                     "Validated",
                     "Telephone Technical Support",
                     "Repairs and Service Coverage",
                     "Active",
                     "Expired",
                     "Estimated Expiration Date"};

const Texts& texts(Region region) {
    return region == Region::cn ? kChinese : kEnglish;
}

std::string head(const Texts& t, const std::string& script) {
    return std::string("<!DOCTYPE html>\n<html lang=\"") + t.lang +
           "\">\n<head>\n<meta charset=\"utf-8\">\n<title>" + t.title + "</title>\n" + script +
           "</head>\n<body>\n";
}

}  // namespace

Page captcha_page(const std::string& answer) {
    std::string svg =
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"160\" height=\"60\" viewBox=\"0 0 160 60\">\n"
        "<rect width=\"160\" height=\"60\" fill=\"#f2f2f2\"/>\n"
        "<path d=\"M5 40 C40 5, 80 55, 155 20\" stroke=\"#9a9a9a\" fill=\"none\"/>\n";
    for (std::size_t i = 0; i < answer.size(); ++i) {
        char glyph[160];
        const int n = static_cast<int>(i);
        const int x = 20 + n * 34;
        const int tilt = n % 2 == 0 ? -12 + n * 3 : 10 - n * 2;
        std::snprintf(glyph, sizeof glyph,
                      "<text x=\"%d\" y=\"42\" font-size=\"32\" transform=\"rotate(%d %d 42)\">%c</text>\n",
                      x, tilt, x, answer[i]);
        svg += glyph;
    }
    svg += "</svg>\n";
    return Page{200, "image/svg+xml", std::move(svg)};
}

Page form_page(Region region, const std::string& serial, const std::string& token) {
    const Texts& t = texts(region);
    std::string script =
        std::string("<script>\n  window.coverageConfig = {\n    locale: \"") + t.locale + "\",\n";
    if (!token.empty()) script += "    csrfToken: \"" + token + "\",\n";
    script += "    captchaMode: \"image\"\n  };\n</script>\n";
    std::string body = head(t, script);
    if (token.empty()) body += std::string("<p class=\"notice\">") + t.reload + "</p>\n";
    body += std::string("<form method=\"post\">\n<label>") + t.serial_label +
            " <input name=\"sno\" value=\"" + serial +
            "\"></label>\n<img src=\"/gc?t=image\" alt=\"captcha\">\n<input name=\"ans\">\n"
            "<input type=\"hidden\" name=\"captchaMode\" value=\"image\">\n</form>\n</body>\n</html>\n";
    return Page{200, "text/html; charset=utf-8", std::move(body)};
}

Page result_page(Region region, const std::string& serial, const Warranty& warranty, std::int64_t now_ms) {
    const Texts& t = texts(region);
    const bool repair_active = days_left(warranty, now_ms) > 0;
    const bool support_active = emulator::support_active(warranty, now_ms);
    const std::string& date = warranty.coverage_end;

    std::string body = head(t, "");
    body += "<div id=\"coverage-result\" data-result=\"ok\" data-serial=\"" + serial +
            "\">\n<h2>iPhone</h2>\n<p>" + t.serial_label + ": " + serial + "</p>\n<ul>\n";
    body += "<li data-item=\"purchase\" data-date=\"" + warranty.purchase + "\">" + t.purchase + ": " +
            t.purchase_ok + "</li>\n";
    body += std::string("<li data-item=\"support\" data-active=\"") + (support_active ? "true" : "false") +
            "\">" + t.support + ": " + (support_active ? t.active : t.expired) + "</li>\n";
    body += std::string("<li data-item=\"repair\" data-active=\"") + (repair_active ? "true" : "false") +
            "\" data-expires=\"" + date + "\">" + t.repair + ": " + (repair_active ? t.active : t.expired) +
            (repair_active ? std::string(", ") + t.expires + " " + date : std::string()) + "</li>\n";
    body += "</ul>\n</div>\n</body>\n</html>\n";
    return Page{200, "text/html; charset=utf-8", std::move(body)};
}

const char* refusal_name(Refusal refusal) {
    switch (refusal) {
        case Refusal::host:
            return "host";
        case Refusal::referer:
            return "referer";
        case Refusal::session:
            return "session";
        case Refusal::token:
            return "token";
        case Refusal::form:
            return "form";
        case Refusal::serial:
            return "serial";
        case Refusal::captcha:
            return "captcha";
    }
    return "unknown";
}

Page refusal_page(Region region, Refusal refusal) {
    const bool zh = region == Region::cn;
    int status = 200;
    const char* message = "";
    switch (refusal) {
        case Refusal::host:
            status = 421;
            message = zh ? "请求的主机名无效。" : "The request was sent to the wrong host.";
            break;
        case Refusal::referer:
            status = 403;
            message = zh ? "请求来源无效。" : "The request did not come from this site.";
            break;
        case Refusal::session:
            status = 403;
            message = zh ? "会话已过期，请刷新验证码后重试。" : "Your session has expired. Please try again.";
            break;
        case Refusal::token:
            status = 403;
            message =
                zh ? "页面已过期，请刷新后重试。" : "This page has expired. Please reload it and try again.";
            break;
        case Refusal::form:
            status = 400;
            message = zh ? "请求不完整。" : "The request is incomplete.";
            break;
        case Refusal::serial:
            message = zh ? "请输入有效的序列号。" : "Please enter a valid serial number.";
            break;
        case Refusal::captcha:
            message =
                zh ? "验证码不正确，请重试。" : "The code you entered does not match. Please try again.";
            break;
    }
    std::string body = head(texts(region), "");
    body += std::string("<div id=\"coverage-result\" data-result=\"") + refusal_name(refusal) +
            "\">\n<p class=\"error\">" + message + "</p>\n</div>\n</body>\n</html>\n";
    return Page{status, "text/html; charset=utf-8", std::move(body)};
}

Page not_found_page() {
    return Page{404, "text/html; charset=utf-8",
                "<!DOCTYPE html>\n<html><body><p>Not Found</p></body></html>\n"};
}

}  // namespace pelmor::emulator::coverage

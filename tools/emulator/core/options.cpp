#include "emulator/core/options.h"

#include <charconv>
#include <sstream>

#ifndef PELMOR_SERVICE_HOST
#define PELMOR_SERVICE_HOST "127.0.0.1:18090"
#endif
#ifndef PELMOR_COVERAGE_HOST
#define PELMOR_COVERAGE_HOST "127.0.0.1:18443"
#endif

namespace pelmor::emulator {

const char* compiled_service_host() {
    return PELMOR_SERVICE_HOST;
}
const char* compiled_coverage_host() {
    return PELMOR_COVERAGE_HOST;
}

namespace {

bool parse_number(const std::string& text, long long min, long long max, long long& out) {
    long long value = 0;
    const char* end = text.data() + text.size();
    auto [ptr, ec] = std::from_chars(text.data(), end, value);
    if (ec != std::errc() || ptr != end || text.empty() || value < min || value > max) return false;
    out = value;
    return true;
}

}  // namespace

int port_of_host(const std::string& host_port) {
    // A bracketed IPv6 literal has colons of its own; the port follows the closing bracket.
    const auto bracket = host_port.rfind(']');
    const auto colon = host_port.rfind(':');
    if (colon == std::string::npos || (bracket != std::string::npos && colon < bracket)) return 80;
    long long port = 0;
    if (!parse_number(host_port.substr(colon + 1), 1, 65535, port)) return 80;
    return static_cast<int>(port);
}

Options default_options() {
    Options options;
    options.port = port_of_host(compiled_service_host());
    options.coverage_port = port_of_host(compiled_coverage_host());
    return options;
}

ParseResult parse_options(const std::vector<std::string>& args) {
    ParseResult result;
    result.options = default_options();
    Options& o = result.options;

    auto fail = [&](std::string message) {
        result.outcome = ParseOutcome::error;
        result.error = std::move(message);
        return result;
    };

    for (std::size_t i = 0; i < args.size(); ++i) {
        std::string name = args[i];
        std::string value;
        bool has_value = false;
        if (const auto eq = name.find('='); name.rfind("--", 0) == 0 && eq != std::string::npos) {
            value = name.substr(eq + 1);
            name = name.substr(0, eq);
            has_value = true;
        }
        auto take_value = [&]() -> bool {
            if (has_value) return true;
            if (i + 1 >= args.size()) return false;
            value = args[++i];
            return true;
        };
        auto number = [&](long long min, long long max, long long& out) -> bool {
            return take_value() && parse_number(value, min, max, out);
        };
        long long n = 0;

        if (name == "-h" || name == "--help") {
            result.outcome = ParseOutcome::help;
            return result;
        } else if (name == "-q" || name == "--quiet") {
            o.quiet = true;
        } else if (name == "-p" || name == "--port") {
            if (!number(0, 65535, n)) return fail("--port needs a number from 0 to 65535");
            o.port = static_cast<int>(n);
        } else if (name == "--coverage-port") {
            if (take_value() && value == "off") {
                o.coverage_port = -1;
            } else if (!parse_number(value, 0, 65535, n)) {
                return fail("--coverage-port needs a number from 0 to 65535 or 'off'");
            } else {
                o.coverage_port = static_cast<int>(n);
            }
        } else if (name == "--bind") {
            if (!take_value() || value.empty()) return fail("--bind needs an address");
            o.bind_address = value;
        } else if (name == "--threads") {
            if (!number(1, 1024, n)) return fail("--threads needs a number from 1 to 1024");
            o.threads = static_cast<std::size_t>(n);
        } else if (name == "--keep-alive-max") {
            if (!number(1, 1000000000, n)) return fail("--keep-alive-max needs a positive number");
            o.keep_alive_max = static_cast<std::size_t>(n);
        } else if (name == "--keep-alive-timeout") {
            if (!number(1, 3600, n)) return fail("--keep-alive-timeout needs seconds from 1 to 3600");
            o.keep_alive_timeout_s = static_cast<int>(n);
        } else if (name == "--io-timeout") {
            if (!number(1, 3600, n)) return fail("--io-timeout needs seconds from 1 to 3600");
            o.io_timeout_s = static_cast<int>(n);
        } else if (name == "--log-limit") {
            if (!number(0, 100000000, n)) return fail("--log-limit needs a number (0 keeps no entries)");
            o.log_limit = static_cast<std::size_t>(n);
        } else {
            return fail("unknown option '" + args[i] + "'");
        }
    }
    return result;
}

std::string usage_text(const std::string& program) {
    const Options d = default_options();
    std::ostringstream out;
    out << "Usage: " << program << " [options]\n"
        << "\n"
        << "Local stand-in for the Pelmor web service: answers the standard address\n"
        << "(POST /modules/app/api.do), the enterprise address (POST /brisel-ent/api<suffix>) and\n"
        << "the fallback address (POST /) with encrypted reply envelopes, so that libPelmorSocket and\n"
        << "its hosts can be developed and tested offline. Built for service host " << compiled_service_host()
        << "\n(coverage-site host " << compiled_coverage_host() << ").\n"
        << "\n"
        << "Options:\n"
        << "  -p, --port N              port to listen on (default " << d.port
        << ", the compiled service host's port;\n"
        << "                            0 picks a free port)\n"
        << "      --coverage-port N     HTTPS port of the coverage site (default " << d.coverage_port
        << ", the compiled\n"
        << "                            coverage host's port; 0 picks a free port, 'off' serves none)\n"
        << "      --bind ADDR           address to listen on (default " << d.bind_address << ")\n"
        << "  -q, --quiet               no per-request line on stderr\n"
        << "      --threads N           worker threads; each open keep-alive connection holds one\n"
        << "                            (default " << d.threads << ")\n"
        << "      --keep-alive-max N    requests served on one connection before it is closed (default "
        << d.keep_alive_max << ")\n"
        << "      --keep-alive-timeout S  seconds an idle keep-alive connection stays open (default "
        << d.keep_alive_timeout_s << ")\n"
        << "      --io-timeout S        read and write time-out within a request (default " << d.io_timeout_s
        << ")\n"
        << "      --log-limit N         service requests kept for /_emulator/log, oldest dropped first\n"
        << "                            (default " << d.log_limit << ")\n"
        << "  -h, --help                this text\n"
        << "\n"
        << "On start the line 'listening on http://ADDR:PORT' is printed on stdout, then, unless the\n"
        << "coverage site is off, 'coverage site on https://ADDR:PORT'. SIGINT or SIGTERM\n"
        << "stops the server and exits with 0; a port that cannot be bound exits with 1, bad options\n"
        << "with 2.\n"
        << "\n"
        << "Service answers: always HTTP 200 with an encrypted reply envelope\n"
        << "  {\"code\",\"token\",\"error\",\"msg\",\"timestamp\",\"data\"}. Code 0 is success. Refusals:\n"
        << "  40001 BAD_REQUEST_BODY      body is not a valid encrypted envelope\n"
        << "  40002 INVALID_DOCUMENT      request document lacks method/params/source/token/version\n"
        << "  40401 METHOD_NOT_FOUND      standard method not known\n"
        << "  40402 PATH_NOT_FOUND        enterprise path not known\n"
        << "  40403 ADDRESS_NOT_FOUND     request to the fallback address /\n"
        << "  50001 INTERNAL_ERROR        a handler failed\n"
        << "  Other paths answer HTTP 404, other HTTP methods on a service address HTTP 405 (plain text).\n"
        << "\n"
        << "Control surface (same port, JSON, never logged):\n"
        << "  GET  /_emulator/health    200 'ok'\n"
        << "  GET  /_emulator/log       array of service requests in arrival order, each\n"
        << "                            {seq, http_method, target, path, address, operation, headers,\n"
        << "                             body, document, decode_error, script, response}; address is\n"
        << "                            standard, enterprise, fallback, other, http (probes) or coverage;\n"
        << "                            operation is the standard method, the enterprise suffix as\n"
        << "                            received or the coverage step; response is {status, reply, note}\n"
        << "                            (null while the answer is on its way), script the id of the\n"
        << "                            script that answered (null: the built-in behaviour)\n"
        << "       ?http_method=M&path=P&method=OP&address=A&after=SEQ  only the entries that match all\n"
        << "  POST /_emulator/log/clear empty the log (seq restarts at 1); scripts and state stay\n"
        << "  POST /_emulator/reset     clear the log, the pending scripts and all service state, and\n"
        << "                            set the clock back to real time\n"
        << "  POST /_emulator/script    queue a scripted answer (see below), or an array of them (all\n"
        << "                            or none); 200 {\"id\" or \"ids\",\"pending\"}, 400 {\"error\"}\n"
        << "  GET  /_emulator/scripts   pending scripts with their remaining counts\n"
        << "  DELETE /_emulator/scripts/ID  withdraw a pending script; 404 when there is none\n"
        << "  GET  /_emulator/operations  every name a script can match, by kind\n"
        << "  GET  /_emulator/clock     {now (ms since the epoch), utc, offsetMs}: the time every answer\n"
        << "                            uses (token and SMS expiry, bills, orders, warranty days)\n"
        << "  POST /_emulator/clock     {\"now\": ms or \"YYYY-MM-DDThh:mm:ssZ\"} sets it (it keeps\n"
        << "                            running), {\"real\": true} goes back to real time\n"
        << "  POST /_emulator/clock/advance  {\"ms\"|\"seconds\"|\"minutes\"|\"hours\"|\"days\": N} moves it "
           "on\n"
        << "  A POST without a body (curl -X POST) counts as {}.\n"
        << "\n"
        << "HTTP probes (service port, plain text, logged with address \"http\", any method):\n"
        << "  /_emulator/http/echo      200, JSON text {method, target, headers, body} of the request\n"
        << "  /_emulator/http/final     200 'final body'\n"
        << "  /_emulator/http/redirect  302 to /_emulator/http/final, with the body 'redirect body'\n"
        << "  /_emulator/http/empty     200 with a body of zero bytes\n"
        << "  /_emulator/http/zero      200 'before', a zero byte, 'after'\n"
        << "  /_emulator/http/slow?ms=N 200 'slow body' after N ms (default 1000, at most 60000)\n"
        << "  /_emulator/http/status?code=N  status N (200 to 599) with the body 'status N'\n"
        << "\n"
        << "Coverage site (HTTPS on --coverage-port, self-signed certificate made at start; logged with\n"
        << "address \"coverage\" and operation captcha, page, answer or other):\n"
        << "  GET  /gc?t=image&timestamp=N  captcha as SVG text; without a known cv_sid cookie a new\n"
        << "                            session, announced by four Set-Cookie lines in mixed spellings\n"
        << "  GET  /cn/zh/?sn=S, /us/eh/?sn=S  coverage form (Chinese, English); with a known session\n"
        << "                            its script carries csrfToken: \"<token>\", else no token\n"
        << "  POST the same address     form sno, ans, captchaMode=image, CSRFToken; needs Host "
        << compiled_coverage_host() << ",\n"
        << "                            a Referer on that site, the session cookie, the session's token,\n"
        << "                            sno equal to sn and the captcha answer (any case, one attempt per\n"
        << "                            captcha); answers a page whose data-result is ok, or host, referer,\n"
        << "                            session, form, token, serial or captcha\n"
        << "  GET  /_emulator/coverage/captcha[?session=ID]  (service port) {session, cookie, answer,\n"
        << "                            token, captchas} of the newest (or that) session; 404 before any\n"
        << "\n"
        << "Feedback: POST /_emulator/feedback/reply {\"ecid\",\"message\"} answers a device's objection\n"
        << "  (device.check.feedbackReply then reports result true); 404 when the device has none.\n"
        << "\n"
        << "Standard accounts, devices and professional reports:\n"
        << "  GET  /_emulator/sms[?mobile=M]  the latest SMS code sent to M {mobile, no, code, method,\n"
        << "                            issuedAt, used} (404 if none), or every code sent; codes also\n"
        << "                            go to stderr; they last 5 minutes and 5 wrong tries\n"
        << "  POST /_emulator/wx/scan   {\"key\"?, \"openId\"?, \"nickname\"?, \"avatar\"?} a phone scans "
           "the\n"
        << "                            QR code of key (default: the newest unscanned); login.wx.user then\n"
        << "                            answers the profile instead of refusing 40104 WX_NOT_SCANNED\n"
        << "  GET  /_emulator/census    usage counts of count.clientFunction\n"
        << "  GET  /_emulator/factory   handsets on file ($PELMOR_EMULATOR_FACTORY or data/factory.json)\n"
        << "  GET  /_emulator/locks     lock states reported by idLock.status and iCloud.status\n"
        << "  POST /_emulator/pay       {\"tradeNo\"?} pays the order (default: the newest unpaid one)\n"
        << "  GET|POST /_emulator/pay/auto  {\"polls\": N} orders pay themselves on their N-th poll of\n"
        << "                            device.checkPro.order (default 3; 0 never)\n"
        << "  GET  /_emulator/orders    every payment order\n"
        << "  Referral code PELMOR (or another user's \"PM<uid>\") unlocks the HARDDISK right. Refusals:\n"
        << "  40003 PARAM_MISSING, 40004 PARAM_INVALID, 40005 DEVICE_INFO_INCOMPLETE, 40101\n"
        << "  TOKEN_INVALID, 40102 SMS_CODE_WRONG, 40103 SMS_CODE_EXPIRED, 40104 WX_NOT_SCANNED,\n"
        << "  40105 WX_KEY_INVALID, 40106 WX_UNKNOWN, 40107 WX_NOT_BOUND, 40108 MOBILE_TAKEN,\n"
        << "  40109 REFERRAL_INVALID, 40201 NOT_PAID, 40202 NO_PROFESSIONAL_REPORT, 40410\n"
        << "  MESSAGE_NOT_FOUND, 40420 DEVICE_NOT_FOUND, 40430 ORDER_NOT_FOUND, 50002 FACTORY_DATA_ERROR.\n"
        << "\n"
        << "Enterprise service (/brisel-ent/api<path>): log in at /login as demo, password demo1234\n"
        << "  (balance 100.00), or as trial, password trial1234 (balance 0.20); every other path needs\n"
        << "  the token it answers. Paths, answers and refusals: tools/emulator/README.md.\n"
        << "\n"
        << "Script object:\n"
        << "  \"match\": \"client.config\" | \"/login\" | \"cms.token.refresh\" | \"coverage:answer\" | "
           "\"*\"\n"
        << "                            (required; a name the emulator does not know is refused)\n"
        << "  \"times\": N (default 1)    number of requests it answers\n"
        << "  \"delay_ms\": N             wait before answering\n"
        << "  and at most one action (none with delay_ms: answer normally after the delay):\n"
        << "  \"reply\": {...}            this JSON, encrypted, exactly as given (keys may be missing)\n"
        << "  \"status\": N, \"body\": \"..\" raw HTTP status and unencrypted body\n"
        << "  \"undecryptable\": true     HTTP 200 whose body is not Base64 of an envelope\n"
        << "  \"not_json\": true          HTTP 200, valid envelope, plaintext not JSON\n"
        << "  \"drop\": true              HTTP 200 head and half the body sent, then the connection is\n"
        << "                            closed (libcurl: 'transfer closed with N bytes remaining to\n"
        << "                            read'; exactly one request, libcurl does not retry)\n"
        << "  \"drop\": \"empty\"           connection closed before any byte of the response (libcurl:\n"
        << "                            'Empty reply from server'; on a reused keep-alive connection\n"
        << "                            libcurl first retries once on a new one: use \"times\": 2)\n"
        << "Scripts are taken first come first served by the next request whose operation equals\n"
        << "\"match\" (or any service request for \"*\"); they win over the built-in handlers. The coverage\n"
        << "site's steps coverage:captcha, coverage:page and coverage:answer take only \"status\",\n"
        << "\"drop\" and \"delay_ms\".\n";
    return out.str();
}

}  // namespace pelmor::emulator

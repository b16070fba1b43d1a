#pragma once

#include "emulator/core/context.h"

#include <memory>
#include <string>
#include <thread>

namespace httplib {
class SSLServer;
}

namespace pelmor::emulator {

// A stand-in for the device maker's warranty-coverage web site, served over HTTPS with a certificate
// made at start:
//   GET  /gc?t=image&timestamp=N   a captcha (SVG text); a visitor without a session gets one, with
//                                  cookies whose attributes come in mixed spellings
//   GET  /cn/zh/?sn=S, /us/eh/?sn=S the coverage form, with the session's CSRF token in its script
//   POST /cn/zh/?sn=S, /us/eh/?sn=S sno, ans, captchaMode=image and CSRFToken, checked against the
//                                  session cookie, Host and Referer; answers a coverage page
// Requests are logged in the service's request log with address "coverage". The control endpoint
// coverage/captcha tells tests the captcha answer.
class CoverageSite {
  public:
    explicit CoverageSite(Context& ctx);  // registers the control endpoint on ctx.router
    ~CoverageSite();
    CoverageSite(const CoverageSite&) = delete;
    CoverageSite& operator=(const CoverageSite&) = delete;

    // Makes the certificate and binds; port 0 picks a free port. On failure says why in error.
    bool bind(const std::string& address, int port, std::string& error);
    int port() const { return port_; }

    // Serves on a thread of its own until stop(); join() waits for that thread.
    void start();
    void stop();
    void join();

  private:
    Context& ctx_;
    std::unique_ptr<httplib::SSLServer> server_;
    std::thread thread_;
    int port_ = 0;
};

}  // namespace pelmor::emulator

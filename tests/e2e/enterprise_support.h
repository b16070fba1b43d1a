#pragma once

// Shared by the enterprise end-to-end tests: the service object made as a host makes it, a freshly reset
// emulator, sample devices, and the request documents as the emulator logged them.
#include <gtest/gtest.h>
#include <pelmor/ISocketFeedback.h>
#include <pelmor/PelmorSocket.h>
#include <pelmor/Records.h>

#include <memory>
#include <string>

#include "DeviceFile.h"
#include "EmulatorControl.h"
#include "SampleDevices.h"

namespace enterprise_test {

inline constexpr char kDemo[] = "demo";
inline constexpr char kDemoPassword[] = "demo1234";

struct ReplyRelease {
    void operator()(ISocketReply* reply) const {
        if (reply) reply->Release();
    }
};
using Reply = std::unique_ptr<ISocketReply, ReplyRelease>;

class Form : public ISocketFeedback {
  public:
    const char* GetContactId() override { return "qq 800012345"; }
    const char* GetMessage() override { return "报告里的电池一项不对"; }
    const char* GetOsVersion() override { return "macOS 14.1"; }
    const char* GetItunesVersion() override { return "12.13.1"; }
    const char* GetMobileName() override { return "Zoë's iPhone"; }
    const char* GetEcid() override { return "000E2D4C1B3A5968"; }
};

// The edition and the token are settings of the whole process: every test starts from the enterprise
// object with no token, and leaves the standard edition behind with no object and no token.
class EnterpriseTest : public ::testing::Test {
  protected:
    void SetUp() override {
        EmulatorControl::Reset();
        ASSERT_TRUE(_07E1B4A0_9C19_4E0D_9C9E_DB8DE5EA4D5F(PELMOR_SOCKET_EDITION_ENTERPRISE,
                                                          XString(L"Brisel"), XString(L"4.0.0")));
        service = _402FB360_0FB0_4ECD_B608_D2D254A998B7();
        ASSERT_NE(service, nullptr);
        service->SetToken(XString());
    }

    void TearDown() override {
        service->SetToken(XString());
        _3038522B_2CCC_469F_A114_481207ED3475();
        _07E1B4A0_9C19_4E0D_9C9E_DB8DE5EA4D5F(PELMOR_SOCKET_EDITION_STANDARD, XString(L"Brisel"),
                                              XString(L"4.0.0"));
        _3038522B_2CCC_469F_A114_481207ED3475();
    }

    // Logs in through the library and returns the token it stored.
    std::string LogIn(const char* account = kDemo, const char* password = kDemoPassword) {
        Reply reply(service->TokenCreate(account, password, [](const wchar_t*, unsigned long long) {}));
        EXPECT_TRUE(reply && reply->IsSuccess()) << account;
        return Token();
    }

    std::string Token() { return service->GetToken().ToUtf8(); }

    // The request document as the path form carries it, with the settings the fixture uses.
    static std::string Document(const std::string& params, const std::string& token) {
        return R"({"params":)" + params + R"(,"source":"Brisel","token":")" + token +
               R"(","version":"4.0.0"})";
    }

    PelmorSocketInterface* service = nullptr;
};

}  // namespace enterprise_test

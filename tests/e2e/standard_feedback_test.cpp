// The standard edition's feedback operations against the emulator: the documents they send and what
// reaches their callbacks.
#include <gtest/gtest.h>
#include <pelmor/HalvexReply.h>
#include <pelmor/ISocketFeedback.h>
#include <pelmor/ISocketReply.h>
#include <pelmor/platform/XSystem.h>
#include <pelmor/records/VerifyFeedbackReply.h>

#include "DeviceFile.h"
#include "EmulatorControl.h"
#include "SampleDevices.h"
#include "standard/PelmorSocketStandard.h"

namespace {

class Form : public ISocketFeedback {
  public:
    std::string contact = "13800138000", message = "报告里的电池健康不对", os = "macOS 12.6",
                itunes = "12.12.4", mobile = "Zoë's iPhone", ecid = "3987401270446440";
    const char* GetContactId() override { return contact.c_str(); }
    const char* GetMessage() override { return message.c_str(); }
    const char* GetOsVersion() override { return os.c_str(); }
    const char* GetItunesVersion() override { return itunes.c_str(); }
    const char* GetMobileName() override { return mobile.c_str(); }
    const char* GetEcid() override { return ecid.c_str(); }
};

// Frees the reply at the end of the scope.
struct Reply {
    ISocketReply* reply;
    ~Reply() {
        if (reply) reply->Release();
    }
    ISocketReply* operator->() const { return reply; }
};

class StandardFeedback : public ::testing::Test {
  protected:
    void SetUp() override {
        EmulatorControl::Reset();
        device = LoadDevice("normal-complete");
        ASSERT_TRUE(device);
    }

    static XJson LastDocument() { return EmulatorControl::LastRequest()["document"]; }

    PelmorSocketStandard service{PELMOR_SOCKET_EDITION_STANDARD, XString(L"FeedbackTest"), XString(L"4.0.0")};
    std::unique_ptr<CDeviceFile> device;
};

TEST_F(StandardFeedback, FeedbackSendsTheFormsSixTextsAndHandsBackTheReplysMessage) {
    Form form;
    std::vector<QString> heard;
    Reply reply{service.Feedback(&form, [&](QString message) { heard.push_back(message); })};
    ASSERT_TRUE(reply->IsSuccess()) << reply->Code();
    ASSERT_EQ(heard.size(), 1u);
    // The reply's message text, which for a success without an error name is the general fallback.
    EXPECT_EQ(heard[0], reply->Message());
    EXPECT_EQ(heard[0], QString::fromUtf8("未知错误，请稍候重试"));
    const XJson document = LastDocument();
    EXPECT_EQ(document.ToString("method"), "user.feedback");
    EXPECT_EQ(document["params"].ToJson(),
              R"({"contactId":"13800138000","message":"报告里的电池健康不对","osVer":"macOS 12.6",)"
              R"("itunesVer":"12.12.4","mobName":"Zoë's iPhone","ecid":"3987401270446440"})");

    // A refusal still reaches the callback, with the service's own sentence.
    form.message.clear();
    heard.clear();
    Reply refused{service.Feedback(&form, [&](QString message) { heard.push_back(message); })};
    EXPECT_FALSE(refused->IsSuccess());
    ASSERT_EQ(heard.size(), 1u);
    EXPECT_EQ(heard[0], refused->Message());
    EXPECT_TRUE(heard[0].contains("message"));

    // A failed exchange does not.
    EmulatorControl::Script(R"({"match":"user.feedback","status":502})");
    heard.clear();
    Reply failed{service.Feedback(&form, [&](QString message) { heard.push_back(message); })};
    EXPECT_FALSE(failed->IsSuccess());
    EXPECT_TRUE(heard.empty());
}

TEST_F(StandardFeedback, AnObjectionCarriesTheDeviceAndThisComputersVersions) {
    Reply reply{service.VerifyFeedback(device.get(), XString(L"屏幕不是原装的吗？"))};
    EXPECT_TRUE(reply->IsSuccess()) << reply->Code();
    const XJson document = LastDocument();
    EXPECT_EQ(document.ToString("method"), "device.check.feedback");
    XJson expected;
    expected.Add("ecid", PelmorSocketHelper::DeviceToECID(device.get()).ToUtf8());
    expected.Add("name", "Zoë's iPhone");
    expected.Add("message", "屏幕不是原装的吗？");
    expected.Add("osVer", XSystem::NativeString().ToUtf8());
    expected.Add("itunesVer", XApple::ITunesVersionString().ToUtf8());
    EXPECT_EQ(document["params"].ToJson(), expected.ToJson());
    EXPECT_NE(document["params"].ToString("osVer"), "") << "the computer's system is always known";
}

TEST_F(StandardFeedback, TheServicesAnswerToAnObjectionArrivesOnceGiven) {
    auto ask = [&] {
        std::vector<XSocketInfoVerifyFeedbackReply> answers;
        Reply reply{service.VerifyFeedbackReply(
            device.get(), [&](const XSocketInfoVerifyFeedbackReply& answer) { answers.push_back(answer); })};
        EXPECT_TRUE(reply->IsSuccess());
        EXPECT_EQ(answers.size(), 1u);
        return answers.empty() ? XSocketInfoVerifyFeedbackReply(XJson()) : answers[0];
    };
    const XSocketInfoVerifyFeedbackReply none = ask();
    EXPECT_FALSE(none.GetResult());
    EXPECT_EQ(none.GetFeedbackMessage(), XString());
    const std::string ecid = PelmorSocketHelper::DeviceToECID(device.get()).ToUtf8();
    EXPECT_EQ(LastDocument().ToString("method"), "device.check.feedbackReply");
    EXPECT_EQ(LastDocument()["params"].ToJson(), R"({"ecid":")" + ecid + R"("})");

    Reply objection{service.VerifyFeedback(device.get(), XString(L"电池是换过的？"))};
    const XSocketInfoVerifyFeedbackReply pending = ask();
    EXPECT_FALSE(pending.GetResult());
    EXPECT_EQ(pending.GetFeedbackMessage(), XString(L"电池是换过的？"));
    EXPECT_EQ(pending.GetFeedbackDate().size(), 19u) << "YYYY-MM-DD hh:mm:ss";

    ASSERT_EQ(EmulatorControl::Post("/_emulator/feedback/reply",
                                    R"({"ecid":")" + ecid + R"(","message":"经复核，电池为原装。"})"),
              200);
    const XSocketInfoVerifyFeedbackReply answered = ask();
    EXPECT_TRUE(answered.GetResult());
    EXPECT_EQ(answered.GetReplyMessage(), XString(L"经复核，电池为原装。"));
    EXPECT_EQ(answered.GetFeedbackDate(), pending.GetFeedbackDate());
}

TEST_F(StandardFeedback, MissingArgumentsSendNothing) {
    Form form;
    auto heard = [](QString) { ADD_FAILURE() << "called back"; };
    auto answered = [](const XSocketInfoVerifyFeedbackReply&) { ADD_FAILURE() << "called back"; };
    for (ISocketReply* reply :
         {service.Feedback(nullptr, heard), service.Feedback(&form, nullptr),
          service.VerifyFeedback(nullptr, XString(L"x")), service.VerifyFeedbackReply(nullptr, answered),
          service.VerifyFeedbackReply(device.get(), nullptr)}) {
        ASSERT_NE(reply, nullptr);
        EXPECT_EQ(reply->Code(), HALVEX_REPLY_INVALID_ARG);
        reply->Release();
    }
    EXPECT_EQ(EmulatorControl::Log().GetArraySize(), 0u);
}

}  // namespace

// The encrypted channel and the configuration fetch against the running emulator.
#include <gtest/gtest.h>
#include <pelmor/HalvexHTTP.h>
#include <pelmor/PelmorSocket.h>

#include "EmulatorControl.h"
#include "frame/PelmorSocketHelper.h"

namespace {

class Channel : public ::testing::Test {
  protected:
    void SetUp() override { EmulatorControl::Reset(); }

    // Posts a configuration request to the standard address and returns what the reply holds.
    static bool Post(HalvexReply& reply) {
        return HalvexHTTP::POST(&reply, PelmorSocketHelper::RequestAddress(), "client.config", XJson());
    }
};

TEST_F(Channel, LocalFailuresBecomeCodesOneToFive) {
    struct Case {
        const char* script;
        int code;
    } cases[] = {
        {R"({"match":"client.config","status":502,"body":"bad gateway"})", HALVEX_REPLY_CONNECT_ERROR},
        {R"({"match":"client.config","status":504})", HALVEX_REPLY_CONNECT_ERROR},
        {R"({"match":"client.config","status":500,"body":"oops"})", HALVEX_REPLY_HTTP_ERROR},
        {R"({"match":"client.config","status":404})", HALVEX_REPLY_HTTP_ERROR},
        {R"({"match":"client.config","undecryptable":true})", HALVEX_REPLY_DECRYPT_ERROR},
        {R"({"match":"client.config","not_json":true})", HALVEX_REPLY_DECRYPT_ERROR},
        {R"({"match":"client.config","drop":true})", HALVEX_REPLY_HTTP_ERROR},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.script);
        EmulatorControl::Script(c.script);
        HalvexReply reply;
        EXPECT_FALSE(Post(reply));
        EXPECT_EQ(reply.Code(), c.code);
        EXPECT_TRUE(reply.Data().IsEmpty());
    }
    EXPECT_EQ(EmulatorControl::Log().GetArraySize(), std::size(cases))
        << "each case sends exactly one request";

    HalvexReply refused;
    EXPECT_FALSE(HalvexHTTP::POST(&refused, XString(L"http://127.0.0.1:9/"), "client.config", XJson()));
    EXPECT_EQ(refused.Code(), HALVEX_REPLY_HTTP_ERROR);
    EXPECT_EQ(refused.Message(),
              QString::fromUtf8("服务器连接失败，可能服务正在维护或网络异常，请稍后再试！"));
}

TEST_F(Channel, InvalidArgumentsSendNothing) {
    HalvexReply reply;
    EXPECT_FALSE(HalvexHTTP::POST(nullptr, PelmorSocketHelper::RequestAddress(), "client.config", XJson()));
    EXPECT_FALSE(HalvexHTTP::POST(&reply, XString(), "client.config", XJson()));
    EXPECT_EQ(reply.Code(), HALVEX_REPLY_INVALID_ARG);
    EXPECT_EQ(EmulatorControl::Log().GetArraySize(), 0u);
}

TEST_F(Channel, ServiceRefusalIsAStoredReply) {
    EmulatorControl::Script(
        R"({"match":"client.config","reply":{"code":1,"token":"t","error":"SERVICE_BUSY","msg":"稍后再试","timestamp":17,"data":{"retry":3}}})");
    HalvexReply reply;
    EXPECT_TRUE(Post(reply));
    EXPECT_FALSE(reply.IsSuccess());
    EXPECT_EQ(reply.Code(), 1);
    EXPECT_EQ(reply.Error(), QString("SERVICE_BUSY"));
    EXPECT_EQ(reply.Message(), QString::fromUtf8("稍后再试"));
    EXPECT_EQ(reply.Token(), QString("t"));
    EXPECT_EQ(reply.Timestamp(), 17);
    EXPECT_EQ(reply.Data().ToInt("retry"), 3);
}

TEST_F(Channel, BaseAndPathAreJoinedWithNothingBetween) {
    const XString base = XString::FromUtf8("http://" PELMOR_SERVICE_HOST "/brisel-ent/api");
    HalvexReply reply;
    HalvexHTTP::POST(&reply, base, XString(L"cms.token.refresh"), XJson());
    HalvexHTTP::POST(&reply, base, XString(L"/login"), XJson());
    const XJson log = EmulatorControl::Log();
    ASSERT_EQ(log.GetArraySize(), 2u);
    EXPECT_EQ(log[0u].ToString("path"), "/brisel-ent/apicms.token.refresh");
    EXPECT_EQ(log[0u].ToString("operation"), "cms.token.refresh");
    EXPECT_EQ(log[1u].ToString("path"), "/brisel-ent/api/login");
    EXPECT_FALSE(log[1u]["document"].Contains("method")) << "the path form names no method";
}

TEST_F(Channel, ConfigurationFetchHandsOverTheReplyData) {
    std::string received;
    int calls = 0;
    HalvexReply* reply = _7374312F_0CF9_4A1A_B7C5_2B98C48CA64D([&](const QByteArray& data) {
        ++calls;
        received = data.toStdString();
    });
    ASSERT_NE(reply, nullptr);
    EXPECT_TRUE(reply->IsSuccess());
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(received, reply->Data().ToJson());
    EXPECT_FALSE(XJson(received).IsEmpty());
    reply->Release();

    // A refusal still calls back, with whatever data it carried.
    EmulatorControl::Script(
        R"({"match":"client.config","reply":{"code":40301,"error":"NO_CLIENT","msg":"x","data":{"why":"old"}}})");
    reply =
        _7374312F_0CF9_4A1A_B7C5_2B98C48CA64D([&](const QByteArray& data) { received = data.toStdString(); });
    EXPECT_EQ(reply->Code(), 40301);
    EXPECT_EQ(received, R"({"why":"old"})");
    reply->Release();

    // A failed exchange does not.
    EmulatorControl::Script(R"({"match":"client.config","status":502})");
    calls = 0;
    reply = _7374312F_0CF9_4A1A_B7C5_2B98C48CA64D([&](const QByteArray&) { ++calls; });
    EXPECT_EQ(reply->Code(), HALVEX_REPLY_CONNECT_ERROR);
    EXPECT_EQ(calls, 0);
    reply->Release();
}

TEST_F(Channel, ConfigurationFetchWithoutCallbackSendsNothing) {
    HalvexReply* reply = _7374312F_0CF9_4A1A_B7C5_2B98C48CA64D(nullptr);
    ASSERT_NE(reply, nullptr);
    EXPECT_EQ(reply->Code(), HALVEX_REPLY_INVALID_ARG);
    EXPECT_EQ(reply->Message(), QString::fromUtf8("无效的参数"));
    reply->Release();
    EXPECT_EQ(EmulatorControl::Log().GetArraySize(), 0u);
}

}  // namespace

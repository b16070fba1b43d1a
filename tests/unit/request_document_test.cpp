#include <gtest/gtest.h>

#include <pelmor/HalvexHTTP.h>
#include <pelmor/platform/XCrypt.h>

#include "frame/PelmorSocketHelper.h"
#include "transport/ChannelRequest.h"

namespace {

// Settings are process-wide: every test puts back the defaults it found.
class RequestDocument : public ::testing::Test {
  protected:
    void TearDown() override {
        helper_.Initialize(PELMOR_SOCKET_EDITION_STANDARD, XString(L"Brisel"), XString(L"4.0.0"));
        helper_.SetToken(XString());
    }
    PelmorSocketHelper helper_;
};

TEST_F(RequestDocument, BothFormsCarryTheDefaultsInOrder) {
    XJson params;
    params.Add("mobile", std::string("13800000000"));
    params.Add("way", 1);
    EXPECT_EQ(
        PelmorSocketHelper::BuildJson("sms.code", params).ToJson(),
        R"({"method":"sms.code","params":{"mobile":"13800000000","way":1},"source":"Brisel","token":"","version":"4.0.0"})");
    EXPECT_EQ(
        PelmorSocketHelper::BuildJson(params).ToJson(),
        R"({"params":{"mobile":"13800000000","way":1},"source":"Brisel","token":"","version":"4.0.0"})");
    // No parameters still sends "params": {}.
    EXPECT_EQ(PelmorSocketHelper::BuildJson("client.config", XJson()).ToJson(),
              R"({"method":"client.config","params":{},"source":"Brisel","token":"","version":"4.0.0"})");
    EXPECT_EQ(PelmorSocketHelper::BuildJson(XJson()).ToJson(),
              R"({"params":{},"source":"Brisel","token":"","version":"4.0.0"})");
}

TEST_F(RequestDocument, SettingsAreReadWhenTheDocumentIsBuilt) {
    const XJson before = PelmorSocketHelper::BuildJson("user.info", XJson());
    helper_.SetToken(XString(L"令牌-1"));
    helper_.SetSource(XString(L"Shop"));
    const XJson after = PelmorSocketHelper::BuildJson("user.info", XJson());
    EXPECT_EQ(before.ToString("token"), "") << "a document already built keeps the old token";
    EXPECT_EQ(after.ToString("token"), "令牌-1");
    EXPECT_EQ(after.ToString("source"), "Shop");
    EXPECT_EQ(PelmorSocketHelper::BuildJson(XJson()).ToString("token"), "令牌-1");

    helper_.Initialize(PELMOR_SOCKET_EDITION_ENTERPRISE, XString(L"Ent"), XString(L"6.0"));
    const XJson path = PelmorSocketHelper::BuildJson(XJson());
    EXPECT_EQ(path.ToJson(), R"({"params":{},"source":"Ent","token":"令牌-1","version":"6.0"})");
}

TEST_F(RequestDocument, ParamsAreCopiedWhole) {
    XJson params(std::string(R"({"info":{"a":[1,{"b":null}]},"n":-1.5})"));
    const XJson document = PelmorSocketHelper::BuildJson("equipment.check", params);
    params.Add("late", 1);
    EXPECT_EQ(document["params"].ToJson(), R"({"info":{"a":[1,{"b":null}]},"n":-1.5E0})");
    // A method name with an embedded NUL ends there.
    EXPECT_EQ(PelmorSocketHelper::BuildJson("a\0b", XJson()).ToString("method"), "a");
}

// The text inside a channel body, the layers taken off one by one.
std::string SentText(const QByteArray& body) {
    const QByteArray envelope = XCrypt::BASE64::Decode(body);
    const std::string data = XJson(envelope.toStdString()).ToString("data");
    const QByteArray cipher = XCrypt::BASE64::Decode(data.data(), data.size());
    const auto* key = reinterpret_cast<const unsigned char*>(_StaticAesKey);
    const auto* iv = reinterpret_cast<const unsigned char*>(_StaticAesIv);
    return XCrypt::AES::CBC::DecryptPKCS7(key, iv, cipher).toStdString();
}

// The channel writes a request's text around its params instead of building the document: for every
// form, setting and kind of params it must send BuildJson's document byte for byte.
TEST_F(RequestDocument, ChannelWritesTheBuiltDocumentsBytes) {
    XJson fields;
    fields.Add("mobile", std::string("13800000000"));
    fields.Add("way", 1);
    // Short by its size, long once written: every control character takes six bytes.
    XJson escaped;
    escaped.Add("controls", std::string(900, '\x01'));
    XJson placeholder;
    placeholder.Add("info", XJson());
    placeholder.Add("file", std::string("QUJD"));
    const std::string info = R"({"ecid":"0x1A","name":"设备 \"one\""})";
    XJson withInfo;
    withInfo.Add("info", XJson(info));
    withInfo.Add("file", std::string("QUJD"));
    ASSERT_EQ(withInfo["info"].ToJson(), info);

    struct Settings {
        const wchar_t* source;
        const wchar_t* token;
        const wchar_t* version;
    } settings[] = {
        {L"Brisel", L"", L"4.0.0"},
        {L"Shop \"A\"\\", L"令牌-1\t", L""},
        {L"\x01\xD800", L"t", L"\U0001F600"},  // a control character, a lone surrogate, an emoji
    };
    const char* methods[] = {"client.config", nullptr, "a\"b", "设备.check", "tab\tname"};
    for (const Settings& set : settings) {
        helper_.Initialize(PELMOR_SOCKET_EDITION_STANDARD, XString(set.source), XString(set.version));
        helper_.SetToken(XString(set.token));
        for (const char* method : methods) {
            const auto built = [method](const XJson& params) {
                return method ? PelmorSocketHelper::BuildJson(method, params).ToJson()
                              : PelmorSocketHelper::BuildJson(params).ToJson();
            };
            SCOPED_TRACE(method ? method : "(no method)");
            EXPECT_EQ(SentText(ChannelRequestBody(method, XJson(), {})), built(XJson()));
            EXPECT_EQ(SentText(ChannelRequestBody(method, XJson(std::string("{}")), {})), built(XJson()));
            EXPECT_EQ(SentText(ChannelRequestBody(method, XJson(std::string("[]")), {})),
                      built(XJson(std::string("[]"))));
            EXPECT_EQ(SentText(ChannelRequestBody(method, fields, {})), built(fields));
            EXPECT_EQ(SentText(ChannelRequestBody(method, escaped, {})), built(escaped));
            EXPECT_EQ(SentText(ChannelRequestBody(method, placeholder, info)), built(withInfo));
        }
    }
}

}  // namespace

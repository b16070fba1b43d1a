#include <gtest/gtest.h>
#include <pelmor/HalvexHTTP.h>
#include <pelmor/platform/XCrypt.h>

#include "TestData.h"

namespace {

QByteArray Bytes(const std::string& text) {
    return QByteArray(text.data(), static_cast<int>(text.size()));
}

// request.body was produced from request.json with the openssl and base64 tools (see tests/data/wire).
TEST(ChannelCodec, BodyMatchesTheCommandLineVector) {
    XJson document(ReadTestData("wire/request.json"));
    ASSERT_FALSE(document.IsEmpty());
    ASSERT_EQ(document.ToJson(), ReadTestData("wire/request.json"))
        << "rendering must be compact and ordered";
    EXPECT_EQ(HalvexHTTP::Encrypt_BASE64_AES(document), Bytes(ReadTestData("wire/request.body")));
    EXPECT_TRUE(HalvexHTTP::Decrypt_AES_BASE64(Bytes(ReadTestData("wire/request.body"))) == document);
}

TEST(ChannelCodec, RoundTripsLargeAndNonAsciiDocuments) {
    XJson document;
    document.Add("name", std::string("设备检测 — ünïcødé \xF0\x9F\x93\xB1"));
    document.Add("blob", std::string(3 * 1024 * 1024, 'q'));
    document.Add("n", -42);
    XJson nested(std::string(R"({"list":[true,null,1.25,"x"]})"));
    document.Append("nested", nested);
    EXPECT_TRUE(HalvexHTTP::Decrypt_AES_BASE64(HalvexHTTP::Encrypt_BASE64_AES(document)) == document);
    EXPECT_TRUE(HalvexHTTP::Decrypt_BASE64(HalvexHTTP::Encrypt_BASE64(document)) == document);
}

TEST(ChannelCodec, EveryBrokenLayerDecryptsToEmpty) {
    const auto* key = reinterpret_cast<const unsigned char*>(_StaticAesKey);
    const auto* iv = reinterpret_cast<const unsigned char*>(_StaticAesIv);
    auto wrap = [](const std::string& envelope) { return XCrypt::BASE64::Encode(Bytes(envelope)); };
    const QByteArray notJsonInside =
        XCrypt::BASE64::Encode(XCrypt::AES::CBC::EncryptPKCS7(key, iv, Bytes("plain text, not JSON")));

    const QByteArray broken[] = {
        QByteArray("%%% not base64 %%%"),
        wrap("not an envelope"),
        wrap(R"({"En":1})"),
        wrap(R"({"En":1,"data":"bm90IGNpcGhlcg=="})"),  // Base64, but not a whole number of blocks
        wrap(R"({"En":1,"data":")" + std::string(notJsonInside.constData(), notJsonInside.size()) + "\"}"),
        QByteArray(),
    };
    for (const QByteArray& body : broken)
        EXPECT_TRUE(HalvexHTTP::Decrypt_AES_BASE64(body).IsEmpty()) << body.constData();
}

TEST(ChannelPost, ArgumentsAreCheckedBeforeAnythingIsSent) {
    XJson document(std::string(R"({"method":"x"})"));
    EXPECT_FALSE(HalvexHTTP::POST(nullptr, XString(L"http://127.0.0.1:1/"), document));

    HalvexReply reply;
    reply.Update(0);
    EXPECT_FALSE(HalvexHTTP::POST(&reply, XString(L"http://127.0.0.1:1/"), XJson()));
    EXPECT_EQ(reply.Code(), HALVEX_REPLY_INVALID_ARG);
    reply.Update(0);
    EXPECT_FALSE(HalvexHTTP::POST(&reply, XString(), document));
    EXPECT_EQ(reply.Code(), HALVEX_REPLY_INVALID_ARG);
    reply.Update(0);
    EXPECT_FALSE(HalvexHTTP::POST(&reply, XString(), XString(), document));
    EXPECT_EQ(reply.Code(), HALVEX_REPLY_INVALID_ARG);
}

}  // namespace

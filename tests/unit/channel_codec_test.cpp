#include <gtest/gtest.h>
#include <pelmor/HalvexHTTP.h>
#include <pelmor/platform/XCrypt.h>

#include <openssl/evp.h>

#include <cstdio>

#include "TestData.h"
#include "transport/ChannelBody.h"

namespace {

QByteArray Bytes(const std::string& text) {
    return QByteArray(text.data(), static_cast<int>(text.size()));
}

const auto* kKey = reinterpret_cast<const unsigned char*>(_StaticAesKey);
const auto* kIv = reinterpret_cast<const unsigned char*>(_StaticAesIv);

// OpenSSL's own Base64, so that the layers below are not checked against our encoder.
std::string OpensslBase64(const QByteArray& bytes) {
    std::string text((static_cast<size_t>(bytes.size()) + 2) / 3 * 4 + 1, '\0');
    const int written =
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(&text[0]),
                        reinterpret_cast<const unsigned char*>(bytes.constData()), bytes.size());
    text.resize(static_cast<size_t>(written));
    return text;
}

std::string InnerBase64(const std::string& text) {
    return OpensslBase64(XCrypt::AES::CBC::EncryptPKCS7(kKey, kIv, Bytes(text)));
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

// Documents far larger than the pieces the body is written in, with escapes and multi-byte text falling
// across piece boundaries: the body is exactly the layers built one after the other.
TEST(ChannelCodec, LargeBodiesAreTheLayersBuiltOneByOne) {
    for (size_t size : {48u * 1024 - 40, 300000u, 1000003u}) {
        std::string text;
        while (text.size() < size)
            text += "line \"quoted\"\t设备 ü\n";
        XJson document;
        document.Add("file", text);
        document.Add("n", static_cast<long long>(size));
        const std::string envelope = R"({"En":1,"data":")" + InnerBase64(document.ToJson()) + R"("})";
        EXPECT_EQ(HalvexHTTP::Encrypt_BASE64_AES(document), Bytes(OpensslBase64(Bytes(envelope)))) << size;
    }
}

// Small texts are made into a body in one go on the stack, larger ones streamed: both must be the layers
// built one after the other, on either side of every boundary.
TEST(ChannelCodec, BodiesMadeInOneGoAreTheLayersBuiltOneByOne) {
    for (size_t length : {0u, 1u, 15u, 16u, 17u, 1000u, 2047u, 2048u, 2049u, 5000u}) {
        std::string text;
        for (size_t i = 0; i < length; ++i)
            text += static_cast<char>("{\"k\":\u8bbe}"[i % 9]);
        const std::string envelope = R"({"En":1,"data":")" + InnerBase64(text) + R"("})";
        EXPECT_EQ(ChannelBodyOf(text.data(), text.size()), Bytes(OpensslBase64(Bytes(envelope)))) << length;
    }
}

// The reply's envelope is read without a parser when it has the form the service writes; every other
// way of writing the same JSON must still work.
TEST(ChannelCodec, EnvelopesInAnyJsonFormDecrypt) {
    XJson document(std::string(R"({"code":0,"data":{"k":"v"}})"));
    const std::string inner = InnerBase64(document.ToJson());
    // The first character written as a JSON escape.
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(inner[0]));
    const std::string escaped = escape + inner.substr(1);
    const std::string envelopes[] = {
        R"({"En":1,"data":")" + inner + R"("})",
        R"({ "En": 1, "data": ")" + inner + R"(" })",
        R"({"data":")" + inner + R"(","En":1})",
        R"({"En":1,"data":")" + escaped + R"("})",
        R"({"En":1,"data":")" + inner + R"("})" + std::string(1, '\0') + "trailing bytes after a zero",
    };
    for (const std::string& envelope : envelopes)
        EXPECT_TRUE(HalvexHTTP::Decrypt_AES_BASE64(Bytes(OpensslBase64(Bytes(envelope)))) == document)
            << envelope;
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
    const auto* key = kKey;
    const auto* iv = kIv;
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
    EXPECT_FALSE(HalvexHTTP::POST(nullptr, XString(L"http://127.0.0.1:1/"), "x", XJson()));

    HalvexReply reply;
    reply.Update(0);
    EXPECT_FALSE(HalvexHTTP::POST(&reply, XString(), "x", XJson()));
    EXPECT_EQ(reply.Code(), HALVEX_REPLY_INVALID_ARG);
    reply.Update(0);
    EXPECT_FALSE(HalvexHTTP::POST(&reply, XString(), XString(), XJson()));
    EXPECT_EQ(reply.Code(), HALVEX_REPLY_INVALID_ARG);
}

}  // namespace

// The emulator's wire codec, checked against bodies made by tools that share no code with it:
//   K=5a74344b7039576d5132784c723756624e38635968334a644636675361315565  (the key as hex)
//   IV=4d71375279324c6b3950773454783642                                  (the IV as hex)
//   INNER=$(printf '%s' "$PLAIN" | openssl enc -aes-256-cbc -K $K -iv $IV | base64 -w0)
//   BODY=$(printf '{"En":1,"data":"%s"}' "$INNER" | base64 -w0)
#include "emulator/core/codec.h"

#include <gtest/gtest.h>

#include <string>

namespace codec = pelmor::emulator::codec;
using json = nlohmann::ordered_json;

namespace {

struct WireVector {
    const char* name;
    std::string plain;
    std::string inner;
    std::string body;
};

const WireVector kVectors[] = {
    {"request document",
     R"({"method":"client.config","params":{},"source":"Brisel","token":"","version":"4.0.0"})",
     "7wFf9kgzSUOM2MsSEd3pmlxwgSuXM6YxXXIlxbRlW7GhZe7n/"
     "DungbI4e72UbYGXvyobvi4x8qHYXf54GWzR6xWWZhGPwqpjFGaceQaYCMqz"
     "CfkMIqvIyIN1IZ/+xjju",
     "eyJFbiI6MSwiZGF0YSI6Ijd3RmY5a2d6U1VPTTJNc1NFZDNwbWx4d2dTdVhNNll4WFhJbHhiUmxXN0doWmU3bi9EdW5nYkk0ZTcyVWJ"
     "ZR1h2"
     "eW9idmk0eDhxSFlYZjU0R1d6UjZ4V1daaEdQd3FwakZHYWNlUWFZQ01xekNma01JcXZJeUlOMUlaLyt4amp1In0="},
    {"reply with UTF-8 text",
     R"({"code":40401,"token":"","error":"METHOD_NOT_FOUND","msg":"接口方法不存在","timestamp":1700000000000,"data":null})",
     "N4CKOCMLtgBjCbDNQdTvpIh5vhqqzPtwtfpV6Qn88uwISRrkM059dBcf/"
     "zzz4ytBWCEsC+mG2wrVqo39e8Vg2plAyPtETSftAOO2XLP+PevG"
     "3S6udPcEz5MO05vXMSIglRSwz+VhLPPVrDvVDZ0cJ3LQ70vS+k420SsXCmtDPKI=",
     "eyJFbiI6MSwiZGF0YSI6Ik40Q0tPQ01MdGdCakNiRE5RZFR2cEloNXZocXF6UHR3dGZwVjZRbjg4dXdJU1Jya00wNTlkQmNmL3p6ejR"
     "5dEJX"
     "Q0VzQyttRzJ3clZxbzM5ZThWZzJwbEF5UHRFVFNmdEFPTzJYTFArUGV2RzNTNnVkUGNFejVNTzA1dlhNU0lnbFJTd3orVmhMUFBWckR"
     "2VkRa"
     "MGNKM0xRNzB2UytrNDIwU3NYQ210RFBLST0ifQ=="},
    // Exactly one block of plaintext: PKCS#7 must add a whole block of padding.
    {"one full block", R"({"k":"abcdefgh"})", "m/boWDxilwVMzVRkHvpSbsK79VNuEVirZ6QUqbAxBqM=",
     "eyJFbiI6MSwiZGF0YSI6Im0vYm9XRHhpbHdWTXpWUmtIdnBTYnNLNzlWTnVFVmlyWjZRVXFiQXhCcU09In0="},
};

}  // namespace

TEST(EmulatorCodec, MatchesOpensslAndBase64Tools) {
    for (const auto& v : kVectors) {
        SCOPED_TRACE(v.name);
        EXPECT_EQ(codec::base64_encode(codec::aes_encrypt(v.plain)), v.inner);
        EXPECT_EQ(codec::seal(v.plain), v.body);

        const codec::Opened opened = codec::open(v.body);
        ASSERT_TRUE(opened.ok()) << opened.error;
        EXPECT_EQ(opened.plaintext, v.plain);

        const codec::Decoded decoded = codec::decode_document(v.body);
        ASSERT_TRUE(decoded.ok()) << decoded.error;
        EXPECT_EQ(codec::render(decoded.document), v.plain);  // member order survives
    }
}

TEST(EmulatorCodec, Base64FollowsRfc4648) {
    const std::pair<std::string, std::string> known[] = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
        {"\xfb\xff", "+/8="},
    };
    for (const auto& [bytes, text] : known) {
        EXPECT_EQ(codec::base64_encode(bytes), text);
        EXPECT_EQ(codec::base64_decode(text), bytes) << text;
    }

    std::string all;
    for (int i = 0; i < 256; ++i)
        all += static_cast<char>(i);
    for (std::size_t n = 0; n <= all.size(); n += 37) {
        const std::string part = all.substr(all.size() - n);
        EXPECT_EQ(codec::base64_decode(codec::base64_encode(part)), part) << n;
    }

    // Not canonical, not padded, or not the standard alphabet.
    for (const char* bad : {"Zh==", "Zm9=", "Zg", "Zg=", "Zg===", "Z===", "Zg==Zg==", "Zm9v\n", " Zm9v",
                            "Zm-_", "====", "Zm9v="}) {
        EXPECT_FALSE(codec::base64_decode(bad).has_value()) << bad;
    }
}

TEST(EmulatorCodec, DocumentsRoundTrip) {
    json doc;
    doc["method"] = "equipment.check";
    doc["params"] = json{{"name", "张三的 iPhone 📱"},
                         {"escapes", "quote \" backslash \\ newline \n tab \t nul \u0000 end"},
                         {"nested", json::array({1, -2, 3.5, true, nullptr, json::object()})}};
    doc["source"] = "Brisel";
    doc["token"] = "";
    doc["version"] = "4.0.0";

    // A device backup travels as one large string member.
    std::string big;
    const std::string chunk = "验机报告 backup ✓ \"quoted\" \\ ";
    while (big.size() < 3 * 1024 * 1024)
        big += chunk;
    doc["params"]["file"] = big;

    const std::string body = codec::encode_document(doc);
    const codec::Decoded decoded = codec::decode_document(body);
    ASSERT_TRUE(decoded.ok()) << decoded.error;
    EXPECT_EQ(decoded.document, doc);
    EXPECT_EQ(codec::render(decoded.document), codec::render(doc));
    EXPECT_EQ(decoded.document["params"]["file"].get<std::string>().size(), big.size());
}

TEST(EmulatorCodec, RejectsWhatIsNotAnEncryptedDocument) {
    const auto b64 = [](const std::string& s) { return codec::base64_encode(s); };
    const auto envelope_with = [&](const std::string& data) {
        return b64(R"({"En":1,"data":)" + data + "}");
    };
    const std::string good_inner = kVectors[0].inner;
    std::string corrupt_padding = *codec::base64_decode(good_inner);
    corrupt_padding[corrupt_padding.size() - 17] ^= 0x55;  // flips the last plaintext byte, i.e. the padding

    // Each case names the layer that must catch it, so a case cannot pass by failing somewhere earlier.
    struct Case {
        const char* name;
        std::string body;
        const char* layer;
    };
    const Case cases[] = {
        {"empty body", "", "empty"},
        {"not Base64", "<html>502 Bad Gateway</html>", "body is not Base64"},
        {"Base64 of text", b64("hello"), "not a JSON object"},
        {"envelope is an array", b64(R"([1,"x"])"), "not a JSON object"},
        {"no En", b64(R"({"data":")" + good_inner + R"("})"), "\"En\""},
        {"En is not 1", b64(R"({"En":2,"data":")" + good_inner + R"("})"), "\"En\""},
        {"En is a string", b64(R"({"En":"1","data":")" + good_inner + R"("})"), "\"En\""},
        {"no data", b64(R"({"En":1})"), "no string member"},
        {"data is a number", envelope_with("12"), "no string member"},
        {"data is not Base64", envelope_with(R"("not base64!")"), "is not Base64"},
        {"data is empty", envelope_with(R"("")"), "does not decrypt"},
        {"data not a whole block", envelope_with('"' + b64(std::string(15, 'x')) + '"'), "does not decrypt"},
        {"bad padding", envelope_with('"' + b64(corrupt_padding) + '"'), "does not decrypt"},
        {"plaintext not JSON", codec::seal("<html><body>oops</body></html>"), "plaintext is not JSON"},
        {"plaintext is cut-off JSON", codec::seal(R"({"code":0,"data":{)"), "plaintext is not JSON"},
    };
    for (const auto& c : cases) {
        const codec::Decoded decoded = codec::decode_document(c.body);
        EXPECT_FALSE(decoded.ok()) << c.name;
        EXPECT_NE(decoded.error.find(c.layer), std::string::npos) << c.name << ": " << decoded.error;
        EXPECT_TRUE(decoded.document.is_null()) << c.name;
    }
}

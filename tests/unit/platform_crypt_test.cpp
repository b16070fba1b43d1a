#include <gtest/gtest.h>
#include <pelmor/platform/XCrypt.h>

#include <cstring>
#include <string>

// Expected texts were produced with `openssl enc -aes-256-cbc -K <key> -iv <iv> | base64 -w0` and
// `printf ... | base64`, so these tests check our code against an implementation that is not ours.
namespace {

const auto* kKey = reinterpret_cast<const unsigned char*>("Zt4Kp9WmQ2xLr7VbN8cYh3JdF6gSa1Ue");
const auto* kIv = reinterpret_cast<const unsigned char*>("Mq7Ry2Lk9Pw4Tx6B");

QByteArray Bytes(const std::string& text) {
    return QByteArray(text.data(), static_cast<int>(text.size()));
}
std::string Text(const QByteArray& bytes) {
    return std::string(bytes.constData(), bytes.size());
}

std::string EncryptToBase64(const std::string& plain) {
    return Text(XCrypt::BASE64::Encode(XCrypt::AES::CBC::EncryptPKCS7(kKey, kIv, Bytes(plain))));
}

TEST(XCryptAes, MatchesOpensslCommandLine) {
    EXPECT_EQ(EncryptToBase64(
                  R"({"method":"client.config","params":{},"source":"Brisel","token":"","version":"4.0.0"})"),
              "7wFf9kgzSUOM2MsSEd3pmlxwgSuXM6YxXXIlxbRlW7GhZe7n/"
              "DungbI4e72UbYGXvyobvi4x8qHYXf54GWzR6xWWZhGPwqpjFGaceQaYCMqzCfkMIqvIyIN1IZ/+xjju");
    EXPECT_EQ(EncryptToBase64(""), "3h7SiMQ8cDhW6h2D055Fhg==");
    EXPECT_EQ(EncryptToBase64("0123456789abcdef"), "vb78h8zvwUjl2K7T2HnvL/dCs+rmzIevTwu6lAwkVCY=");
    EXPECT_EQ(EncryptToBase64("设备检测"), "Y/55G3U/RL5WihgGwFGaLA==");
}

TEST(XCryptAes, RoundTripsAnyLength) {
    for (size_t length : {0u, 1u, 15u, 16u, 17u, 4096u, 3u * 1024 * 1024 + 5}) {
        std::string plain(length, '\0');
        for (size_t i = 0; i < length; ++i)
            plain[i] = static_cast<char>(i * 31 + 7);
        const QByteArray cipher = XCrypt::AES::CBC::EncryptPKCS7(kKey, kIv, Bytes(plain));
        EXPECT_EQ(cipher.size() % 16, 0);
        EXPECT_EQ(Text(XCrypt::AES::CBC::DecryptPKCS7(kKey, kIv, cipher)), plain) << length;
    }
}

TEST(XCryptAes, DamagedCipherTextDecryptsToEmpty) {
    const QByteArray cipher = XCrypt::AES::CBC::EncryptPKCS7(kKey, kIv, Bytes("some secret document"));
    EXPECT_TRUE(
        XCrypt::AES::CBC::DecryptPKCS7(kKey, kIv, cipher.left(cipher.size() - 1)).isEmpty());  // truncated
    EXPECT_TRUE(XCrypt::AES::CBC::DecryptPKCS7(kKey, kIv, cipher.left(16)).isEmpty());         // bad padding
    EXPECT_TRUE(XCrypt::AES::CBC::DecryptPKCS7(kKey, kIv, QByteArray()).isEmpty());
    QByteArray flipped = cipher;
    flipped[flipped.size() - 1] = static_cast<char>(flipped[flipped.size() - 1] ^ 0x55);
    EXPECT_TRUE(XCrypt::AES::CBC::DecryptPKCS7(kKey, kIv, flipped).isEmpty());
    EXPECT_TRUE(XCrypt::AES::CBC::DecryptPKCS7(nullptr, kIv, cipher).isEmpty());
}

TEST(XCryptBase64, MatchesTheStandardEncoding) {
    const std::pair<const char*, const char*> vectors[] = {{"f", "Zg=="},         {"fo", "Zm8="},
                                                           {"foo", "Zm9v"},       {"foob", "Zm9vYg=="},
                                                           {"fooba", "Zm9vYmE="}, {"foobar", "Zm9vYmFy"}};
    for (const auto& [plain, encoded] : vectors) {
        EXPECT_EQ(Text(XCrypt::BASE64::Encode(plain, std::strlen(plain))), encoded);
        EXPECT_EQ(Text(XCrypt::BASE64::Decode(Bytes(encoded))), plain);
    }
    const std::string binary("\x00\xff\xfe\x80\x7f", 5);
    EXPECT_EQ(Text(XCrypt::BASE64::Decode(XCrypt::BASE64::Encode(Bytes(binary)))), binary);
}

TEST(XCryptBase64, TextThatIsNotBase64DecodesToEmpty) {
    for (const char* text :
         {"Zg=", "Zm9", "Zm9v\n", "Zm 9v", "Z===", "=Zm9", "Zm9v!A==", "Zh==", "Zm9=Zm9v"}) {
        EXPECT_TRUE(XCrypt::BASE64::Decode(Bytes(text)).isEmpty()) << text;
    }
    EXPECT_TRUE(XCrypt::BASE64::Decode(nullptr, 4).isEmpty());
}

}  // namespace

#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <pelmor/platform/XCrypt.h>

#include <algorithm>
#include <string>
#include <vector>

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

// Bytes of every value, so that each table entry and each carry between pieces is exercised.
std::string Pattern(size_t length) {
    std::string bytes(length, '\0');
    for (size_t i = 0; i < length; ++i)
        bytes[i] = static_cast<char>((i * 131 + length) & 0xFF);
    return bytes;
}

// OpenSSL's own Base64: an encoder that is not ours.
std::string OpensslBase64(const std::string& bytes) {
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
    const int written =
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(&text[0]),
                        reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()));
    text.resize(static_cast<size_t>(written));
    return text;
}

// Feeds bytes to an encoder in pieces of the given size and joins what comes out.
template <typename Feed>
std::string InPieces(const std::string& bytes, size_t piece, size_t room, Feed feed) {
    std::string joined;
    std::vector<char> out(room);
    for (size_t at = 0; at <= bytes.size(); at += piece) {
        const size_t length = std::min(piece, bytes.size() - at);
        joined.append(out.data(), feed(bytes.data() + at, length, out.data()));
        if (length == 0) break;
    }
    return joined;
}

// A key or an IV of bytes that differ with seed.
std::string Material(size_t length, unsigned seed) {
    std::string bytes(length, '\0');
    for (size_t i = 0; i < length; ++i)
        bytes[i] = static_cast<char>((i * 73 + seed * 151 + 5) & 0xFF);
    return bytes;
}
const unsigned char* Raw(const std::string& bytes) {
    return reinterpret_cast<const unsigned char*>(bytes.data());
}

// OpenSSL's EVP, set up afresh for each call; empty with ok false when it refuses.
std::string OpensslCbc(bool encrypt, const std::string& key, const std::string& iv, const std::string& in,
                       bool padding, bool* ok = nullptr) {
    EVP_CIPHER_CTX* context = EVP_CIPHER_CTX_new();
    std::string out(in.size() + 16, '\0');
    int written = 0;
    int last = 0;
    auto* bytes = reinterpret_cast<unsigned char*>(&out[0]);
    const bool done =
        EVP_CipherInit_ex(context, EVP_aes_256_cbc(), nullptr, Raw(key), Raw(iv), encrypt ? 1 : 0) == 1 &&
        EVP_CIPHER_CTX_set_padding(context, padding ? 1 : 0) == 1 &&
        EVP_CipherUpdate(context, bytes, &written, Raw(in), static_cast<int>(in.size())) == 1 &&
        EVP_CipherFinal_ex(context, bytes + written, &last) == 1;
    EVP_CIPHER_CTX_free(context);
    if (ok) *ok = done;
    out.resize(done ? static_cast<size_t>(written + last) : 0);
    return out;
}

// The Encryptor's output for plain fed in pieces of the given size, joined with its last block.
std::string EncryptedInPieces(const unsigned char* key, const unsigned char* iv, const std::string& plain,
                              size_t piece) {
    XCrypt::AES::CBC::Encryptor encryptor(key, iv);
    std::string streamed = InPieces(plain, piece, XCrypt::AES::CBC::Encryptor::OutputRoom(piece),
                                    [&](const char* data, size_t n, char* out) {
                                        size_t written = 0;
                                        EXPECT_TRUE(encryptor.Update(data, n, out, written));
                                        return written;
                                    });
    char last[XCrypt::AES::CBC::Encryptor::kBlock];
    size_t written = 0;
    EXPECT_TRUE(encryptor.Finish(last, written));
    return streamed.append(last, written);
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
        std::string inPlace = Text(cipher);
        size_t plainLength = 0;
        EXPECT_TRUE(XCrypt::AES::CBC::DecryptInPlace(kKey, kIv, &inPlace[0], inPlace.size(), plainLength));
        EXPECT_EQ(inPlace.substr(0, plainLength), plain) << length;
    }
}

// Each thread keeps its cipher set up for the last key it used: another key in between must be set up
// afresh, and the first one again after it.
TEST(XCryptAes, KeysTakeTurnsOnOneThread) {
    const auto* otherKey = reinterpret_cast<const unsigned char*>("00000000001111111111222222222233");
    const QByteArray plain = Bytes("0123456789abcdef");
    const QByteArray first = XCrypt::AES::CBC::EncryptPKCS7(kKey, kIv, plain);
    const QByteArray other = XCrypt::AES::CBC::EncryptPKCS7(otherKey, kIv, plain);
    EXPECT_NE(first, other);
    EXPECT_EQ(Text(first),
              Text(XCrypt::BASE64::Decode(Bytes("vb78h8zvwUjl2K7T2HnvL/dCs+rmzIevTwu6lAwkVCY="))));
    EXPECT_EQ(XCrypt::AES::CBC::EncryptPKCS7(kKey, kIv, plain), first);
    EXPECT_EQ(XCrypt::AES::CBC::DecryptPKCS7(otherKey, kIv, other), plain);
    EXPECT_NE(XCrypt::AES::CBC::DecryptPKCS7(kKey, kIv, other), plain);
    EXPECT_EQ(XCrypt::AES::CBC::DecryptPKCS7(kKey, kIv, first), plain);
    std::string inPlace = Text(other);
    size_t length = 0;
    ASSERT_TRUE(XCrypt::AES::CBC::DecryptInPlace(otherKey, kIv, &inPlace[0], inPlace.size(), length));
    EXPECT_EQ(inPlace.substr(0, length), Text(plain));
}

TEST(XCryptAes, EncryptorInPiecesGivesTheWholeCipher) {
    for (size_t length : {0u, 15u, 16u, 17u, 100003u}) {
        const std::string plain = Pattern(length);
        const QByteArray whole = XCrypt::AES::CBC::EncryptPKCS7(kKey, kIv, Bytes(plain));
        for (size_t piece : {1u, 5u, 16u, 33u, 65536u})
            EXPECT_EQ(EncryptedInPieces(kKey, kIv, plain, piece), Text(whole))
                << length << " in pieces of " << piece;
    }
    XCrypt::AES::CBC::Encryptor keyless(nullptr, kIv);
    char out[64];
    size_t written = 0;
    EXPECT_FALSE(keyless.Update("abc", 3, out, written));
    EXPECT_FALSE(keyless.Finish(out, written));
}

// Every way in (whole, in place, in pieces) against OpenSSL, for keys of all sorts of bytes: a slip in the
// key schedule shows only for some keys, one in the block loops only for some lengths.
TEST(XCryptAes, AgreesWithOpensslForManyKeysAndLengths) {
    std::vector<size_t> lengths;
    for (size_t length = 0; length <= 80; ++length)
        lengths.push_back(length);
    lengths.insert(lengths.end(), {4095, 4096, 100003});
    for (unsigned seed = 0; seed < 8; ++seed) {
        const std::string key = Material(32, seed);
        const std::string iv = Material(16, seed + 100);
        for (size_t length : lengths) {
            const std::string plain = Pattern(length);
            const std::string cipher = OpensslCbc(true, key, iv, plain, true);
            EXPECT_EQ(Text(XCrypt::AES::CBC::EncryptPKCS7(Raw(key), Raw(iv), Bytes(plain))), cipher)
                << "seed " << seed << ", length " << length;
            EXPECT_EQ(Text(XCrypt::AES::CBC::DecryptPKCS7(Raw(key), Raw(iv), Bytes(cipher))), plain)
                << "seed " << seed << ", length " << length;
            std::string inPlace = cipher;
            size_t plainLength = 0;
            EXPECT_TRUE(XCrypt::AES::CBC::DecryptInPlace(Raw(key), Raw(iv), &inPlace[0], inPlace.size(),
                                                         plainLength));
            EXPECT_EQ(inPlace.substr(0, plainLength), plain) << "seed " << seed << ", length " << length;
            EXPECT_EQ(EncryptedInPieces(Raw(key), Raw(iv), plain, 7), cipher)
                << "seed " << seed << ", length " << length;
        }
    }
}

// A last block that decrypts to each possible final byte, before bytes that match it or not: accepted
// exactly when OpenSSL accepts it, with the same length.
TEST(XCryptAes, PaddingIsCheckedAsOpensslChecksIt) {
    const std::string key = Material(32, 1);
    const std::string iv = Material(16, 2);
    for (int last = 0; last < 256; ++last) {
        for (int spoiled = -1; spoiled < 16; ++spoiled) {
            std::string block(32, static_cast<char>(last));
            block[0] = 'x';  // a first block of text before the padded one
            if (spoiled >= 0) block[16 + spoiled] = static_cast<char>(last ^ 0x40);
            const std::string cipher = OpensslCbc(true, key, iv, block, false);
            bool opensslAccepts = false;
            const std::string expected = OpensslCbc(false, key, iv, cipher, true, &opensslAccepts);
            std::string inPlace = cipher;
            size_t plainLength = 0;
            const bool accepted =
                XCrypt::AES::CBC::DecryptInPlace(Raw(key), Raw(iv), &inPlace[0], inPlace.size(), plainLength);
            ASSERT_EQ(accepted, opensslAccepts) << "last byte " << last << ", spoiled at " << spoiled;
            if (accepted) {
                EXPECT_EQ(inPlace.substr(0, plainLength), expected);
            }
        }
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
    size_t plainLength = 0;
    for (QByteArray damaged : {cipher.left(cipher.size() - 1), cipher.left(16), flipped})
        EXPECT_FALSE(XCrypt::AES::CBC::DecryptInPlace(kKey, kIv, damaged.data(),
                                                      static_cast<size_t>(damaged.size()), plainLength));
}

TEST(XCryptBase64, AgreesWithOpensslForEveryLengthAndAnySplit) {
    std::vector<size_t> lengths;
    // Every length across the first steps of the vector loops (sixteen and thirty-two characters at a time).
    for (size_t length = 0; length <= 100; ++length)
        lengths.push_back(length);
    lengths.insert(lengths.end(), {100000, 100001, 100002});
    for (size_t length : lengths) {
        const std::string bytes = Pattern(length);
        const std::string expected = OpensslBase64(bytes);
        EXPECT_EQ(Text(XCrypt::BASE64::Encode(bytes.data(), bytes.size())), expected) << length;
        if (length > 0) {
            EXPECT_EQ(Text(XCrypt::BASE64::Decode(Bytes(expected))), bytes) << length;
            // Into exactly the room it needs (the sanitizers see a byte written past it), over the text
            // itself, and from a text that lies further on in the same buffer.
            std::vector<char> exact(expected.size() / 4 * 3);
            size_t written = 0;
            EXPECT_TRUE(XCrypt::BASE64::DecodeInto(expected.data(), expected.size(), exact.data(), written));
            EXPECT_EQ(std::string(exact.data(), written), bytes) << length;
            std::string shared = "{\"data\":\"" + expected;
            EXPECT_TRUE(XCrypt::BASE64::DecodeInto(shared.data() + 9, expected.size(), &shared[0], written));
            EXPECT_EQ(shared.substr(0, written), bytes) << length;
            std::string self = expected;
            EXPECT_TRUE(XCrypt::BASE64::DecodeInto(self.data(), self.size(), &self[0], written));
            EXPECT_EQ(self.substr(0, written), bytes) << length;
        }
        for (size_t piece : {1u, 2u, 4u, 7u, 4096u}) {
            XCrypt::BASE64::Encoder encoder;
            std::string streamed =
                InPieces(bytes, piece, XCrypt::BASE64::Encoder::OutputRoom(piece),
                         [&](const char* data, size_t n, char* out) { return encoder.Update(data, n, out); });
            char tail[4];
            streamed.append(tail, encoder.Finish(tail));
            EXPECT_EQ(streamed, expected) << length << " in pieces of " << piece;
        }
    }
}

TEST(XCryptBase64, TextThatIsNotBase64DecodesToEmpty) {
    for (const char* text :
         {"Zg=", "Zm9", "Zm9v\n", "Zm 9v", "Z===", "=Zm9", "Zm9v!A==", "Zh==", "Zm9=Zm9v"}) {
        EXPECT_TRUE(XCrypt::BASE64::Decode(Bytes(text)).isEmpty()) << text;
    }
    EXPECT_TRUE(XCrypt::BASE64::Decode(nullptr, 4).isEmpty());

    // Long texts are decoded sixteen characters at a time: a stray character must be seen wherever it
    // falls, including the characters next to the alphabet's ranges and bytes with the high bit set.
    QByteArray bytes;
    for (int i = 0; i < 300; ++i)
        bytes.append(static_cast<char>(i * 7));
    const QByteArray text = XCrypt::BASE64::Encode(bytes);
    ASSERT_EQ(XCrypt::BASE64::Decode(text), bytes);
    const std::string strays("=\n -_.:@[`{\x7f\x80\xbf\xff\x00,*", 18);
    for (int position = 0; position < text.size(); ++position) {
        for (const char stray : strays) {
            QByteArray damaged = text;
            damaged[position] = stray;
            const QByteArray decoded = XCrypt::BASE64::Decode(damaged);
            // '=' in the last two places is padding, and may make a valid text of another length.
            if (stray == '=' && position >= text.size() - 2) continue;
            EXPECT_TRUE(decoded.isEmpty()) << "position " << position << ", character " << int(stray);
        }
    }
}

}  // namespace

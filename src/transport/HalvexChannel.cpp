#include <pelmor/HalvexHTTP.h>
#include <pelmor/platform/XCrypt.h>
#include <pelmor/platform/XHttp.h>

#include <cstring>

namespace {

const unsigned char* Key() {
    return reinterpret_cast<const unsigned char*>(_StaticAesKey);
}
const unsigned char* Iv() {
    return reinterpret_cast<const unsigned char*>(_StaticAesIv);
}

// Bytes as text, stopping at the first zero byte as every text taken from a byte array does.
std::string TextOf(const QByteArray& bytes) {
    return std::string(bytes.constData(), qstrnlen(bytes.constData(), bytes.size()));
}

QByteArray BytesOf(const std::string& text) {
    return QByteArray(text.data(), static_cast<int>(text.size()));
}

bool IsGatewayFailure(int status) {
    return status == 502 || status == 504;
}

}  // namespace

QByteArray HalvexHTTP::Encrypt_BASE64_AES(XJson& document) {
    try {
        // Rendering gives "" only when it ran out of memory (a document renders at least as "{}"): send
        // nothing rather than an empty request.
        const std::string text = document.ToJson();
        if (text.empty()) return QByteArray();
        const QByteArray cipher = XCrypt::AES::CBC::EncryptPKCS7(Key(), Iv(), BytesOf(text));
        const QByteArray inner = XCrypt::BASE64::Encode(cipher);
        if (inner.isEmpty()) return QByteArray();
        // {"En":1,"data":"<inner>"} written out directly: Base64 text needs no escaping, and this is on
        // every request's path.
        const std::string innerText = TextOf(inner);
        std::string envelope;
        envelope.reserve(innerText.size() + 20);
        envelope.append(R"({"En":1,"data":")").append(innerText).append(R"("})");
        const QByteArray body = XCrypt::BASE64::Encode(BytesOf(envelope));
        return body.left(static_cast<int>(qstrnlen(body.constData(), body.size())));
    } catch (...) {
        return QByteArray();
    }
}

XJson HalvexHTTP::Decrypt_AES_BASE64(const QByteArray& body) {
    try {
        const XJson envelope(TextOf(XCrypt::BASE64::Decode(body)));
        if (envelope.IsEmpty()) return XJson();
        const std::string inner = envelope.ToString("data");
        const QByteArray plain =
            XCrypt::AES::CBC::DecryptPKCS7(Key(), Iv(), XCrypt::BASE64::Decode(inner.data(), inner.size()));
        return XJson(TextOf(plain));
    } catch (...) {
        return XJson();
    }
}

QByteArray HalvexHTTP::Encrypt_BASE64(XJson& document) {
    try {
        return XCrypt::BASE64::Encode(BytesOf(document.ToJson()));
    } catch (...) {
        return QByteArray();
    }
}

XJson HalvexHTTP::Decrypt_BASE64(const QByteArray& body) {
    try {
        return XJson(TextOf(XCrypt::BASE64::Decode(body)));
    } catch (...) {
        return XJson();
    }
}

bool HalvexHTTP::POST(HalvexReply* reply, const XString& url, XJson document) {
    if (!reply) return false;
    if (document.IsEmpty() || url.empty()) {
        reply->Update(HALVEX_REPLY_INVALID_ARG);
        return false;
    }
    const QByteArray body = Encrypt_BASE64_AES(document);
    if (body.isEmpty()) {
        reply->Update(HALVEX_REPLY_ENCRYPT_ERROR);
        return false;
    }
    QByteArray response;
    int status = 0;
    try {
        // A later call of the callback replaces what an earlier one stored.
        status = XHttp::POST(url, body, [&response](QByteArray received) { response = received; });
    } catch (...) {
        status = 0;
    }
    if (status != 200) {
        reply->Update(IsGatewayFailure(status) ? HALVEX_REPLY_CONNECT_ERROR : HALVEX_REPLY_HTTP_ERROR);
        return false;
    }
    XJson answer =
        Decrypt_AES_BASE64(response.left(static_cast<int>(qstrnlen(response.constData(), response.size()))));
    if (answer.IsEmpty()) {
        reply->Update(HALVEX_REPLY_DECRYPT_ERROR);
        return false;
    }
    // The service's own code is not looked at here: a refusal is still a stored reply.
    reply->Update(answer);
    return true;
}

bool HalvexHTTP::POST(HalvexReply* reply, const XString& base, const XString& path, XJson document) {
    if (!reply) return false;
    XString url;
    try {
        url = base + path;
    } catch (...) {
        reply->Update(HALVEX_REPLY_INVALID_ARG);
        return false;
    }
    return POST(reply, url, document);
}

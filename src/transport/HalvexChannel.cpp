#include <pelmor/HalvexHTTP.h>
#include <pelmor/platform/XCrypt.h>
#include <pelmor/platform/XHttp.h>

#include <cstring>
#include <string>
#include <string_view>

#include "ChannelBody.h"
#include "ChannelRequest.h"
#include "frame/TextLength.h"

namespace {

// Bytes parsed as text that stops at the first zero byte, as every text taken from a byte array does.
XJson ParseText(const QByteArray& bytes) {
    XJson parsed;
    parsed.Parse(bytes.constData(), TextLength(bytes.constData(), static_cast<std::size_t>(bytes.size())));
    return parsed;
}

// The "data" text of an envelope in the compact form the service writes, {"En":1,"data":"<Base64>"}, cut
// out directly: Base64 needs no unescaping, and a reply's whole payload is in it. A null view for any
// other form, which is then parsed.
std::string_view CompactEnvelopeData(const char* text, std::size_t length) {
    static constexpr std::string_view kStart = R"({"En":1,"data":")";
    static constexpr std::string_view kEnd = R"("})";
    const std::string_view envelope(text, length);
    if (length < kStart.size() + kEnd.size() || envelope.substr(0, kStart.size()) != kStart ||
        envelope.substr(length - kEnd.size()) != kEnd)
        return std::string_view();
    const std::string_view data = envelope.substr(kStart.size(), length - kStart.size() - kEnd.size());
    // Two scans with memchr: find_first_of would test each byte against the set one call at a time.
    if (std::memchr(data.data(), '"', data.size()) || std::memchr(data.data(), '\\', data.size()))
        return std::string_view();
    return data;
}

bool IsGatewayFailure(int status) {
    return status == 502 || status == 504;
}

// Data up to this size can be handed on as its text. A larger one is built and rendered afresh after the
// response is gone, so that its text and its tree never take memory at once.
constexpr std::size_t kLargestDataText = 256 * 1024;

// The reply document of a body, decoded and decrypted where the body lies: each layer is shorter than
// the one it comes from and is written over it from the start, so that a reply of any size takes no
// memory beside its body but its parsed tree. dataText, when given, is set to the document's "data" as it
// stands in body when that is exactly what rendering it would write and the document is not large; the
// data is then not built (null in the document). Else it is empty and the document whole.
XJson DecryptInPlace(QByteArray& body, std::string_view* dataText = nullptr) {
    if (body.isEmpty()) return XJson();
    char* const bytes = body.data();
    std::size_t length = 0;
    if (!XCrypt::BASE64::DecodeInto(bytes, static_cast<std::size_t>(body.size()), bytes, length))
        return XJson();
    length = TextLength(bytes, length);
    std::string_view data = CompactEnvelopeData(bytes, length);
    std::string parsedData;
    if (!data.data()) {
        XJson parsed;
        parsed.Parse(bytes, length);
        if (parsed.IsEmpty()) return XJson();
        parsedData = parsed.ToString("data");
        data = parsedData;
    }
    // The data's text lies after the start of the envelope, or in a copy of its own: decoding it to the
    // start never overtakes what is still to be read.
    if (!XCrypt::BASE64::DecodeInto(data.data(), data.size(), bytes, length)) return XJson();
    if (!XCrypt::AES::CBC::DecryptInPlace(ChannelKey(), ChannelIv(), bytes, length, length)) return XJson();
    XJson document;
    length = TextLength(bytes, length);
    if (dataText && length <= kLargestDataText)
        document.Parse(bytes, length, "data", *dataText);
    else
        document.Parse(bytes, length);
    return document;
}

// The body for a whole document. The text goes to the cipher as it is rendered: a large document never
// exists twice.
QByteArray EncryptDocument(const XJson& document) {
    ChannelBodyWriter writer(ChannelKey(), ChannelIv(), document.ApproximateJsonLength());
    if (!document.Render(
            [&writer](const char* piece, std::size_t length) { return writer.Write(piece, length); }))
        return QByteArray();
    return writer.Finish();
}

}  // namespace

XJson HalvexHTTP::Decrypt_AES_BASE64(const QByteArray& body) {
    try {
        QByteArray own = body;  // made the function's own when written to
        return DecryptInPlace(own);
    } catch (...) {
        return XJson();
    }
}

QByteArray HalvexHTTP::Encrypt_BASE64_AES(XJson& document) {
    return EncryptDocument(document);
}

QByteArray HalvexHTTP::Encrypt_BASE64(XJson& document) {
    try {
        const std::string text = document.ToJson();
        return XCrypt::BASE64::Encode(text.data(), text.size());
    } catch (...) {
        return QByteArray();
    }
}

XJson HalvexHTTP::Decrypt_BASE64(const QByteArray& body) {
    try {
        return ParseText(XCrypt::BASE64::Decode(body));
    } catch (...) {
        return XJson();
    }
}

namespace {

// Sends a request's body and fills reply from what comes back.
bool Exchange(HalvexReply* reply, const XString& url, const QByteArray& body, QByteArray* dataText) {
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
    response.truncate(
        static_cast<int>(TextLength(response.constData(), static_cast<std::size_t>(response.size()))));
    std::string_view asReceived;
    XJson answer =
        DecryptInPlace(response, dataText ? &asReceived : nullptr);  // the response is this call's own
    // The text is then all there is of the data: running out of memory here ends the exchange.
    if (!asReceived.empty()) *dataText = QByteArray(asReceived.data(), static_cast<int>(asReceived.size()));
    response.clear();
    if (answer.IsEmpty()) {
        reply->Update(HALVEX_REPLY_DECRYPT_ERROR);
        return false;
    }
    // The service's own code is not looked at here: a refusal is still a stored reply. The data, which
    // can be large, is moved into the reply rather than copied.
    XJson data = answer.Take("data");
    reply->Update(answer);
    reply->Data() = std::move(data);
    return true;
}

}  // namespace

bool HalvexHTTP::POST(HalvexReply* reply, const XString& url, const char* method, XJson params,
                      std::string_view paramsInfo, QByteArray* dataText) {
    if (!reply) return false;
    if (url.empty()) {
        reply->Update(HALVEX_REPLY_INVALID_ARG);
        return false;
    }
    if (dataText) dataText->clear();
    return Exchange(reply, url, ChannelRequestBody(method, params, paramsInfo), dataText);
}

bool HalvexHTTP::POST(HalvexReply* reply, const XString& base, const XString& path, XJson params,
                      std::string_view paramsInfo) {
    if (!reply) return false;
    XString url;
    try {
        url = base + path;
    } catch (...) {
        reply->Update(HALVEX_REPLY_INVALID_ARG);
        return false;
    }
    return POST(reply, url, nullptr, std::move(params), paramsInfo);
}

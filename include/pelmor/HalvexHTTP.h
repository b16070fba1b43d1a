#pragma once

#include <pelmor/Export.h>
#include <pelmor/HalvexReply.h>
#include <pelmor/platform/XJson.h>
#include <pelmor/platform/XString.h>

#include <QByteArray>
#include <functional>
#include <string_view>

// The library's HTTP side. The encrypted channel to the service is internal; the plain GET and POST and
// the two steps of the warranty-coverage site are exported for hosts. Every operation is static.
class HalvexHTTP {
  public:
    HalvexHTTP() = default;
    virtual ~HalvexHTTP() = default;

    // --- Encrypted channel (internal) ---

    // The body for a document: Base64 of {"En":1,"data":Base64(AES-256-CBC(document text))}; empty on
    // failure.
    static QByteArray Encrypt_BASE64_AES(XJson& document);
    // The document inside such a body; empty when any layer fails.
    static XJson Decrypt_AES_BASE64(const QByteArray& body);
    // Base64 of the document's text, no cipher and no envelope, and back.
    static QByteArray Encrypt_BASE64(XJson& document);
    static XJson Decrypt_BASE64(const QByteArray& body);

    // Posts one request and fills reply. True when a reply document came back and was stored, whatever
    // the service's own code; false with a local code (1 to 5) in reply otherwise. The document sent is
    // {"method":method,"params":params} followed by the current settings, as
    // PelmorSocketHelper::BuildJson makes it; no "method" when method is null (the enterprise form).
    // paramsInfo, when not empty, is JSON text sent as params' "info" in place of what that member holds:
    // a device description is written as text rather than built as a tree. dataText, when given, receives
    // the text of the reply's data when it came exactly as XJson::Render writes it and is not large, so
    // that a caller handing the data on as text need not render it; reply's Data() is then left null, and
    // the text is all there is of the data. It is left empty otherwise, and Data() holds the data.
    static bool POST(HalvexReply* reply, const XString& url, const char* method, XJson params,
                     std::string_view paramsInfo = {}, QByteArray* dataText = nullptr);
    // The enterprise form, to base + path joined with nothing in between.
    static bool POST(HalvexReply* reply, const XString& base, const XString& path, XJson params,
                     std::string_view paramsInfo = {});

    // --- Plain HTTP for hosts ---

    // Blocking requests; the callback gets the whole response as text and is called only on success.
    PELMOR_SOCKET_API static bool POST(const char* url, const char* body,
                                       std::function<void(const char*)> callback);
    PELMOR_SOCKET_API static bool GET(const char* url, std::function<void(const char*)> callback);

    // Warranty-coverage site. Step 1 hands the captcha and the site's cookies to callback; step 2 posts
    // the serial number and the captcha answer with the page's CSRF token. Step 2 returns true without
    // calling back when the page carried no token.
    PELMOR_SOCKET_API static bool GETWarranty(const char* url,
                                              std::function<void(const char*, const char*)> callback);
    PELMOR_SOCKET_API static bool POSTWarranty(const char* url, const char* cookie, const char* sno,
                                               const char* ans, std::function<void(const char*)> callback);
};

// Key and IV of the channel: the same for every request and reply, in both directions and editions.
PELMOR_SOCKET_API extern char _StaticAesKey[33];
PELMOR_SOCKET_API extern char _StaticAesIv[17];

#include <pelmor/HalvexHTTP.h>
#include <pelmor/PelmorSocket.h>

#include <new>

#include "frame/PelmorSocketHelper.h"

HalvexReply* _7374312F_0CF9_4A1A_B7C5_2B98C48CA64D(std::function<void(const QByteArray&)> callback) {
    HalvexReply* reply = new (std::nothrow) HalvexReply();
    if (!reply || !callback) return reply;
    QByteArray configuration;
    try {
        if (!HalvexHTTP::POST(reply, PelmorSocketHelper::RequestAddress(),
                              PelmorSocketHelper::BuildJson("client.config", XJson())))
            return reply;
        // The service's code is not checked: a refusal still hands over whatever data it carried. Rendered
        // straight into the bytes handed over: the data can be large.
        if (!reply->Data().Render([&configuration](const char* piece, std::size_t length) {
                configuration.append(piece, static_cast<int>(length));
                return true;
            }))
            configuration.clear();
    } catch (...) {
        return reply;
    }
    callback(configuration);
    return reply;
}

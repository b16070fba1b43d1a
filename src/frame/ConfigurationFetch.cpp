#include <pelmor/HalvexHTTP.h>
#include <pelmor/PelmorSocket.h>

#include <QByteArray>
#include <cstddef>
#include <utility>

#include "frame/ServiceCall.h"

namespace {

// The configuration fetch's reply. Its data usually comes as text that the host takes as it stands; the
// tree is built from that text only when something asks for Data(), which few hosts do.
class ConfigurationReply final : public HalvexReply {
  public:
    // The data's text, which stands for the data until Data() is asked for. A copy shares the bytes.
    void KeepDataText(const QByteArray& text) noexcept { dataText_ = text; }

    XJson& Data() override {
        if (!dataText_.isNull()) {
            const QByteArray text = std::exchange(dataText_, QByteArray());
            // Running out of memory leaves the data empty, and is noted as every shortage is.
            XJson parsed;
            parsed.Parse(text.constData(), static_cast<std::size_t>(text.size()));
            HalvexReply::Data() = std::move(parsed);
        }
        return HalvexReply::Data();
    }

    void Update(XJson& reply) override {
        dataText_ = QByteArray();
        HalvexReply::Update(reply);
    }

  private:
    QByteArray dataText_;
};

}  // namespace

HalvexReply* _7374312F_0CF9_4A1A_B7C5_2B98C48CA64D(std::function<void(const QByteArray&)> callback) {
    // The data's text as the reply carried it, when that is what rendering it gives; the reply's data
    // is then not built.
    QByteArray asReceived;
    return ServiceCall::Standard<ConfigurationReply>(
        "client.config", static_cast<bool>(callback), [] { return XJson(); },
        [&](ConfigurationReply& reply) {
            // The service's code is not checked: a refusal still hands over whatever data it carried.
            // Otherwise rendered straight into the bytes handed over, since the data can be large; never in
            // part.
            QByteArray configuration = asReceived;
            if (!configuration.isEmpty())
                reply.KeepDataText(configuration);
            else if (!reply.Data().Render([&configuration](const char* piece, std::size_t length) {
                         configuration.append(piece, static_cast<int>(length));
                         return true;
                     }))
                configuration.clear();
            ServiceCall::Deliver(callback, configuration);
        },
        &asReceived);
}

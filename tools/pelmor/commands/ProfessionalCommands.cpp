// The paid professional report: price, payment by QR code, and the report itself.
#include <pelmor/records/ProfessionalReport.h>

#include <iostream>
#include <optional>

#include <boost/json/serialize.hpp>

#include "Command.h"
#include "DeviceFile.h"
#include "RecordKeys.h"
#include "Terminal.h"
#include "commands/Flows.h"

namespace pelmor {

namespace {

int ProCheck(Session& s, const Args& a) {
    auto device = s.Device("pro-check", a[0]);
    if (!device) return kBadInput;
    return s.Exchange("pro-check", [&](JsonObject& out) {
        return s.S().ProfessionalCheck(device.get(), [&](bool exist, double price) {
            out = {{"reportAvailable", exist}, {"price", price}};
        });
    });
}

// One look at the order; paid is set only when the exchange worked.
int PaymentState(Session& s, const QString& tradeNo, bool& paid) {
    return s.Call("pay", [&] { return s.S().PaymentResult(tradeNo, [&](bool status) { paid = status; }); });
}

int Pay(Session& s, const Args& a) {
    auto device = s.Device("pay", a[0]);
    if (!device) return kBadInput;
    long long way = 1, timeout = 0;
    if (const int bad = IntegerOption(s, a, "--way", 1, 0, 1, way)) return bad;
    if (const int bad = IntegerOption(s, a, "--timeout", 300, 1, 86400, timeout)) return bad;
    return PayAndWait(s, *device, way == 1, !a.Has("--no-wait"), static_cast<int>(timeout),
                      [](const std::string&) {});
}

int PayStatus(Session& s, const Args& a) {
    bool paid = false;
    const int status = PaymentState(s, QString::fromStdString(a[0]), paid);
    if (status == kOk) s.Show(JsonObject{{"order", a[0]}, {"paid", paid}});
    return status;
}

int ProReport(Session& s, const Args& a) {
    auto device = s.Device("pro-report", a[0]);
    if (!device) return kBadInput;
    QByteArray file = QByteArray::fromStdString(a.Get("--file"));
    if (file.isEmpty() && device->GetFileRecord()) file = device->GetFileRecord()->data;
    if (file.isEmpty()) return s.Fail("pro-report", a[0] + ": the device has no file data; pass --file");
    return s.Exchange("pro-report", [&](JsonObject& out) {
        return s.S().ProfessionalVerify(device.get(), file, [&](ISocketInfoProverify* r) {
            out = {{"price", r->Reprice()}, {"date", ServiceTime(Utf8(r->Date()))}};
            JsonArray items, variables;
            r->TraverseItem([&](ISocketInfoProverifyItem* item) {
                items.push_back(JsonObject{{"key", ProverifyItemKey(item->GetKey())},
                                           {"name", Utf8(item->GetName())},
                                           {"result", Utf8(item->GetResult())},
                                           {"onFile", Utf8(item->GetSource())},
                                           {"now", Utf8(item->GetCurrent())},
                                           {"message", Utf8(item->GetMessage())}});
            });
            r->TraverseVariable([&](ISocketInfoProverifyVar* v) {
                variables.push_back(JsonObject{{"key", ProverifyVariableKey(v->GetKey())},
                                               {"name", Utf8(v->GetName())},
                                               {"value", Utf8(v->GetValue())},
                                               {"result", Utf8(v->GetResult())}});
            });
            out["items"] = std::move(items);
            out["variables"] = std::move(variables);
        });
    });
}

}  // namespace

int PayAndWait(Session& s, CDeviceFile& device, bool way, bool wait, int timeout,
               const std::function<void(const std::string& order)>& onOrder) {
    QString tradeNo;
    QByteArray qr;
    Session::Answer answer;
    int status = s.Call(
        "pay",
        [&] {
            return s.S().PaymentPicture(&device, way, [&](QString no, QByteArray code) {
                tradeNo = no;
                qr = code;
            });
        },
        &answer);
    if (status != kOk) return status;
    if (tradeNo.isEmpty()) return s.Fail("pay", "the service answered without an order number", kFailed);
    // The price comes with the order, though the library's callback does not pass it on.
    const Json* price = answer.data.is_object() ? answer.data.get_object().if_contains("price") : nullptr;
    JsonObject order{{"order", Utf8(tradeNo)},
                     {"price", price && price->is_number() ? *price : Json(nullptr)},
                     {"qrPayload", qr.toStdString()},
                     {"paid", false}};
    if (!s.options().json) {
        if (!DrawQRCode(qr)) std::cout << "payment code: " << qr.toStdString() << '\n';
        std::cout << "Order " << tradeNo.toStdString() << ": scan the code to pay "
                  << (price && price->is_number() ? NumberText(price->to_number<double>()) : std::string("?"))
                  << '.' << std::endl;
    } else if (wait) {
        // stdout waits for the one document; whoever pays needs the code now.
        std::cerr << "Order " << tradeNo.toStdString() << ": pay with the QR payload " << qr.toStdString()
                  << std::endl;
    }
    onOrder(Utf8(tradeNo));
    if (!wait) {
        s.Show(order);
        return kOk;
    }
    status = s.Wait("pay", "waiting for payment of order " + Utf8(tradeNo), timeout, 1,
                    "order " + Utf8(tradeNo) + " not paid within " + std::to_string(timeout) + " s",
                    [&](std::string&) -> std::optional<int> {
                        bool paid = false;
                        const int state = PaymentState(s, tradeNo, paid);
                        if (state != kOk) return state;
                        if (paid) return kOk;
                        return std::nullopt;
                    });
    if (status != kOk) return status;
    order["paid"] = true;
    s.Show(order);
    return kOk;
}

std::vector<Command> ProfessionalCommands() {
    const auto e = PELMOR_SOCKET_EDITION_STANDARD;
    const char* g = kGroupProfessional;
    return {
        {g, "pro-check", e, "DEVICE", "", 1, 1,
         "whether a professional report exists for the handset, and its price", ProCheck},
        {g, "pay", e, "DEVICE [--way 0|1] [--no-wait] [--timeout S]", "--way= --no-wait --timeout=", 1, 1,
         "show the payment QR code and wait until the order is paid", Pay},
        {g, "pay-status", e, "ORDER", "", 1, 1, "whether an order is paid", PayStatus},
        {g, "pro-report", e, "DEVICE [--file TEXT]", "--file=", 1, 1,
         "the professional report of a paid handset", ProReport},
    };
}

}  // namespace pelmor

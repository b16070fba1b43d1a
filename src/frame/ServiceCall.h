#pragma once

#include <pelmor/HalvexHTTP.h>

#include <pelmor/platform/MemoryShortage.h>

#include <QByteArray>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "frame/PelmorSocketHelper.h"
#include "frame/TextLength.h"

// The one shape every service operation of both editions has:
//   a fresh reply (it reads as HALVEX_REPLY_INVALID_ARG until answered);
//   nothing sent when an argument is missing;
//   the parameters built, wrapped in the request document and posted;
//   onReply called with the reply only when a reply document came back (a refusal by the service counts);
//   the reply handed to the caller, who frees it with Release().
// An operation states only what differs: its name, its checks, its parameters and what it reads.
namespace ServiceCall {

namespace detail {

// The memory-shortage count when the exchange began to take in its reply; Deliver and HandRecord compare
// against it.
inline thread_local unsigned long long shortagesBeforeReading = 0;

// Marks the start of reading a reply, and puts back the outer mark when a host calls another operation
// from inside a callback.
class ReadingMark {
  public:
    ReadingMark() noexcept : outer_(shortagesBeforeReading) {
        shortagesBeforeReading = Pelmor::MemoryShortages();
    }
    ~ReadingMark() { shortagesBeforeReading = outer_; }
    ReadingMark(const ReadingMark&) = delete;
    ReadingMark& operator=(const ReadingMark&) = delete;

  private:
    unsigned long long outer_;
};

}  // namespace detail

// A request: the method (standard edition; null for the enterprise one), its params, and the JSON text of
// the params' "info" when that is sent as text (DeviceParams). The channel writes the document around them.
struct Request {
    const char* method = nullptr;
    XJson params;
    std::string paramsInfo;  // empty: the params go as they are
};

// Parameters that begin with a device's description as "info", written as text: built as a tree,
// rendered and freed, the description was a sixth of a verification's client work.
struct DeviceParams {
    explicit DeviceParams(ISocketDevice* device) : info(PelmorSocketHelper::DeviceDescriptionJson(device)) {
        params.Add("info", XJson());  // holds the member's place; the text goes there
    }
    XJson params;
    std::string info;
};

namespace detail {

// The request for parameters as an operation built them.
inline Request MakeRequest(const char* method, XJson params) {
    return Request{method, std::move(params), std::string()};
}
inline Request MakeRequest(const char* method, DeviceParams params) {
    return Request{method, std::move(params.params), std::move(params.info)};
}

}  // namespace detail

// build() makes the request, send(reply, request) posts it and says whether a reply document came
// back, onReply(Reply&) reads the reply and hands it on with Deliver or HandRecord. Reply is HalvexReply or
// an operation's own kind of it.
// Running out of memory anywhere in these steps skips the rest and leaves the reply as it stands. A document
// that came out short is not sent: the service would take it for another request. Host callbacks run only
// through Deliver and HandRecord, which are noexcept, so that a callback that throws ends the process rather
// than landing in the handlers here.
template <typename Reply = HalvexReply, typename Build, typename Send, typename OnReply>
HalvexReply* Exchange(bool argumentsPresent, Build&& build, Send&& send, OnReply&& onReply) noexcept {
    Reply* reply = new (std::nothrow) Reply();
    if (!reply || !argumentsPresent) return reply;
    try {
        const unsigned long long shortagesBeforeBuilding = Pelmor::MemoryShortages();
        Request request = build();
        if (Pelmor::MemoryShortages() != shortagesBeforeBuilding) return reply;
        // From here a shortage means the reply or what is read from it may be incomplete.
        const detail::ReadingMark mark;
        if (!send(reply, std::move(request))) return reply;
        onReply(*reply);
    } catch (...) {
        // Out of memory: the reply keeps the code it has.
    }
    return reply;
}

// Standard edition: the method names the operation inside the document, posted to the one address.
// dataText: as HalvexHTTP::POST's, for an operation that hands the reply's data on as text.
template <typename Reply = HalvexReply, typename Params, typename OnReply>
HalvexReply* Standard(const char* method, bool argumentsPresent, Params&& params, OnReply&& onReply,
                      QByteArray* dataText = nullptr) noexcept {
    return Exchange<Reply>(
        argumentsPresent, [&] { return detail::MakeRequest(method, params()); },
        [dataText](HalvexReply* reply, Request request) {
            return HalvexHTTP::POST(reply, PelmorSocketHelper::RequestAddress(), request.method,
                                    std::move(request.params), request.paramsInfo, dataText);
        },
        std::forward<OnReply>(onReply));
}

// Enterprise edition: the path names the operation; it is joined to the address with nothing between.
template <typename Params, typename OnReply>
HalvexReply* Enterprise(const wchar_t* path, bool argumentsPresent, Params&& params,
                        OnReply&& onReply) noexcept {
    return Exchange(
        argumentsPresent, [&] { return detail::MakeRequest(nullptr, params()); },
        [path](HalvexReply* reply, Request request) {
            return HalvexHTTP::POST(reply, PelmorSocketHelper::RequestAddress(), XString(path),
                                    std::move(request.params), request.paramsInfo);
        },
        std::forward<OnReply>(onReply));
}

// Calls a host callback with values read from the reply, unless reading them ran short of memory (they
// would be incomplete). A callback that throws ends the process here.
template <typename Callback, typename... Values>
void Deliver(const Callback& callback, Values&&... values) noexcept {
    if (Pelmor::MemoryShortages() != detail::shortagesBeforeReading) return;
    callback(std::forward<Values>(values)...);
}

// A narrow text parameter: a missing text goes as an empty one, and bytes end at the first zero byte,
// like the C string they are taken as. A view: XJson copies it once, into the document.
inline std::string_view Text(const char* text) {
    return text ? std::string_view(text) : std::string_view();
}

inline std::string_view Text(const QByteArray& bytes) {
    return std::string_view(bytes.constData(),
                            TextLength(bytes.constData(), static_cast<std::size_t>(bytes.size())));
}

// For operations that read nothing back.
inline void NoReply(HalvexReply&) noexcept {}

// Builds a record with make() (a pointer from a non-throwing new, or null), hands it to callback and
// destroys it when the callback returns. No record, or one that ran short of memory while it was filled,
// no callback.
template <typename Make, typename Callback>
void HandRecord(Make&& make, const Callback& callback) noexcept {
    auto* record = [&]() noexcept -> decltype(make()) {
        try {
            return make();
        } catch (...) {
            return nullptr;
        }
    }();
    if (!record) return;
    if (Pelmor::MemoryShortages() == detail::shortagesBeforeReading) callback(record);
    delete record;
}

// A record made empty, filled by SetJson from a copy of the reply's data, handed to the callback and
// destroyed when it returns.
template <typename Record, typename Callback>
auto FilledRecord(const Callback& callback) {
    return [&callback](HalvexReply& reply) {
        HandRecord(
            [&] {
                Record* record = new (std::nothrow) Record();
                if (record) {
                    XJson data(reply.Data());
                    record->SetJson(data);
                }
                return record;
            },
            callback);
    };
}

// A record built whole by its constructor from the reply's data, handed over and destroyed.
template <typename Record, typename Callback>
auto ConstructedRecord(const Callback& callback) {
    return [&callback](HalvexReply& reply) {
        HandRecord([&] { return new (std::nothrow) Record(reply.Data()); }, callback);
    };
}

}  // namespace ServiceCall

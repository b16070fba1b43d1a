#pragma once

#include <pelmor/HalvexHTTP.h>

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

// params() builds the parameters object; onReply(HalvexReply&) reads the reply and calls the callback.
// A failed allocation while building or posting leaves the reply as it stands and calls nothing back. The
// callback itself runs outside any handler: one that throws ends the process, as documented for hosts.
template <typename Post, typename OnReply>
HalvexReply* Exchange(bool argumentsPresent, Post&& post, OnReply&& onReply) noexcept {
    HalvexReply* reply = new (std::nothrow) HalvexReply();
    if (!reply || !argumentsPresent) return reply;
    bool received = false;
    try {
        received = post(reply);
    } catch (...) {
        received = false;
    }
    if (received) onReply(*reply);
    return reply;
}

// Standard edition: the method names the operation inside the document, posted to the one address.
template <typename Params, typename OnReply>
HalvexReply* Standard(const char* method, bool argumentsPresent, Params&& params,
                      OnReply&& onReply) noexcept {
    return Exchange(
        argumentsPresent,
        [&](HalvexReply* reply) {
            return HalvexHTTP::POST(reply, PelmorSocketHelper::RequestAddress(),
                                    PelmorSocketHelper::BuildJson(method, params()));
        },
        std::forward<OnReply>(onReply));
}

// Enterprise edition: the path names the operation; it is joined to the address with nothing between.
template <typename Params, typename OnReply>
HalvexReply* Enterprise(const wchar_t* path, bool argumentsPresent, Params&& params,
                        OnReply&& onReply) noexcept {
    return Exchange(
        argumentsPresent,
        [&](HalvexReply* reply) {
            return HalvexHTTP::POST(reply, PelmorSocketHelper::RequestAddress(), XString(path),
                                    PelmorSocketHelper::BuildJson(params()));
        },
        std::forward<OnReply>(onReply));
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
// destroys it when the callback returns. No record, no callback.
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
    callback(record);
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

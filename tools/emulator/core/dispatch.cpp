#include "emulator/core/dispatch.h"

#include "emulator/core/codec.h"
#include "emulator/core/connection_cut.h"
#include "emulator/core/envelope.h"

#include <chrono>
#include <cstdio>
#include <thread>

namespace pelmor::emulator {

namespace {

using json = nlohmann::ordered_json;

constexpr const char kStandardPath[] = "/modules/app/api.do";
constexpr const char kEnterprisePrefix[] = "/brisel-ent/api";
constexpr const char kContentType[] = "text/plain;charset=UTF-8";

void send_body(httplib::Response& res, std::string body) {
    res.status = 200;
    res.set_content(std::move(body), kContentType);
}

std::string code_summary(const json& envelope) {
    const auto it = envelope.is_object() ? envelope.find("code") : envelope.end();
    return it == envelope.end() ? std::string("no code") : "code " + codec::render(*it);
}

// What a request document must carry on either address; "" when it is complete.
std::string document_problem(Address address, const json& document) {
    if (!document.is_object()) return "the document is not an object";
    if (address == Address::standard) {
        const auto method = document.find("method");
        if (method == document.end() || !method->is_string()) return "\"method\" is missing";
    }
    if (!document.contains("params")) return "\"params\" is missing";
    for (const char* key : {"source", "token", "version"}) {
        const auto it = document.find(key);
        if (it == document.end() || !it->is_string()) return std::string("\"") + key + "\" is missing";
    }
    return {};
}

Reply build_reply(Context& ctx, Address address, const std::string& operation, const codec::Decoded& decoded,
                  const std::string& client_address) {
    if (address == Address::fallback)
        return refuse(refusal::kAddressNotFound, "ADDRESS_NOT_FOUND", "请求地址不存在");
    if (!decoded.ok()) return refuse(refusal::kBadRequestBody, "BAD_REQUEST_BODY", "请求数据解析失败");
    if (const auto problem = document_problem(address, decoded.document); !problem.empty())
        return refuse(refusal::kInvalidDocument, "INVALID_DOCUMENT", "请求参数不完整: " + problem);

    const Handler* handler = ctx.router.find(address, operation);
    if (!handler) {
        return address == Address::standard
                   ? refuse(refusal::kMethodNotFound, "METHOD_NOT_FOUND", "接口方法不存在: " + operation)
                   : refuse(refusal::kPathNotFound, "PATH_NOT_FOUND", "接口路径不存在: " + operation);
    }
    try {
        return (*handler)(Call{address, operation, decoded.document, ctx.state, client_address});
    } catch (const std::exception& e) {
        return refuse(refusal::kInternalError, "INTERNAL_ERROR", std::string("服务器内部错误: ") + e.what());
    }
}

// The response as the log keeps it: status, the reply envelope that was encrypted, and a note.
LogResponse sent(int status, json reply, std::string note) {
    LogResponse response;
    response.status = status;
    response.reply = std::move(reply);
    response.note = std::move(note);
    return response;
}

LogResponse send_envelope(httplib::Response& res, json envelope) {
    send_body(res, codec::encode_document(envelope));
    std::string note = code_summary(envelope);
    return sent(200, std::move(envelope), std::move(note));
}

LogResponse answer_normally(Context& ctx, const httplib::Request& req, httplib::Response& res,
                            Address address, const std::string& operation, const codec::Decoded& decoded) {
    if (address == Address::other) {
        res.status = 404;
        res.set_content("not found\n", "text/plain");
        return sent(404, nullptr, "status 404");
    }
    if (req.method != "POST") {
        res.status = 405;
        res.set_header("Allow", "POST");
        res.set_content("method not allowed\n", "text/plain");
        return sent(405, nullptr, "status 405");
    }
    const Reply reply = build_reply(ctx, address, operation, decoded, req.remote_addr);
    return send_envelope(res, render_envelope(reply, ctx.state.now_ms()));
}

LogResponse apply_script(Context& ctx, const Script& script, const httplib::Request& req,
                         httplib::Response& res, Address address, const std::string& operation,
                         const codec::Decoded& decoded) {
    switch (script.action) {
        case Script::Action::normal:
            return answer_normally(ctx, req, res, address, operation, decoded);
        case Script::Action::reply:
            return send_envelope(res, script.reply);
        case Script::Action::status:
            res.status = script.status;
            res.set_content(script.body, "text/plain");
            return sent(script.status, nullptr, "status " + std::to_string(script.status));
        case Script::Action::undecryptable:
            send_body(res, "<html><body>this is not an encrypted reply</body></html>");
            return sent(200, nullptr, "undecryptable body");
        case Script::Action::not_json:
            send_body(res, codec::seal("<html><body>502 Bad Gateway</body></html>"));
            return sent(200, nullptr, "plaintext not JSON");
        case Script::Action::drop:
        case Script::Action::drop_empty: {
            const json envelope = render_envelope(success(json::object()), ctx.state.now_ms());
            const Cut cut = cut_response(script.action == Script::Action::drop_empty, req, res,
                                         codec::encode_document(envelope), kContentType);
            return sent(cut.status, nullptr, cut.note);
        }
    }
    return sent(0, nullptr, "unknown script action");
}

}  // namespace

Target classify(const std::string& path) {
    if (path == kStandardPath) return {Address::standard, {}};
    if (path.rfind(kEnterprisePrefix, 0) == 0)
        return {Address::enterprise, path.substr(sizeof kEnterprisePrefix - 1)};
    if (path == "/") return {Address::fallback, {}};
    return {Address::other, {}};
}

void serve(Context& ctx, const httplib::Request& req, httplib::Response& res) {
    const Target target = classify(req.path);
    codec::Decoded decoded = codec::decode_document(req.body);

    std::string operation = target.suffix;
    if (target.address == Address::standard && decoded.document.is_object()) {
        const auto method = decoded.document.find("method");
        if (method != decoded.document.end() && method->is_string()) operation = method->get<std::string>();
    }

    LogEntry entry = entry_of(req, address_name(target.address), operation);
    entry.document = decoded.document;
    entry.decode_error = decoded.error;
    const auto logged = ctx.log.append(std::move(entry));

    LogResponse response;
    if (auto script = ctx.scripts.take(operation, true)) {
        if (script->delay_ms > 0) std::this_thread::sleep_for(std::chrono::milliseconds(script->delay_ms));
        response = apply_script(ctx, *script, req, res, target.address, operation, decoded);
        response.script = script->id;
    } else {
        response = answer_normally(ctx, req, res, target.address, operation, decoded);
    }
    const std::string outcome =
        response.note + (response.script ? " (script " + std::to_string(response.script) + ")" : "");
    ctx.log.answer(logged.ticket, std::move(response));

    if (!ctx.options.quiet) {
        std::fprintf(stderr, "pelmor-emulator: #%llu %s %s %s -> %s\n",
                     static_cast<unsigned long long>(logged.seq), req.method.c_str(),
                     address_name(target.address), operation.empty() ? "-" : operation.c_str(),
                     outcome.c_str());
    }
}

}  // namespace pelmor::emulator

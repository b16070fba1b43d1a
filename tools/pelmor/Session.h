#pragma once

#include <pelmor/ISocketReply.h>
#include <pelmor/PelmorSocketInterface.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Library.h"
#include "Output.h"
#include "State.h"

class CDeviceFile;

namespace pelmor {

// Exit statuses.
enum Exit : int { kOk = 0, kFailed = 1, kBadInput = 2, kNotOffered = 3 };

struct Options {
    bool json = false;
    std::string library;    // --library
    std::string statePath;  // "" keeps the state in memory only
};

// One run of pelmor: the bound library, the service object of the edition the command needs, the saved
// state, and the one way every command calls an operation and reports its reply.
class Session {
  public:
    explicit Session(Options options);
    ~Session();

    const Options& options() const { return options_; }
    State& state() { return state_; }
    Library& library() { return library_; }

    // Reads the state file (a damaged one is reported and replaced).
    void Open();
    // Loads and binds the library, once; false with a reason when it cannot be loaded.
    bool Ready(std::string& error);

    // The service object of an edition, created on first use with the saved token of that edition. A
    // command of the other edition replaces it (the token is process-wide, so it is set again).
    PelmorSocketInterface* Service(ENUM_PELMOR_SOCKET_EDITION edition);
    // The service object of the running command's edition.
    PelmorSocketInterface& S();
    void SetEdition(ENUM_PELMOR_SOCKET_EDITION edition) { edition_ = edition; }

    // Stores a new token for the running command's edition, in the library and in the state file.
    void KeepToken(const std::string& token);
    bool SaveState();
    // From now on the state lives in memory only (the demo's log-ins must not replace the user's).
    void ForgetStateFile();

    // What one operation's reply said, taken before the reply is released.
    struct Answer {
        bool offered = false;  // false: the library answered with no reply
        bool success = false;
        int code = 0;
        std::string error, message;
        Json data;  // the reply's data, for what the operation's callback does not hand on
    };
    // Calls one operation and reads its reply, printing nothing.
    Answer Ask(const std::function<ISocketReply*()>& call);
    // Tells a failed answer (see Fail); returns an Exit.
    int Report(const std::string& what, const Answer& answer);

    // Calls one operation. The operation's callback fills result; call returns the operation's reply.
    // A null reply, or one that reports a failure, is told as Report tells it. Returns an Exit. answer,
    // when given, receives what the reply said.
    int Call(const std::string& what, const std::function<ISocketReply*()>& call, Answer* answer = nullptr);
    // Call, then show result (an empty object when the operation hands nothing back).
    int Exchange(const std::string& what, const std::function<ISocketReply*(JsonObject& result)>& call);

    // The command being run, as typed ("verify", "ent login"): it names every document.
    void SetCommand(const std::string& typed) { command_ = typed; }
    const std::string& Command() const { return command_; }

    // The run's result: with --json the document {"ok": true, "command", "result"}, else a table.
    void Show(const Json& result);
    // A failure: with --json the document {"ok": false, "command", "exitStatus", "error"} on stdout,
    // else "pelmor: <what>: <message>" on stderr. The error's kind follows from status. Returns status.
    int Fail(const std::string& what, const std::string& message, int status = kBadInput);
    // A warning: one line on stderr in either mode, "pelmor: <what>: <message>"; the run goes on.
    void Warn(const std::string& what, const std::string& message);
    // A failure with an error object of the caller's making (kind, code, name, message; see Fail).
    // result, when not null, goes into the document too (what was done before the failure).
    int FailWith(const std::string& what, int status, JsonObject error, Json result = nullptr) {
        return Failure(what, status, std::move(error), std::move(result));
    }
    // While sink is set, documents are handed to it instead of printed (the demo gathers its steps').
    void Capture(std::function<void(Json document)> sink) { capture_ = std::move(sink); }
    // A progress line on stderr, rewritten in place on a terminal.
    void Progress(const std::string& text);
    void EndProgress();
    // Asks attempt every intervalSeconds, with the progress line "<waiting>... N s (note)", until it
    // gives an Exit; after timeoutSeconds fails with timedOut. attempt may set the note.
    int Wait(const std::string& what, const std::string& waiting, int timeoutSeconds, int intervalSeconds,
             const std::string& timedOut,
             const std::function<std::optional<int>(std::string& note)>& attempt);

    // Loads a device by path or by the name of a sample device; tells the failure and returns null.
    std::unique_ptr<CDeviceFile> Device(const std::string& what, const std::string& nameOrPath);

  private:
    int Failure(const std::string& what, int status, JsonObject error, Json result = nullptr);
    void Emit(Json document);

    Options options_;
    std::string command_;
    std::function<void(Json)> capture_;
    Library library_;
    State state_;
    PelmorSocketInterface* service_ = nullptr;
    ENUM_PELMOR_SOCKET_EDITION serviceEdition_ = PELMOR_SOCKET_EDITION_STANDARD;
    ENUM_PELMOR_SOCKET_EDITION edition_ = PELMOR_SOCKET_EDITION_STANDARD;
    bool progressShown_ = false;
};

}  // namespace pelmor

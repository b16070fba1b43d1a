#pragma once

#include <pelmor/platform/XJson.h>

#include <string>

// Talks to the control surface of the pelmor-emulator that the test run started (under /_emulator/).
namespace EmulatorControl {

std::string BaseUrl();

// Clears the request log, the scripted answers and the emulator's state.
void Reset();

// Every service request since the last reset, oldest first: objects with "address", "operation",
// "path", "target", "headers", "body", "document", "decode_error", "script" and "response" (what went
// back: "status", the "reply" envelope, a "note").
XJson Log();

// The newest logged request, or an empty value.
XJson LastRequest();

// Queues a scripted answer; script is the JSON object the control surface takes.
void Script(const std::string& script);

// The JSON a GET of a control path answers; fails the test unless it answers 200.
XJson GetJson(const std::string& path);

// A GET or POST on the emulator's port; returns the HTTP status (0 when nothing answered).
int Get(const std::string& path, std::string* body = nullptr);
int Post(const std::string& path, const std::string& payload, std::string* body = nullptr);

}  // namespace EmulatorControl

#pragma once

#include <pelmor/platform/XJson.h>

#include <QByteArray>
#include <string_view>

// The channel's body for a request, its text written around the params as it goes to the cipher:
// {"method":"…","params": then the params (with paramsInfo, when not empty, as their "info"), then the
// settings. The bytes are those of PelmorSocketHelper::BuildJson's document; no document holding them all
// is built. No "method" when method is null. Empty on failure.
QByteArray ChannelRequestBody(const char* method, const XJson& params, std::string_view paramsInfo);

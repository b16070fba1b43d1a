#pragma once

#include <pelmor/platform/XString.h>

#include <QByteArray>
#include <QString>
#include <boost/json/value.hpp>
#include <string>

// Everything pelmor prints goes through here: results are built as JSON values (objects keep their
// order) and shown either as readable tables or, with --json, as JSON text.
namespace pelmor {

using Json = boost::json::value;
using JsonObject = boost::json::object;
using JsonArray = boost::json::array;

// Texts of every kind the library hands out, as UTF-8. Null pointers give "".
std::string Utf8(const wchar_t* text);
std::string Utf8(const XString& text);
std::string Utf8(const QString& text);
std::string Utf8(const char* text);
XString Wide(const std::string& utf8);

// Shows one value on stdout: a table (objects as "name  value" lines, arrays of objects as columns)
// or indented JSON. Tables label members by their camelCase keys split into words and leave out the
// raw "...EpochMs" twins of times, which they show in ISO form already.
void PrintResult(const Json& value, bool json);

// A double as people write it and JSON reads it back exactly ("9.9", not "9.9E0").
std::string NumberText(double number);

// "serialNumber" -> "serial number": the table label of a JSON key.
std::string Label(const std::string& key);

// A time in milliseconds since the epoch as ISO 8601 UTC ("2026-11-23T17:55:52Z", with .mmm when the
// milliseconds are not zero); null for 0 or less, which the service sends for "never".
Json IsoTime(long long epochMs);
// Sets key to the ISO form of epochMs and key + "EpochMs" to the raw number, for scripts that compute.
void PutTime(JsonObject& object, const std::string& key, long long epochMs);
// A service time text "YYYY-MM-DD hh:mm:ss" in ISO form ("YYYY-MM-DDThh:mm:ss", no zone: the service
// names none); a date alone stays as it is; "" gives null; anything else is kept as sent.
Json ServiceTime(const std::string& text);
// True for a day written YYYY-MM-DD.
bool IsDay(const std::string& text);
// A number the service sent as text, as a JSON number; null when the text is not wholly a number.
Json NumberFromText(const std::string& text);

// Terminal columns a UTF-8 text takes (wide East Asian characters count two).
std::size_t DisplayWidth(const std::string& text);

// Replaces line breaks and tabs by blanks, so that a message stays on one line.
std::string OneLine(std::string text);

}  // namespace pelmor

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

// Shows one result on stdout: a table (objects as "name  value" lines, arrays of objects as columns)
// or indented JSON.
void PrintResult(const Json& value, bool json);

// Terminal columns a UTF-8 text takes (wide East Asian characters count two).
std::size_t DisplayWidth(const std::string& text);

// Replaces line breaks and tabs by blanks, so that a message stays on one line.
std::string OneLine(std::string text);

}  // namespace pelmor

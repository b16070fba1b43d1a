#pragma once

#include <boost/json/string_view.hpp>
#include <boost/json/value.hpp>

#include "ParseArena.h"

#include <cstddef>

// Parses text into a tree in arena, exactly as boost::json::parse does with invalid UTF-8 allowed: the
// same kinds of numbers, duplicate keys keeping their first place and their last value, the same depth
// limit. ok is false (and the result null) for text that is not JSON. Throws ParseArena::OverBudget when
// the tree outgrows the arena's budget, and std::bad_alloc when memory runs out.
//
// Text is read by a fast reader of whole texts first. A text it cannot read (a fraction, a large integer,
// anything that is not JSON) is parsed again from the start by Boost.JSON's general parser, in a fresh
// arena: arena is then dropped and replaced by the new one, or set to null when there is no memory for it
// (and std::bad_alloc thrown). JsonReader::kGeneral skips the fast reader (its tests compare the two).
enum class JsonReader { kFastFirst, kGeneral };

// A member of the top-level object, asked for by key: text is where its value lies in the parsed text when
// that is byte for byte what RenderJson writes of the value, so that it can be handed on as it stands. The
// value is then not built: a null stands in its place in the tree. Left empty otherwise (the tree is then
// whole), and whenever the general parser read the text.
struct RenderedMember {
    boost::json::string_view key;
    boost::json::string_view text;
};

// readBy, when given, says which reader built the tree (or gave the verdict).
boost::json::value ParseJson(boost::json::string_view text, ParseArena*& arena, bool& ok,
                             JsonReader reader = JsonReader::kFastFirst, JsonReader* readBy = nullptr,
                             RenderedMember* member = nullptr);

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
// A text the fast reader cannot read is parsed again from the start in a fresh arena: arena is then
// dropped and replaced by the new one, or set to null when there is no memory for it (and std::bad_alloc
// thrown).
boost::json::value ParseJson(boost::json::string_view text, ParseArena*& arena, bool& ok);

// For the reader's own test only; not exported.
namespace json_parse_testing {
// Off: every text goes straight to the general parser.
void UseFastReader(bool on) noexcept;
// How many texts the fast reader has handed to the general parser on this thread.
std::size_t GeneralParses() noexcept;
}  // namespace json_parse_testing

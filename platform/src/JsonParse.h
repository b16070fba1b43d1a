#pragma once

#include <boost/json/string_view.hpp>
#include <boost/json/value.hpp>

#include "ParseArena.h"

// Parses text into a tree in arena, exactly as boost::json::parse does with invalid UTF-8 allowed: the
// same kinds of numbers, duplicate keys keeping their first place and their last value, the same depth
// limit. ok is false (and the result null) for text that is not JSON. Throws ParseArena::OverBudget when
// the tree outgrows the arena's budget, and std::bad_alloc when memory runs out.
boost::json::value ParseJson(boost::json::string_view text, ParseArena& arena, bool& ok);

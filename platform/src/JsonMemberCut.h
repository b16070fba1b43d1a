#pragma once

#include <boost/json/string_view.hpp>

#include <string>

// A member's value cut out of a document: where it lies in the document's text, and that text with null in
// its place.
struct CutMember {
    boost::json::string_view value;
    std::string rest;
};

// The value of the top-level member named key, cut out of text when it is written byte for byte as
// rendering it writes (compact, only the renderer's escapes, no key twice in any object, valid UTF-8) and
// is not null; empty otherwise. Found by one quick reading that builds nothing, so that the rest can be
// built without it. Throws std::bad_alloc when memory runs out.
CutMember CutOutMember(boost::json::string_view text, boost::json::string_view key);

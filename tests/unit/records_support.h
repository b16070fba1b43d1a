#pragma once

// Shared by the record tests.

#include <gtest/gtest.h>
#include <pelmor/platform/XJson.h>
#include <pelmor/platform/XString.h>

#include <cstddef>
#include <initializer_list>
#include <ostream>
#include <string>

#include "TestData.h"

// Failure messages show wide texts as UTF-8.
inline void PrintTo(const XString& text, std::ostream* out) {
    *out << '"' << text.ToUtf8() << '"';
}

namespace records_test {

// Each slot must equal its position in the list.
inline void ExpectSlotsInOrder(std::initializer_list<std::ptrdiff_t> slots) {
    std::ptrdiff_t expected = 0;
    for (std::ptrdiff_t slot : slots) {
        EXPECT_EQ(slot, expected) << "entry " << expected;
        ++expected;
    }
}

// The "data" of a reply kept under tests/data/records.
inline XJson ReplyData(const char* file) {
    return XJson(ReadTestData(std::string("records/") + file))["data"];
}

inline XJson Parse(const char* text) {
    return XJson(std::string(text));
}

}  // namespace records_test

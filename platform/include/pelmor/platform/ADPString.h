#pragma once

#include <string>

#include "Export.h"

// The text between the first occurrence of left and the next occurrence of right after it;
// "" when left, or right after it, is missing.
PELMOR_PLATFORM_API std::string ADPStringMiddle(std::string text, std::string left, std::string right);

// text with the first occurrence of part removed (case-sensitive); text unchanged when part is absent or
// empty.
PELMOR_PLATFORM_API std::string ADPStringRemove(std::string text, std::string part);

#include "pelmor/platform/ADPString.h"

std::string ADPStringMiddle(std::string text, std::string left, std::string right) {
    const size_t start = text.find(left);
    if (start == std::string::npos) return std::string();
    const size_t from = start + left.size();
    const size_t end = text.find(right, from);
    if (end == std::string::npos) return std::string();
    return text.substr(from, end - from);
}

std::string ADPStringRemove(std::string text, std::string part) {
    if (part.empty()) return text;
    const size_t at = text.find(part);
    if (at != std::string::npos) text.erase(at, part.size());
    return text;
}

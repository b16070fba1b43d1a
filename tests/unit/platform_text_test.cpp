#include <gtest/gtest.h>
#include <pelmor/platform/ADPString.h>
#include <pelmor/platform/PelmorMemory.h>
#include <pelmor/platform/PlatformString.h>
#include <pelmor/platform/XString.h>

#include <cerrno>

namespace {

TEST(XStringUtf8, ConvertsBothWaysAndReplacesInvalidInput) {
    const std::string utf8 = "A\xC3\xA9\xE8\xAE\xBE\xF0\x9F\x98\x80";  // A é 设 😀
    const XString wide = XString::FromUtf8(utf8);
    EXPECT_EQ(wide, XString(L"A\u00E9\u8BBE\U0001F600"));
    EXPECT_EQ(wide.ToUtf8(), utf8);

    // Stray continuation, truncated sequence, overlong form, surrogate, beyond U+10FFFF.
    EXPECT_EQ(XString::FromUtf8(std::string("a\x80"
                                            "b")),
              XString(L"a\uFFFDb"));
    EXPECT_EQ(XString::FromUtf8(std::string("a\xE8\xAE")), XString(L"a\uFFFD"));
    EXPECT_EQ(XString::FromUtf8(std::string("\xC0\xAF")), XString(L"\uFFFD\uFFFD"));
    EXPECT_EQ(XString::FromUtf8(std::string("\xED\xA0\x80")), XString(L"\uFFFD"));
    EXPECT_EQ(XString::FromUtf8(std::string("\xF4\x90\x80\x80")), XString(L"\uFFFD"));
    EXPECT_EQ(XString::FromUtf8(static_cast<const char*>(nullptr)), XString());

    // Wide text that holds no scalar value cannot be written as UTF-8 either.
    XString broken;
    broken.push_back(static_cast<wchar_t>(0xD800));
    broken.push_back(static_cast<wchar_t>(0x110000));
    EXPECT_EQ(broken.ToUtf8(), "\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(SanitizeUtf8("ok\xFF"), "ok\xEF\xBF\xBD");
    EXPECT_TRUE(IsValidUtf8("\xEF\xBF\xBD", 3));
}

// ASCII is skipped a word at a time: a bad or a multi-byte sequence must be seen at every offset of a
// word and in the bytes after the last whole word.
TEST(Utf8Check, SeesEverySequenceWhereverItFallsInAWord) {
    for (size_t at = 0; at < 40; ++at) {
        std::string text(41, 'a');
        text[at] = '\xFF';
        EXPECT_FALSE(IsValidUtf8(text.data(), text.size())) << at;
        XString wide(41, L'a');
        wide[at] = L'\uFFFD';
        EXPECT_EQ(XString::FromUtf8(text), wide) << at;
        text.replace(at, 1, "\xE8\xAE\xBE");
        EXPECT_TRUE(IsValidUtf8(text.data(), text.size())) << at;
        text.erase(at + 2, 1);  // cut short
        EXPECT_FALSE(IsValidUtf8(text.data(), text.size())) << at;
    }
    EXPECT_TRUE(IsValidUtf8("", 0));
}

// Well-formed UTF-8 by its definition: decode the bits, then reject overlong forms, surrogates and values
// past U+10FFFF.
bool WellFormed(const std::string& text) {
    size_t i = 0;
    while (i < text.size()) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const size_t extra = lead < 0x80       ? 0
                             : lead >> 5 == 6  ? 1
                             : lead >> 4 == 14 ? 2
                             : lead >> 3 == 30 ? 3
                                               : 9;
        if (extra == 9 || i + extra >= text.size() + (extra == 0)) return false;
        char32_t cp = extra == 0 ? lead : lead & (0x3F >> extra);
        for (size_t k = 1; k <= extra; ++k) {
            const auto next = static_cast<unsigned char>(text[i + k]);
            if (next >> 6 != 2) return false;
            cp = cp << 6 | (next & 0x3F);
        }
        static const char32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
        if (cp < kSmallest[extra] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return false;
        i += extra + 1;
    }
    return true;
}

// Every sequence of up to four bytes drawn from the boundaries of the encoding's ranges.
TEST(Utf8Check, AgreesWithTheDefinitionOnEveryBoundaryByte) {
    const unsigned char edges[] = {0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF,
                                   0xC0, 0xC1, 0xC2, 0xDF, 0xE0, 0xE1, 0xEC, 0xED, 0xEE,
                                   0xEF, 0xF0, 0xF1, 0xF3, 0xF4, 0xF5, 0xFF};
    const size_t n = sizeof edges;
    size_t valid = 0;
    for (size_t length = 1; length <= 4; ++length) {
        size_t combinations = 1;
        for (size_t k = 0; k < length; ++k)
            combinations *= n;
        for (size_t c = 0; c < combinations; ++c) {
            std::string text;
            for (size_t k = 0, rest = c; k < length; ++k, rest /= n)
                text.push_back(static_cast<char>(edges[rest % n]));
            const bool expected = WellFormed(text);
            valid += expected;
            ASSERT_EQ(IsValidUtf8(text.data(), text.size()), expected) << testing::PrintToString(text);
            // Behind a run of ASCII too, where the check skips whole words.
            const std::string shifted = "abcdefghijk" + text;
            ASSERT_EQ(IsValidUtf8(shifted.data(), shifted.size()), expected) << testing::PrintToString(text);
        }
    }
    EXPECT_GT(valid, 1000u);  // the table reaches well-formed sequences of every length, not only errors
}

TEST(XStringCompare, CaseSensitivityZeroIgnoresCase) {
    const XString y(L"Y");
    EXPECT_EQ(y.compare(L"y", CaseInsensitive), 0);
    EXPECT_NE(y.compare(L"y", CaseSensitive), 0);
    EXPECT_NE(XString(L"yes").compare(L"y", CaseInsensitive), 0);
    EXPECT_LT(XString(L"a").compare(L"B", CaseInsensitive), 0);
    EXPECT_EQ(XString(L"IMEI").compare(L"imei", static_cast<CaseSensitivity>(0)), 0);
    EXPECT_NE(XString(L"IMEI").compare(L"imei", static_cast<CaseSensitivity>(1)), 0);
}

TEST(PlatformString, WideToQStringKeepsEveryScalarValue) {
    const QString text = Platform::String::WQ(XString(L"设备\U0001F600"));
    EXPECT_EQ(text, QString::fromUtf8("设备\xF0\x9F\x98\x80"));
    EXPECT_EQ(Platform::String::QW(text), XString(L"设备\U0001F600"));
    XString broken(L"a");
    broken.push_back(static_cast<wchar_t>(0xDC00));
    EXPECT_EQ(Platform::String::WQ(broken), QString::fromUtf8("a\xEF\xBF\xBD"));
}

TEST(ADPString, MiddleAndRemove) {
    EXPECT_EQ(ADPStringMiddle("x csrfToken: \"abc\" y", "csrfToken: \"", "\""), "abc");
    EXPECT_EQ(ADPStringMiddle("no token here", "csrfToken: \"", "\""), "");
    EXPECT_EQ(ADPStringMiddle("csrfToken: \"unterminated", "csrfToken: \"", "\""), "");
    EXPECT_EQ(ADPStringMiddle("\"\" then [a]", "[", "]"), "a") << "right is searched after left only";
    EXPECT_EQ(ADPStringRemove("a=1; Path=/; Path=/", "; Path=/"), "a=1; Path=/") << "first occurrence only";
    EXPECT_EQ(ADPStringRemove("a=1; path=/", "; Path=/"), "a=1; path=/") << "case-sensitive";
    EXPECT_EQ(ADPStringRemove("abc", ""), "abc");
}

TEST(PelmorMemory, CopyNeverExceedsItsCapacity) {
    char destination[4] = {'x', 'x', 'x', 'x'};
    EXPECT_NE(Pelmor::memcpy(destination, 2, "abc", 3), 0);
    EXPECT_EQ(std::string(destination, 4), "xxxx") << "a refused copy must copy nothing";
    EXPECT_EQ(Pelmor::memcpy(destination, 4, "abc", 3), 0);
    EXPECT_EQ(std::string(destination, 3), "abc");
    EXPECT_EQ(Pelmor::memcpy(nullptr, 4, "abc", 3), EINVAL);
    EXPECT_EQ(Pelmor::memcpy(destination, 4, nullptr, 3), EINVAL);
    EXPECT_EQ(Pelmor::memcpy(nullptr, 0, nullptr, 0), 0);

    Pelmor::memset(destination, 0, 4);
    EXPECT_EQ(destination[3], 0);
    EXPECT_EQ(Pelmor::memset(nullptr, 0, 4), nullptr);
    EXPECT_EQ(Pelmor::wcscmp(nullptr, L""), 0);
    EXPECT_LT(Pelmor::wcscmp(L"a", L"b"), 0);
}

}  // namespace

// XJson parses with a tree builder of its own into an arena of its own. What it builds must be exactly
// what boost::json::parse builds (with invalid UTF-8 allowed) for every text, and the arena must live
// exactly as long as any value in it.
#include <gtest/gtest.h>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include <pelmor/platform/XJson.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "XJsonValue.h"

namespace json = boost::json;

namespace {

// Equal down to the kind of every number, the bits of every double and the order of every member.
::testing::AssertionResult Identical(const json::value& a, const json::value& b,
                                     const std::string& at = "$") {
    if (a.kind() != b.kind())
        return ::testing::AssertionFailure() << at << ": kinds " << int(a.kind()) << " and " << int(b.kind());
    switch (a.kind()) {
        case json::kind::double_: {
            const double x = a.get_double(), y = b.get_double();
            if (std::memcmp(&x, &y, sizeof x) != 0)
                return ::testing::AssertionFailure() << at << ": doubles " << x << " and " << y;
            return ::testing::AssertionSuccess();
        }
        case json::kind::array: {
            const json::array &p = a.get_array(), &q = b.get_array();
            if (p.size() != q.size()) return ::testing::AssertionFailure() << at << ": array sizes differ";
            for (std::size_t i = 0; i < p.size(); ++i)
                if (auto r = Identical(p[i], q[i], at + "[" + std::to_string(i) + "]"); !r) return r;
            return ::testing::AssertionSuccess();
        }
        case json::kind::object: {
            const json::object &p = a.get_object(), &q = b.get_object();
            if (p.size() != q.size()) return ::testing::AssertionFailure() << at << ": object sizes differ";
            for (auto i = p.begin(), j = q.begin(); i != p.end(); ++i, ++j) {
                if (i->key() != j->key())
                    return ::testing::AssertionFailure()
                           << at << ": keys " << i->key() << " and " << j->key();
                if (auto r = Identical(i->value(), j->value(), at + "." + std::string(i->key())); !r)
                    return r;
            }
            return ::testing::AssertionSuccess();
        }
        default:
            if (a != b) return ::testing::AssertionFailure() << at << ": " << a << " and " << b;
            return ::testing::AssertionSuccess();
    }
}

// Parses text both ways and compares the outcome.
void ExpectParsedAsBoostDoes(const std::string& text) {
    json::parse_options options;
    options.allow_invalid_utf8 = true;
    json::error_code ec;
    const json::value expected = json::parse(text, ec, json::storage_ptr(), options);
    XJson parsed;
    const bool ok = parsed.Parse(text);
    const std::string shown = text.size() > 120 ? text.substr(0, 120) + "..." : text;
    ASSERT_EQ(ok, !ec) << shown << (ec ? " (Boost: " + ec.message() + ")" : std::string());
    if (ok)
        EXPECT_TRUE(Identical(JsonValue(parsed), expected)) << shown;
    else
        EXPECT_TRUE(parsed.IsNull()) << shown;
}

std::string Repeated(const std::string& unit, int count, const std::string& separator = "") {
    std::string text;
    for (int i = 0; i < count; ++i)
        text += (i ? separator : "") + unit;
    return text;
}

std::string Nested(int depth, const char* open, const char* close) {
    return Repeated(open, depth) + Repeated(close, depth);
}

TEST(JsonParse, NumbersKeepTheirKindAtEveryEdge) {
    for (const char* number : {"0",
                               "-0",
                               "1",
                               "-1",
                               "9223372036854775807",
                               "-9223372036854775808",
                               "9223372036854775808",
                               "-9223372036854775809",
                               "18446744073709551615",
                               "18446744073709551616",
                               "0.0",
                               "-0.0",
                               "1.0",
                               "1e0",
                               "1E+2",
                               "1e-2",
                               "0.1",
                               "123456789012345678901234567890",
                               "1.7976931348623157e308",
                               "4.9406564584124654e-324",
                               "2.2250738585072014e-308",
                               "1e400",
                               "-1e400",
                               "1e-400",
                               "0e322",
                               "1.00000000000000011102230246251565404236316680908203125",
                               "9007199254740993",
                               "0.30000000000000004",
                               "12345678901234567890.5",
                               "-18446744073709551615"}) {
        ExpectParsedAsBoostDoes(number);
        ExpectParsedAsBoostDoes(std::string("[") + number + "," + number + "]");
        ExpectParsedAsBoostDoes(std::string(R"({"n":)") + number + "}");
    }
    for (const char* broken : {"01", "1.", ".5", "1e", "+1", "-", "0x10", "1e+", "NaN", "Infinity"})
        ExpectParsedAsBoostDoes(broken);
}

TEST(JsonParse, DuplicateKeysKeepTheFirstPlaceAndTheLastValue) {
    ExpectParsedAsBoostDoes(R"({"a":1,"b":2,"a":3})");
    ExpectParsedAsBoostDoes(R"({"a":{"x":1},"a":[2],"a":"three","b":null})");
    ExpectParsedAsBoostDoes(R"({"":1,"":2})");
    // Past the size where objects keep an index of their keys.
    std::string many = "{";
    for (int i = 0; i < 60; ++i)
        many += "\"k" + std::to_string(i % 25) + "\":" + std::to_string(i) + ",";
    many += "\"last\":true}";
    ExpectParsedAsBoostDoes(many);
    XJson parsed(std::string(R"({"a":1,"b":2,"a":3})"));
    EXPECT_EQ(parsed.ToJson(), R"({"a":3,"b":2})");
}

TEST(JsonParse, DepthLimitIsTheLibrarys) {
    for (int depth : {1, 31, 32, 33, 200}) {
        ExpectParsedAsBoostDoes(Nested(depth, "[", "]"));
        ExpectParsedAsBoostDoes(Repeated(R"({"a":)", depth) + "1" + Repeated("}", depth));
    }
    ExpectParsedAsBoostDoes(Repeated(R"({"a":[)", 16) + Repeated("]}", 16));
    ExpectParsedAsBoostDoes(Repeated(R"({"a":[)", 17) + Repeated("]}", 17));
}

TEST(JsonParse, TextsEscapesAndInvalidUtf8) {
    for (const char* text :
         {R"("")", R"("plain")", R"("\"\\\/\b\f\n\r\t")", R"("\u0000 inside")",
          R"("\u00e9\u4e2d\ud83d\ude00")", R"("\ud800")", R"("\udc00")", R"("\ud800\u0041")", R"("\x")",
          R"("\u12")", "\"tab\tinside\"", "\"\xff\xfe bytes\"", "\"\xc3( broken\"", "\"\xe4\xb8\"",
          "\"\xed\xa0\x80 surrogate bytes\"", "\"\xf4\x90\x80\x80 past U+10FFFF\"",
          "{\"\xff key\":\"\xfe value\"}", "\"unterminated"}) {
        ExpectParsedAsBoostDoes(text);
        ExpectParsedAsBoostDoes(std::string("{\"k\":") + text + ",\"" + "k2\":[" + text + "]}");
    }
    // Texts and keys long enough that the parser hands them over in pieces: with escapes, and without.
    const std::string escaped = Repeated(R"(ab\n\u4e2d\"c)", 3000);
    const std::string plain(70000, 'x');
    for (const std::string& text : {escaped, plain, escaped + plain, "\xff" + escaped + "\xfe"}) {
        ExpectParsedAsBoostDoes("\"" + text + "\"");
        ExpectParsedAsBoostDoes("{\"" + text + "\":\"" + text + "\",\"" + text + "\":1}");
        ExpectParsedAsBoostDoes("[\"" + text + "\",{\"" + text + "\":[\"" + text + "\"]}]");
    }
}

TEST(JsonParse, ShapesAndWhatIsNotJson) {
    for (const std::string& text : std::vector<std::string>{
             "{}", "[]", "[[],[[]],{}]", R"({"a":{},"b":[],"c":[{}]})", " \t\r\n{ \"a\" : [ 1 , 2 ] } \n",
             "true", "false", "null", "7", R"("top")", R"([true,false,null])",
             // Many values pending at once, past any room kept for them up front.
             "[" + Repeated("1", 5000, ",") + "]", "[" + Repeated("[1,[2,{\"a\":3}]]", 2000, ",") + "]",
             "{" + Repeated(R"("k":[1,2,3])", 3000, ",") + "}",
             // Not JSON.
             "", " ", "{", "[1,", R"({"a":)", R"({"a" 1})", "[1,]", R"({"a":1,})", "{} x", "1 2", "[1]]",
             "/* c */ {}", "{} // c", "tru", "nul", "{'a':1}", R"({"a":1}{"b":2})", "\xef\xbb\xbf{}"})
        ExpectParsedAsBoostDoes(text);
}

// A value taken out of a tree, moved or copied keeps its texts after everything else of the parse is gone,
// and a tree replaced by another lets its own go (the leak and address checks of the sanitizer builds
// watch both).
TEST(JsonParse, ParsedValuesOutliveTheirTree) {
    const std::string text = R"({"keep":{"text":")" + std::string(5000, 'k') +
                             R"(","list":["a","b",{"c":"d"}]},"other":")" + std::string(3000, 'o') + R"("})";
    XJson taken, moved, copied;
    {
        XJson root(text);
        ASSERT_FALSE(root.IsEmpty());
        copied = root;
        XJson keep = root.Take("keep");
        moved = std::move(keep);
        taken = moved.Take("list");
    }
    EXPECT_EQ(taken.GetArraySize(), 3u);
    EXPECT_EQ(taken.Element(2).ToString("c"), "d");
    EXPECT_EQ(moved.ToString("text"), std::string(5000, 'k'));
    EXPECT_TRUE(moved.Member("list").IsNull());
    EXPECT_EQ(copied.ToString("other"), std::string(3000, 'o'));

    // Growing a parsed tree, by values of its own and of another parse, and parsing over it once it has
    // been moved away, leave every tree whole.
    XJson grown(std::string(R"({"a":"x"})"));
    const XJson member = grown.ToObject("a");
    grown.Add("b", std::string(400, 'b'));
    grown.Add("c", XJson(std::string(R"([1,2])")));
    XJson before = std::move(grown);
    EXPECT_TRUE(grown.Parse(R"({"again":true})"));
    EXPECT_TRUE(grown.ToBool("again"));
    EXPECT_EQ(member.AsString(), "x");
    EXPECT_EQ(before.ToString("b"), std::string(400, 'b'));
    EXPECT_EQ(before.Member("c").Element(1).AsInt(), 2);
    EXPECT_FALSE(grown.Parse("broken"));
    EXPECT_TRUE(grown.IsEmpty());
}

}  // namespace

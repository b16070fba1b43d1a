// XJson parses with a reader and a tree builder of its own into an arena of its own, and leaves what its
// reader cannot read exactly to Boost.JSON's parser. What it builds must be exactly what boost::json::parse
// builds (with invalid UTF-8 allowed) for every text, by either reader, and the arena must live exactly as
// long as any value in it.
#include <gtest/gtest.h>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include <pelmor/platform/XJson.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "JsonParse.h"
#include "ParseArena.h"
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

// What ParseJson makes of text, with the fast reader or with the general parser alone.
struct Outcome {
    bool ok = false;
    bool fast = false;  // the fast reader built it, without handing the text over
    bool identical = false;
    std::string difference;
};

Outcome ParseDirectly(const std::string& text, bool useFastReader, const json::value* expected = nullptr) {
    ParseArena* arena = ParseArena::Create(text.size());
    Outcome outcome;
    JsonReader readBy = JsonReader::kGeneral;
    try {
        const json::value tree = ParseJson(
            text, arena, outcome.ok, useFastReader ? JsonReader::kFastFirst : JsonReader::kGeneral, &readBy);
        if (outcome.ok && expected) {
            const auto same = Identical(tree, *expected);
            outcome.identical = bool(same);
            outcome.difference = same.message();
        }
    } catch (const ParseArena::OverBudget&) {
        outcome.ok = false;
    }
    if (arena) arena->Drop();
    outcome.fast = readBy == JsonReader::kFastFirst;
    return outcome;
}

bool ReadFast(const std::string& text) {
    return ParseDirectly(text, true).fast;
}

// Parses text through XJson and by either reader alone, and compares each outcome with Boost.JSON's.
void ExpectParsedAsBoostDoes(const std::string& text) {
    json::parse_options options;
    options.allow_invalid_utf8 = true;
    json::error_code ec;
    const json::value expected = json::parse(text, ec, json::storage_ptr(), options);
    const std::string shown = text.size() > 120 ? text.substr(0, 120) + "..." : text;
    XJson parsed;
    const bool ok = parsed.Parse(text);
    ASSERT_EQ(ok, !ec) << shown << (ec ? " (Boost: " + ec.message() + ")" : std::string());
    if (ok)
        EXPECT_TRUE(Identical(JsonValue(parsed), expected)) << shown;
    else
        EXPECT_TRUE(parsed.IsNull()) << shown;
    for (const bool fast : {true, false}) {
        const Outcome outcome = ParseDirectly(text, fast, &expected);
        EXPECT_EQ(outcome.ok, !ec) << (fast ? "fast reader: " : "general parser: ") << shown;
        if (outcome.ok && !ec) {
            EXPECT_TRUE(outcome.identical)
                << (fast ? "fast reader: " : "general parser: ") << shown << ": " << outcome.difference;
        }
    }
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
    for (const char* broken : {"01",
                               "-01",
                               "00",
                               "-00",
                               "0-",
                               "1-",
                               "--1",
                               "-a",
                               "1.",
                               ".5",
                               "1e",
                               "+1",
                               "-",
                               "0x10",
                               "1e+",
                               "NaN",
                               "Infinity",
                               "[01]",
                               "[-]",
                               "{\"a\":-}",
                               "99999999999999999999",
                               "10000000000000000000",
                               "123456789012345678901234"})
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
    // Every control character is refused inside a text; DEL is not one.
    for (int c = 0; c <= 0x7F; c = c == 0x1F ? 0x7F : c + 1) {
        const std::string inside = "\"a" + std::string(1, char(c)) + "b\"";
        ExpectParsedAsBoostDoes(inside);
        ExpectParsedAsBoostDoes("{" + inside + ":1}");
    }
    // Escapes at the ends of texts and keys, in both cases of hex, and surrogates in every bad company.
    for (const char* text : {R"("\\")",
                             R"("\"")",
                             R"("a\/")",
                             R"("\u00E9\u00e9")",
                             R"("\uD83D\uDE00")",
                             R"("\ud83d\\n")",
                             R"("\ud83d\ud83d")",
                             R"("\ud83d\u")",
                             R"("\ud83d\")",
                             R"("\ud83d)",
                             R"("\udbff\udfff")",
                             R"("\uffff")",
                             R"("\u0800\u07ff\u0080\u007f")",
                             R"("\u00g0")",
                             R"("\")",
                             R"("\)",
                             R"("\u)",
                             R"("\u00)",
                             R"("\U0041")",
                             R"("\a")"}) {
        ExpectParsedAsBoostDoes(text);
        ExpectParsedAsBoostDoes(std::string("{") + text + ":" + text + "}");
    }
    // Texts and keys long enough that the parser hands them over in pieces: with escapes, and without.
    const std::string escaped = Repeated(R"(ab\n\u4e2d\"c)", 3000);
    const std::string plain(70000, 'x');
    const std::string pairs = Repeated(R"(\ud83d\ude00)", 2000);
    for (const std::string& text :
         {escaped, plain, escaped + plain, plain + escaped, pairs, "\xff" + escaped + "\xfe"}) {
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
             "/* c */ {}", "{} // c", "tru", "nul", "{'a':1}", R"({"a":1}{"b":2})", "\xef\xbb\xbf{}", "truex",
             "[true false]", R"({"a"})", "{1:2}", "[,1]", "{,}", "]", R"("a""b")", R"({"a": []]})",
             R"({ "a" : [ ] , "b" : { "c" : "d" } , "e" : 1 })",
             // Only four bytes are space between tokens.
             "\f[]", "[\v1]", std::string("[1\0]", 4), "\xc2\xa0[]", std::string("[]\0", 3)})
        ExpectParsedAsBoostDoes(text);
}

// A document cut short at any byte is not JSON, or a shorter one (a number that lost digits), and every
// prefix must come out as Boost.JSON has it.
TEST(JsonParse, EveryPrefixOfADocument) {
    const std::string document =
        R"( {"id":-12,"big":18446744073709551615,"ok":true,"no":false,"none":null,"f":0.5e1,)"
        R"("text":"a\"b\\c\/\b\f\n\r\t\u00e9\ud83d\ude00)"
        "\xe4\xb8\xad\xff"
        R"(","\u006b":[ 1 ,)"
        "\t[{}],[]\r\n,"
        R"({"k":"v","k":"w"}],"deep":[[[["x"]]]]} )";
    for (std::size_t length = 0; length <= document.size(); ++length)
        ExpectParsedAsBoostDoes(document.substr(0, length));
}

// The fast reader must take the texts replies are made of, or it saves nothing, and must leave alone what
// it cannot read as the general parser does.
TEST(JsonParse, FastReaderTakesWhatItReadsExactlyAndNothingElse) {
    for (const std::string& text : std::vector<std::string>{
             R"({"a":[1,-2,"x",true,false,null,{},[]],"b":{"c":"\u4e2d\ud83d\ude00\n"}})", "-0",
             "9223372036854775807", "-9223372036854775808", "18446744073709551615", "\"\xff\xc3(\"",
             " \t\r\n[ 1 , { \"k\" : 2 } ]\n", Nested(32, "[", "]"), R"({"a":1,"a":2})",
             "\"" + Repeated(R"(ab\n\u4e2d)", 3000) + "\""})
        EXPECT_TRUE(ReadFast(text)) << text.substr(0, 80);
    for (const std::string& text : std::vector<std::string>{
             "1.5", "[1e3]", R"({"a":-0.0})", "18446744073709551616", "-9223372036854775809", R"("\ud800")",
             R"("\udc00\ud800")", "\"a\tb\"", Nested(33, "[", "]"), "[1,]", "{} x", "", "[\"a\"", "01"})
        EXPECT_FALSE(ReadFast(text)) << text.substr(0, 80);
}

// The member's text as it stands in the parsed text, or empty. Given, it must be the member's rendered
// text, and the tree the whole one but for a null in the member's place: a caller hands the text on in place
// of rendering and reads the rest from the tree. Not given, the tree must be whole.
std::string TakenMember(const std::string& text) {
    XJson parsed;
    std::string_view member;
    const bool ok = parsed.Parse(text.data(), text.size(), "data", member);
    XJson whole;
    EXPECT_EQ(whole.Parse(text), ok) << text;
    EXPECT_TRUE(ok || member.empty()) << text;
    if (!member.empty()) {
        EXPECT_EQ(std::string(member), whole.Member("data").ToJson()) << text;
        EXPECT_TRUE(parsed.Member("data").IsNull()) << text;
        whole.Take("data");  // leaves a null in its place
    }
    EXPECT_EQ(parsed.ToJson(), whole.ToJson()) << text;
    return std::string(member);
}

TEST(JsonParse, MemberIsTakenAsWrittenOnlyWhenThatIsItsRenderedText) {
    const std::string data =
        R"({"a":[1,-2,"x",true,false,null,{},[]],"t":"\u4e2d\n\"\\\b\f\r\t","n":18446744073709551615,)"
        R"("m":-9223372036854775808,"o":{"k":{"k":1},"j":[{"k":2}],"i":3}})";
    const std::string compact = R"({"code":0,"data":)" + XJson(data).ToJson() + R"(,"msg":"ok"})";
    EXPECT_EQ(TakenMember(compact), XJson(data).ToJson());
    for (const char* taken : {R"({"data":"x"})", R"({"data":false})", R"({"data":{}})", R"({"data":[]})"})
        EXPECT_FALSE(TakenMember(taken).empty()) << taken;
    for (const std::string& written : std::vector<std::string>{
             R"({"data": 1})", R"({"data":1} )", R"({"data":"\/"})", R"({"data":"\u00e9"})", R"({"data":-0})",
             R"({"data":{"k":1,"k":2}})", R"({"data":[{"o":{"k":1,"j":2,"k":3}}]})",
             R"({"x":{"a":1,"a":2},"data":1})", "{\"data\":\"\xff\"}", R"({"data":1.5})",
             R"({"x":{"data":1}})", R"({"d\u0061ta":1})", R"([{"data":1}])", R"({"datum":1})",
             R"({"data":1,"data":2})", R"({"data":null})"})
        EXPECT_TRUE(TakenMember(written).empty()) << written;
    // Keys that are escaped or too many to keep track of: taken or not, the tree must hold what it should.
    for (const char* escaped : {R"({"data":{"a\nb":1,"a\nb":2}})", R"({"data":{"\nb":1,"\nb":2}})",
                                R"({"data":{"\na":1,"\nb":2}})"})
        TakenMember(escaped);
    std::string manyKeys = R"({"data":{)";
    for (int i = 0; i < 70; ++i)
        manyKeys += (i ? ",\"" : "\"") + std::to_string(i) + "\":" + std::to_string(i);
    TakenMember(manyKeys + "}}");
    // Whatever a prefix of a document gives must be the rendered text.
    for (std::size_t length = 0; length <= compact.size(); ++length)
        TakenMember(compact.substr(0, length) + "}");
}

// A text whose tree takes most of its budget is refused or kept by the fast reader as by the general
// parser, also when the fast reader gives up at its very end, after building most of the tree.
TEST(JsonParse, BudgetIsTheSameWithEitherReader) {
    for (const std::string last : {"1", "1.5"}) {
        const auto document = [&](int count) { return "[[" + Repeated("1", count, ",") + "]," + last + "]"; };
        const auto fits = [&](int count) { return ParseDirectly(document(count), false).ok; };
        // The largest count whose tree fits, found by halving.
        int fitting = 1, tooMany = 1 << 22;
        ASSERT_TRUE(fits(fitting));
        ASSERT_FALSE(fits(tooMany));
        while (tooMany - fitting > 1) {
            const int middle = fitting + (tooMany - fitting) / 2;
            (fits(middle) ? fitting : tooMany) = middle;
        }
        const Outcome kept = ParseDirectly(document(fitting), true);
        EXPECT_TRUE(kept.ok) << last << ", " << fitting << " elements";
        EXPECT_EQ(kept.fast, last == "1");
        EXPECT_FALSE(ParseDirectly(document(tooMany), true).ok) << last << ", " << tooMany << " elements";
    }
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

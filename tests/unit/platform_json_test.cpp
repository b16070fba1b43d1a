#include <gtest/gtest.h>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include <pelmor/platform/XJson.h>
#include <cstdio>

#include <climits>
#include <limits>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

XJson Sample() {
    return XJson(
        std::string(R"({"text":"abc","int":42,"neg":-7,"big":9223372036854775807,"huge":18446744073709551615,
        "real":87.9,"yes":true,"no":false,"null":null,"numText":"123","realText":"-2.5","word":"TRUE",
        "mixed":"12ab","obj":{"k":"v"},"arr":[1,"two",{"three":3}],"empty":{}})"));
}

TEST(XJsonRead, AbsentNullAndOtherKindsGiveEmptyResults) {
    const XJson json = Sample();
    for (const char* key : {"missing", "null", "obj", "arr"}) {
        SCOPED_TRACE(key);
        EXPECT_EQ(json.ToString(key), "");
        EXPECT_EQ(json.ToXString(key), XString());
        EXPECT_EQ(json.ToInt(key), 0);
        EXPECT_EQ(json.ToInt64(key), 0);
        EXPECT_FALSE(json.ToBool(key));
        EXPECT_EQ(json.ToDouble(key), 0.0);
    }
    // A text that is not wholly a number reads as 0 and false.
    EXPECT_EQ(json.ToInt("mixed"), 0);
    EXPECT_EQ(json.ToDouble("text"), 0.0);
    EXPECT_FALSE(json.ToBool("text"));
}

TEST(XJsonRead, LosslessConversionsBetweenKinds) {
    const XJson json = Sample();
    // Numbers and bools read as text give their JSON text.
    EXPECT_EQ(json.ToString("int"), "42");
    EXPECT_EQ(json.ToString("neg"), "-7");
    EXPECT_EQ(json.ToString("real"), "87.9");
    EXPECT_EQ(json.ToString("yes"), "true");
    EXPECT_EQ(json.ToXString("no"), XString(L"false"));
    // Texts that are wholly decimal numbers read as numbers.
    EXPECT_EQ(json.ToInt("numText"), 123);
    EXPECT_EQ(json.ToInt64("numText"), 123);
    EXPECT_DOUBLE_EQ(json.ToDouble("realText"), -2.5);
    EXPECT_EQ(json.ToInt("realText"), -2);
    // Bools as numbers, numbers as bools, "true"/"false" in any case.
    EXPECT_EQ(json.ToInt("yes"), 1);
    EXPECT_EQ(json.ToInt("no"), 0);
    EXPECT_TRUE(json.ToBool("int"));
    EXPECT_TRUE(json.ToBool("real"));
    EXPECT_TRUE(json.ToBool("word"));
    // Doubles cut toward zero; out-of-range values clamp instead of overflowing.
    EXPECT_EQ(json.ToInt("real"), 87);
    EXPECT_EQ(json.ToInt64("big"), LLONG_MAX);
    EXPECT_EQ(json.ToInt("big"), INT_MAX);
    EXPECT_EQ(json.ToInt64("huge"), LLONG_MAX);
    EXPECT_EQ(XJson(std::string(R"({"r":-1e300})")).ToInt("r"), INT_MIN);
}

TEST(XJsonRead, NavigationNeverFails) {
    const XJson json = Sample();
    EXPECT_EQ(json.ToObject("obj").ToString("k"), "v");
    EXPECT_EQ(json["obj"]["k"].AsString(), "v");
    EXPECT_EQ(json["arr"].GetArraySize(), 3u);
    EXPECT_EQ(json["arr"][0u].AsInt(), 1);
    EXPECT_EQ(json["arr"][1u].AsString(), "two");
    EXPECT_EQ(json["arr"][2u].ToInt("three"), 3);
    EXPECT_TRUE(json["arr"][3u].IsEmpty());
    EXPECT_EQ(json["text"]["deeper"].ToString("x"), "");
    EXPECT_EQ(json["text"][0u].AsString(), "");
    EXPECT_EQ(json.GetArraySize(), 0u);
    EXPECT_TRUE(json["empty"].IsEmpty());
    EXPECT_TRUE(XJson(std::string("[]")).IsEmpty());
    EXPECT_TRUE(XJson().IsEmpty());
    EXPECT_FALSE(XJson(std::string("0")).IsEmpty());
}

// The in-place reads must see exactly what the copying ones see, and be the value itself, not a copy.
TEST(XJsonRead, InPlaceNavigationReadsTheValueItself) {
    const XJson json = Sample();
    EXPECT_EQ(json.Member("obj").ToString("k"), "v");
    EXPECT_EQ(json.Member("arr").Element(1).AsString(), "two");
    EXPECT_EQ(json.Member("arr").Element(2).ToInt("three"), 3);
    EXPECT_EQ(json.Member("arr").Element(0).AsInt(), 1);
    EXPECT_EQ(json.Member("arr"), json["arr"]);
    EXPECT_EQ(&json.Member("obj"), &json.Member("obj")) << "no copy is made";
    for (const XJson* absent :
         {&json.Member("missing"), &json.Member("arr").Element(3), &json.Member("text").Member("deeper"),
          &json.Member("text").Element(0), &json.Element(0)}) {
        EXPECT_TRUE(absent->IsNull());
        EXPECT_EQ(absent->ToString("x"), "");
        EXPECT_EQ(absent->ToJson(), "{}");
    }
    // A copy taken from an in-place member is a value of its own.
    XJson copy = json.Member("obj");
    copy.Add("k", "changed");
    EXPECT_EQ(json.Member("obj").ToString("k"), "v");
    EXPECT_EQ(copy.ToString("k"), "changed");
    // Wide text read in place keeps every character, invalid bytes replaced.
    XJson text;
    text.Add("t", std::string_view("a\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80z"));
    EXPECT_EQ(text.ToXString("t"), XString(L"a\u00e9\u20ac\U0001F600z"));
    XJson parsed(std::string("{\"t\":\"a\xffz\"}"));
    EXPECT_EQ(parsed.ToXString("t"), XString(L"a\uFFFDz"));
}

TEST(XJsonRead, EveryMemberVisitedInPlaceInOrder) {
    const XJson json(std::string(R"({"b":1,"a":"x","b2":{"k":"v"}})"));
    std::vector<std::pair<std::string, const XJson*>> seen;
    json.ForEachMember([&](std::string_view key, const XJson& value) { seen.emplace_back(key, &value); });
    ASSERT_EQ(seen.size(), 3u);
    EXPECT_EQ(seen[0].first, "b");
    EXPECT_EQ(seen[1].first, "a");
    EXPECT_EQ(seen[2].first, "b2");
    EXPECT_EQ(seen[1].second, &json.Member("a")) << "the member itself, not a copy";
    EXPECT_EQ(seen[2].second->ToString("k"), "v");
    // Anything but an object has no members; what the visitor throws reaches the caller.
    int calls = 0;
    for (const XJson* other : {&json.Member("a"), &json.Member("missing"), &json.Member("b")})
        other->ForEachMember([&](std::string_view, const XJson&) { ++calls; });
    EXPECT_EQ(calls, 0);
    EXPECT_THROW(json.ForEachMember([](std::string_view, const XJson&) { throw std::bad_alloc(); }),
                 std::bad_alloc);
}

TEST(XJsonParse, TextThatIsNotJsonGivesAnEmptyValue) {
    for (const char* text : {"", "{", "{\"a\":}", "not json", "{\"a\":1} trailing", "\xff\xfe"}) {
        SCOPED_TRACE(text);
        XJson json;
        EXPECT_FALSE(json.Parse(text));
        EXPECT_TRUE(json.IsEmpty());
        EXPECT_TRUE(XJson(std::string(text)).IsEmpty());
    }
    XJson kept(std::string(R"({"a":1})"));
    EXPECT_FALSE(kept.Parse("garbage"));
    EXPECT_TRUE(kept.IsEmpty()) << "a failed parse must not leave the old value behind";
}

// A parsed tree's small blocks are cut from shared chunks: many texts of every size up to past the small
// limit, keys and nested objects across several chunks must each keep exactly their own bytes, also in a
// member taken out and kept after the rest of the tree is gone.
TEST(XJsonParse, LargeTreesKeepEveryTextIntact) {
    std::string text = "{\"lines\":[";
    for (int i = 0; i < 3000; ++i) {
        const std::string word(static_cast<std::size_t>(i % 300), static_cast<char>('a' + i % 26));
        text += (i ? "," : "") + std::string("{\"k") + std::to_string(i) + "\":\"" + word +
                "\",\"n\":" + std::to_string(i) + ",\"o\":{\"x\":[" + std::to_string(i % 7) + ",\"" + word +
                "\"]}}";
    }
    text += "],\"tail\":\"end\"}";
    XJson lines;
    {
        XJson parsed(text);
        ASSERT_FALSE(parsed.IsEmpty());
        EXPECT_EQ(parsed.ToJson(), text);
        lines = parsed.Take("lines");
    }
    ASSERT_EQ(lines.GetArraySize(), 3000u);
    for (unsigned i = 0; i < 3000; i += 37) {
        const std::string word(i % 300, static_cast<char>('a' + i % 26));
        EXPECT_EQ(lines.Element(i).ToString("k" + std::to_string(i)), word) << i;
        EXPECT_EQ(lines.Element(i).Member("o").Member("x").Element(1).AsString(), word) << i;
        EXPECT_EQ(lines.Element(i).ToInt("n"), static_cast<int>(i));
    }
}

TEST(XJsonRender, CompactInInsertionOrderWithEmptyValuesAsObjects) {
    XJson params;
    XJson document;
    document.Add("method", std::string("client.config"));
    document.Append("params", params);
    document.Append("source", XString(L"Brisel"));
    document.Add("z", 1);
    document.Add("a", 2.5);
    document.Add("flag", true);
    document.Add("big", -9007199254740993LL);
    EXPECT_EQ(
        document.ToJson(),
        R"({"method":"client.config","params":{},"source":"Brisel","z":1,"a":2.5E0,"flag":true,"big":-9007199254740993})");
    // Adding a key again keeps its place.
    document.Add("z", 3);
    EXPECT_EQ(
        document.ToJson(),
        R"({"method":"client.config","params":{},"source":"Brisel","z":3,"a":2.5E0,"flag":true,"big":-9007199254740993})");
    EXPECT_EQ(XJson().ToJson(), "{}");
}

TEST(XJsonText, InvalidUtf8NeverReachesTheWire) {
    XJson built;
    built.Add("bad", std::string("a\xff"
                                 "b\xc3"));
    built.Add(std::string("k\xfe"), std::string("ok"));
    EXPECT_EQ(built.ToJson(),
              "{\"bad\":\"a\xEF\xBF\xBD"
              "b\xEF\xBF\xBD\",\"k\xEF\xBF\xBD\":\"ok\"}");

    // Replies may carry broken bytes: they parse, read back as wide text with U+FFFD, and render valid.
    XJson parsed(std::string("{\"t\":\"x\xc0\xafy\"}"));
    ASSERT_FALSE(parsed.IsEmpty());
    EXPECT_EQ(parsed.ToXString("t"), XString(L"x\uFFFD\uFFFDy"));
    EXPECT_EQ(parsed.ToJson(), "{\"t\":\"x\xEF\xBF\xBD\xEF\xBF\xBDy\"}");

    // Mended while rendered, wherever the bad byte falls among escapes and long runs; keys mended alike,
    // and two that become the same key are one member in the first one's place with the last value.
    const std::string longRun(40, 'r');
    XJson mixed(std::string("{\"a\xff\":1,\"s\":\"" + longRun + "\\\"q\xe2\x82\xac" + longRun +
                            "\xfe\\n\\\\z\",\"a\xfe\":2,\"n\":[\"\xc3\",{\"\xff\":\"v\"}]}"));
    ASSERT_FALSE(mixed.IsEmpty());
    EXPECT_EQ(mixed.ToJson(),
              "{\"a\xEF\xBF\xBD\":2,\"s\":\"" + longRun + "\\\"q\xe2\x82\xac" + longRun +
                  "\xEF\xBF\xBD\\n\\\\z\",\"n\":[\"\xEF\xBF\xBD\",{\"\xEF\xBF\xBD\":\"v\"}]}");

    XJson wide;
    wide.Append("name", XString(L"设备\U0001F600"));
    EXPECT_EQ(wide.ToJson(), "{\"name\":\"设备\xF0\x9F\x98\x80\"}");
    EXPECT_EQ(wide.ToXString("name"), XString(L"设备\U0001F600"));
}

// Wide text is measured before it is written: a character past ASCII must be seen wherever it falls, and
// one that is no Unicode scalar value goes as U+FFFD, into a member and through ToUtf8 alike.
TEST(XJsonBuild, WideTextIsEncodedWhereverItsFirstNonAsciiCharacterFalls) {
    const std::pair<wchar_t, const char*> cases[] = {
        {L'\u00E9', "\xC3\xA9"},
        {L'\U0001F600', "\xF0\x9F\x98\x80"},
        {static_cast<wchar_t>(0xDC00), "\xEF\xBF\xBD"},
        {static_cast<wchar_t>(0x110000), "\xEF\xBF\xBD"},
        {static_cast<wchar_t>(-1), "\xEF\xBF\xBD"},
    };
    for (size_t at = 0; at < 19; ++at) {
        for (const auto& [character, utf8] : cases) {
            XString text(19, L'a');
            text[at] = character;
            const std::string expected = std::string(at, 'a') + utf8 + std::string(18 - at, 'a');
            XJson document;
            document.Append("t", text);
            EXPECT_EQ(document.ToJson(), "{\"t\":\"" + expected + "\"}") << at;
            EXPECT_EQ(text.ToUtf8(), expected) << at;
        }
    }
    XJson plain;
    plain.Append("key", XString(L"ascii only"));
    plain.Append("empty", XString());
    EXPECT_EQ(plain.ToJson(), "{\"key\":\"ascii only\",\"empty\":\"\"}");
}

// Members added in one go give the document that adding them one by one gives: same order, a repeated key
// in its first place with its last value, invalid UTF-8 mended, long and non-ASCII wide texts whole.
TEST(XJsonBuild, MembersAddedInOneGoMatchMembersAddedOneByOne) {
    const XString longText(300, L'\u8BBE');
    const XString shortText(L"caf\u00E9");
    for (const char* start : {"", "{\"old\":1,\"b\":\"x\"}", "[1,2]"}) {
        SCOPED_TRACE(start);
        XJson oneByOne{std::string(start)};
        oneByOne.Append("a", shortText);
        oneByOne.Add("b", std::string_view("ok\xFF"));
        oneByOne.Add("n", -42LL);
        oneByOne.Append("k\xC3", longText);
        oneByOne.Add("a", std::string_view("again"));
        oneByOne.Append("e", XString());

        XJson inOneGo{std::string(start)};
        inOneGo.AddMembers({{"a", shortText},
                            {"b", std::string_view("ok\xFF")},
                            {"n", -42LL},
                            {"k\xC3", longText},
                            {"a", std::string_view("again")},
                            {"e", XString()}});
        EXPECT_EQ(inOneGo.ToJson(), oneByOne.ToJson());
        EXPECT_EQ(inOneGo.ToXString("k\xEF\xBF\xBD"), longText);
    }
    XJson ordered;
    ordered.AddMembers({{"z", 1}, {"y", std::string_view("2")}, {"x", XString(L"3")}});
    EXPECT_EQ(ordered.ToJson(), "{\"z\":1,\"y\":\"2\",\"x\":\"3\"}");
}

// The same members written straight as text, without a tree, give the tree's text exactly.
TEST(XJsonBuild, MembersWrittenAsTextAreTheBuiltObjectsText) {
    // Members only refer to their texts, which must outlive them.
    const XString escaped(L"caf\u00E9 \"q\" \\ \n\x01"), longText(300, L'\u8BBE'),
        broken(L"\xDC00\U0001F600"), empty;
    const std::initializer_list<XJsonMember> members = {
        {"a", escaped},
        {"b", std::string_view("ok\xFF and \xC3")},
        {"k\xC3", longText},
        {"n", std::numeric_limits<long long>::min()},
        {"s", broken},
        {"e", empty},
        {"u", std::string_view("")},
    };
    XJson built;
    built.AddMembers(members);
    EXPECT_EQ(XJson::MembersJson(members), built.ToJson());
    EXPECT_EQ(XJson::MembersJson({}), "{}");
}

// One value written as given text, found by where it lives in the document, wherever that is.
TEST(XJsonRender, ValueGivenAsTextIsWrittenInItsPlace) {
    const XJson document(
        std::string(R"({"method":"m","params":{"info":null,"file":"f"},"list":[1,{"x":2}]})"));
    EXPECT_EQ(document.ToJson(), R"({"method":"m","params":{"info":null,"file":"f"},"list":[1,{"x":2}]})");
    const auto rendered = [&document](const XJson& at, std::string_view text) {
        std::string out;
        EXPECT_TRUE(document.Render(
            [&out](const char* piece, size_t length) {
                out.append(piece, length);
                return true;
            },
            at, text));
        return out;
    };
    EXPECT_EQ(rendered(document.Member("params").Member("info"), R"({"k":"v"})"),
              R"({"method":"m","params":{"info":{"k":"v"},"file":"f"},"list":[1,{"x":2}]})");
    EXPECT_EQ(rendered(document.Member("list").Element(1), "3"),
              R"({"method":"m","params":{"info":null,"file":"f"},"list":[1,3]})");
    // Longer than the renderer's buffer: written past it, in order.
    const std::string big = "\"" + std::string(40000, 'z') + "\"";
    EXPECT_EQ(rendered(document.Member("method"), big),
              R"({"method":)" + big + R"(,"params":{"info":null,"file":"f"},"list":[1,{"x":2}]})");
    // A value that is not inside the document changes nothing; nor does an absent member.
    const XJson elsewhere(std::string(R"({"info":null})"));
    EXPECT_EQ(rendered(elsewhere.Member("info"), "1"), document.ToJson());
    EXPECT_EQ(rendered(document.Member("absent"), "1"), document.ToJson());
}

// Our renderer copies strings in runs; the bytes must stay exactly what the JSON library writes.
TEST(XJsonRender, WritesWhatTheJsonLibraryWrites) {
    std::string everyCharacter = "\"";
    for (int c = 1; c < 0x80; ++c) {
        char escaped[8];
        std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
        everyCharacter += escaped;
    }
    everyCharacter += "设备\"";
    std::string atEveryOffset = "\"";
    for (int offset = 0; offset < 24; ++offset)
        atEveryOffset += std::string(static_cast<size_t>(offset), 'a') + "\\\"\\n\\\\\\u001f";
    atEveryOffset += "\"";
    // Far more than the renderer's buffer holds, in texts of every short length, so that it fills up at
    // every point of a text and of an escape.
    std::string manyTexts = "[";
    for (int i = 0; i < 3000; ++i)
        manyTexts += std::string(i ? "," : "") + "\"" + std::string(static_cast<size_t>(i % 37), 'a') +
                     (i % 5 ? "" : "\\n") + std::string(static_cast<size_t>(i % 11), 'b') + "\"";
    manyTexts += "]";
    const std::string texts[] = {
        manyTexts,
        "[" + everyCharacter + "," + atEveryOffset + "]",
        "{" + everyCharacter + ":" + atEveryOffset + ",\"k\\ty\":{}}",
        R"([0,-1,18446744073709551615,-9223372036854775808,2.5,1e300,-0.0,1.0E-7,true,false,null,{},[],[[]]])",
        R"({"a":{"b":[{"c":"d"},"e"],"f":""},"g":0.1})",
    };
    for (const std::string& text : texts) {
        const XJson parsed(text);
        ASSERT_FALSE(parsed.IsEmpty()) << text;
        EXPECT_EQ(parsed.ToJson(), boost::json::serialize(boost::json::parse(text))) << text;
    }
}

TEST(XJsonRender, PiecesJoinToTheTextAndASinkCanStop) {
    XJson document;
    document.Add("big", std::string(100000, 'x') + "\"\n" + std::string(50000, 'y'));
    document.Add("bad", std::string("a\xff"));
    std::string joined;
    int pieces = 0;
    EXPECT_TRUE(document.Render([&](const char* piece, size_t length) {
        joined.append(piece, length);
        ++pieces;
        return true;
    }));
    EXPECT_EQ(joined, document.ToJson());
    EXPECT_GT(pieces, 1);
    const std::string tail = "\"bad\":\"a\xEF\xBF\xBD\"}";
    EXPECT_EQ(joined.substr(joined.size() - tail.size()), tail) << "invalid UTF-8 is replaced in pieces too";

    int calls = 0;
    EXPECT_FALSE(document.Render([&](const char*, size_t) { return ++calls < 2; }));
    EXPECT_EQ(calls, 2);
}

TEST(XJsonValue, MovingInAndTakingOutKeepTheRestInPlace) {
    XJson params(std::string(R"({"file":"abc","n":1})"));
    XJson document;
    document.Add("method", "m");
    document.Add("params", std::move(params));
    document.Add("empty", XJson());
    document.Add("last", true);
    EXPECT_EQ(document.ToJson(), R"({"method":"m","params":{"file":"abc","n":1},"empty":{},"last":true})");

    XJson taken = document.Take("params");
    EXPECT_EQ(taken.ToString("file"), "abc");
    EXPECT_EQ(document.ToJson(), R"({"method":"m","params":null,"empty":{},"last":true})");
    EXPECT_TRUE(document.Take("absent").IsEmpty());
    EXPECT_TRUE(XJson(std::string("[1]")).Take("params").IsEmpty());
}

// The JSON library turns numbers out of range into infinity (and some into NaN); neither may reach a
// reader as such, nor the wire as "Infinity" or "NaN".
TEST(XJsonNumbers, OutOfRangeReadsAndRendersFinite) {
    XJson parsed(std::string(R"({"up":1e400,"down":-1e400,"zero":0e322,"list":[1e999,-2e999]})"));
    ASSERT_FALSE(parsed.IsEmpty());
    EXPECT_EQ(parsed.ToDouble("up"), std::numeric_limits<double>::max());
    EXPECT_EQ(parsed.ToDouble("down"), std::numeric_limits<double>::lowest());
    EXPECT_EQ(parsed.ToDouble("zero"), 0.0);
    EXPECT_EQ(parsed.ToInt64("up"), LLONG_MAX);
    EXPECT_EQ(parsed["list"][1u].AsDouble(), std::numeric_limits<double>::lowest());

    const std::string text = parsed.ToJson();
    EXPECT_EQ(text.find("Infinity"), std::string::npos) << text;
    EXPECT_EQ(text.find("NaN"), std::string::npos) << text;
    EXPECT_EQ(text.find("inf"), std::string::npos) << text;
    XJson again(text);
    ASSERT_FALSE(again.IsEmpty()) << "rendered text must be JSON again: " << text;
    EXPECT_EQ(again.ToDouble("up"), std::numeric_limits<double>::max());
    EXPECT_EQ(again.ToDouble("zero"), 0.0);
    EXPECT_EQ(std::stod(parsed.ToString("down")), std::numeric_limits<double>::lowest());

    XJson built;
    built.Add("nan", std::numeric_limits<double>::quiet_NaN());
    built.Add("inf", std::numeric_limits<double>::infinity());
    EXPECT_TRUE(XJson(built.ToJson()).Contains("nan")) << built.ToJson();
}

TEST(XJsonValue, CopiesAreIndependent) {
    XJson original(std::string(R"({"a":{"b":1}})"));
    XJson copy = original;
    copy.Add("c", 2);
    EXPECT_FALSE(original.Contains("c"));
    EXPECT_TRUE(copy == XJson(std::string(R"({"a":{"b":1},"c":2})")));
    XJson array;
    array.Append(XJson(std::string("1")));
    array.Append(XJson(std::string(R"("x")")));
    EXPECT_EQ(array.ToJson(), R"([1,"x"])");
}

}  // namespace

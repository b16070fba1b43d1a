#pragma once

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>

#include "Export.h"
#include "XString.h"

// One member for XJson::AddMembers: a key with a wide text, a UTF-8 text or an integer. It only refers to
// what it is given, which must live until AddMembers returns.
class XJsonMember {
  public:
    XJsonMember(std::string_view key, const XString& text) noexcept
        : key_(key), kind_(Kind::kWide), wide_(&text) {}
    XJsonMember(std::string_view key, std::string_view utf8) noexcept
        : key_(key), kind_(Kind::kUtf8), utf8_(utf8) {}
    XJsonMember(std::string_view key, long long number) noexcept
        : key_(key), kind_(Kind::kInteger), number_(number) {}
    XJsonMember(std::string_view key, int number) noexcept
        : XJsonMember(key, static_cast<long long>(number)) {}
    // Not taken, rather than quietly turned into an integer: add these with Add.
    XJsonMember(std::string_view key, bool flag) = delete;
    XJsonMember(std::string_view key, double number) = delete;
    XJsonMember(std::string_view key, unsigned long long number) = delete;

  private:
    friend class XJson;
    enum class Kind { kWide, kUtf8, kInteger };
    std::string_view key_;
    Kind kind_;
    const XString* wide_ = nullptr;
    std::string_view utf8_;
    long long number_ = 0;
};

// The JSON value of the core library.
//
// Objects keep their members in the order they were added; request documents depend on it.
// Nothing here throws: reads never test presence (an absent key, null or a value of another kind gives
// "", 0, false or 0.0, apart from a few lossless conversions), text that is not JSON parses to an empty
// value, and a failed allocation leaves the value as it was.
//
// The value lives in place inside the object (no extra allocation per value), but its type stays out of
// this header so that a host builds without our JSON library's headers.
class PELMOR_PLATFORM_API XJson {
  public:
    XJson() noexcept;
    // Parses text; anything that is not JSON gives an empty value.
    explicit XJson(const std::string& text) noexcept;
    XJson(const XJson& other) noexcept;
    XJson(XJson&& other) noexcept;
    XJson& operator=(const XJson& other) noexcept;
    XJson& operator=(XJson&& other) noexcept;
    ~XJson();

    // Replaces the value with the parsed text; false (and an empty value) when the text is not JSON.
    bool Parse(const std::string& text) noexcept;
    bool Parse(const char* text, std::size_t length) noexcept;
    // Parse, for a caller that wants the value of the top-level member named member as text. Where that
    // value is written in text byte for byte as Render writes it, memberText views it there and the value
    // is not built: the member holds null. Otherwise (for instance when the text has spaces, escapes
    // written another way, a key twice, invalid UTF-8 or a fraction, or the value is null) memberText is
    // empty and the whole text is parsed; always empty when the parse failed.
    bool Parse(const char* text, std::size_t length, std::string_view member,
               std::string_view& memberText) noexcept;

    // Building. Each adds one member to an object (a value that is not yet an object becomes one);
    // a key added twice keeps its first place and takes the new value. Narrow text is UTF-8; invalid
    // bytes are replaced so that what is rendered is always valid JSON.
    void Add(const std::string& key, const std::string& value) noexcept;
    void Add(const std::string& key, std::string_view value) noexcept;
    void Add(const std::string& key, const char* value) noexcept;
    void Add(const std::string& key, int value) noexcept;
    void Add(const std::string& key, long long value) noexcept;
    void Add(const std::string& key, unsigned long long value) noexcept;
    void Add(const std::string& key, double value) noexcept;
    void Add(const std::string& key, bool value) noexcept;
    void Add(const std::string& key, const XJson& value) noexcept;
    // Moves value in: the way to place a large parameters object without copying it.
    void Add(const std::string& key, XJson&& value) noexcept;
    void Append(const std::string& key, const XJson& value) noexcept;
    void Append(const std::string& key, const XString& value) noexcept;
    // Adds the members in their order, as the same Add calls one by one would, but built in one go: a
    // document of many members whose keys differ (a device description) skips a search and an insertion per
    // member. When memory runs out nothing is added.
    void AddMembers(std::initializer_list<XJsonMember> members) noexcept;
    // The text ToJson gives for the object AddMembers(members) builds on an empty value, written straight
    // from the members: for a large object that is only ever sent (a device description) building the
    // tree would be most of the work. The keys must differ; a key given twice is written twice. Empty when
    // memory runs out.
    static std::string MembersJson(std::initializer_list<XJsonMember> members) noexcept;
    // Adds one element to an array (a value that is not yet an array becomes one).
    void Append(const XJson& element) noexcept;
    // Makes the value an object with room for this many members, so that one built member by member is
    // not moved and re-indexed as it grows.
    void Reserve(std::size_t members) noexcept;

    // Reading a member by key. On a value that is not an object every read gives the empty result.
    std::string ToString(const std::string& key) const noexcept;
    XString ToXString(const std::string& key) const noexcept;
    int ToInt(const std::string& key) const noexcept;
    long long ToInt64(const std::string& key) const noexcept;
    bool ToBool(const std::string& key) const noexcept;
    double ToDouble(const std::string& key) const noexcept;
    XJson ToObject(const std::string& key) const noexcept;
    // Moves a member out, leaving null in its place; empty when absent.
    XJson Take(const std::string& key) noexcept;

    // The same conversions applied to this value itself (for array elements).
    std::string AsString() const noexcept;
    XString AsXString() const noexcept;
    int AsInt() const noexcept;
    long long AsInt64() const noexcept;
    bool AsBool() const noexcept;
    double AsDouble() const noexcept;
    // A text value's bytes where they live inside this value, read without a copy while the value stays
    // unchanged; empty for every other kind (AsString spells numbers and bools). Parsed text may hold
    // invalid UTF-8: the wide conversions mend it.
    std::string_view TextView() const noexcept;

    // A member by key or an element by position; empty when absent or past the end.
    XJson operator[](const std::string& key) const noexcept;
    XJson operator[](unsigned index) const noexcept;
    // The same without a copy: the member or element where it lives inside this value, for reading while
    // this value stays unchanged. An empty value when absent or past the end.
    const XJson& Member(std::string_view key) const noexcept;
    const XJson& Element(unsigned index) const noexcept;
    // Every member of an object in order, read in place: one pass instead of a search per key. Nothing for
    // anything else. What visit throws passes through.
    void ForEachMember(const std::function<void(std::string_view key, const XJson& value)>& visit) const;
    // Number of elements of an array, 0 for anything else.
    unsigned GetArraySize() const noexcept;

    // True for null, {} and [].
    bool IsEmpty() const noexcept;
    bool IsObject() const noexcept;
    bool IsArray() const noexcept;
    bool IsString() const noexcept;
    bool IsNull() const noexcept;
    bool Contains(const std::string& key) const noexcept;

    // Compact UTF-8 JSON text, members in insertion order. An empty value renders as "{}" so that an
    // operation without parameters sends "params": {}.
    std::string ToJson() const noexcept;
    // The same text handed to sink in pieces, so that a large document need not exist as one text.
    // Stops and gives false when sink does, or when rendering fails part-way.
    bool Render(const std::function<bool(const char* piece, std::size_t length)>& sink) const noexcept;
    // The same with verbatim, JSON text, written as it stands in place of the value at: a member or
    // element somewhere inside this value, as Member and Element give it. Lets a part built as text (by
    // MembersJson) go out inside a document without being made a tree.
    bool Render(const std::function<bool(const char* piece, std::size_t length)>& sink, const XJson& at,
                std::string_view verbatim) const noexcept;
    // About the length of that text, found without rendering it, for sizing a buffer once.
    std::size_t ApproximateJsonLength() const noexcept;

    bool operator==(const XJson& other) const noexcept;
    bool operator!=(const XJson& other) const noexcept { return !(*this == other); }

  private:
    // The platform's own sources reach the value through XJsonValue.h.
    friend struct XJsonAccess;

    alignas(8) unsigned char storage_[24];
};

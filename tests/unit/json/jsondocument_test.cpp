// What JSON text becomes, and where a parse stops. MIT licence.
#include "json/jsondocument.h"

#include <gtest/gtest.h>

#include "json/jsonwriter.h"

namespace
{

// Shows what a host's own document class reaches.
class Document : public wxJSONDocument
{
public:
    explicit Document(const wxString& text) { Parse(text); }
    int ErrorCode() const { return m_errorCode; }
    size_t ErrorOffset() const { return m_errorOffset; }
};

wxString Written(const wxJSONValue& value)
{
    wxString text;
    wxJSONWriter(0, 0, 3).Write(value, text);
    return text;
}

} // namespace

// Objects have one member at most: members are written in no fixed order.
TEST(JsonDocument, TextAndWhatIsBuiltFromIt)
{
    struct Row {
        const char* label;
        const wchar_t* text;
        int errorCode;
        const wchar_t* built; // null for an invalid root
    };
    const Row rows[] = {
        {"array", L"[1,-1,0.5,true,false,\"s\"]", 0, L"[1,-1,0.5,true,false,\"s\"]"},
        {"number edges", L"[4294967295,4294967296,-2147483648,-9223372036854775808,18446744073709551615]", 0,
         L"[4294967295,4294967296,-2147483648,-9223372036854775808,18446744073709551615]"},
        {"beyond 64 bits", L"[18446744073709551616,-9223372036854775809,1e3]", 0,
         L"[1.844674407e+19,-9.223372037e+18,1000]"},
        {"number too large", L"[1,1e999]", 13, L"[1]"},
        {"number a little too large", L"[1,1.7976962697246314e308]", 13, L"[1]"},
        {"leading plus", L"[+1]", 3, L"[]"},
        {"null is text", L"{\"a\":null}", 0, L"{\"a\":\"null\"}"},
        {"white space", L" \t\r\n[ \t\r\n] \t\r\n", 0, L"[]"},
        {"comments", L"/*a*/[//b\n1/**/,2]//c", 0, L"[1,2]"},
        {"comment left open", L"[1]/*", 17, L"[1]"},
        {"trailing comma", L"[{\"a\":1,},]", 0, L"[{\"a\":1}]"},
        {"two commas", L"[1,,2]", 3, L"[1]"},
        {"nothing", L"", 1, nullptr},
        {"blanks", L" \n", 1, nullptr},
        {"comment alone", L"//x", 1, nullptr},
        {"no value", L" x", 3, nullptr},
        {"closing first", L"]", 3, nullptr},
        {"bare number", L"1", 16, nullptr},
        {"bare string", L"\"a\"", 16, nullptr},
        {"bare true", L"true", 16, nullptr},
        {"bare null", L"null", 16, nullptr},
        {"second root", L"[1][2]", 2, L"[1]"},
        {"cut in a member", L"{\"a\":1,\"b", 11, L"{\"a\":1}"},
        {"cut after a key", L"{\"a\":", 3, L"{}"},
        {"no colon", L"{\"a\" 1}", 5, L"{}"},
        {"no name", L"{1:2}", 4, L"{}"},
        {"cut in nested", L"[[1,{\"k\":\"v\"", 6, L"[[1,{\"k\":\"v\"}]]"},
        {"array not closed", L"[1", 7, L"[1]"},
        {"empty key", L"{\"\":1}", 16, L"{}"},
        {"empty key of an array", L"{\"\":[1]}", 16, L"{}"},
        {"key twice", L"{\"a\":1,\"a\":[2]}", 0, L"{\"a\":[2]}"},
        {"array then string of one key", L"{\"a\":[2],\"a\":\"x\"}", 0, L"{\"a\":\"x\"}"},
        {"escapes", L"[\"\\\"\\\\\\/\\b\\f\\n\\r\\t\\u00e9\"]", 0, L"[\"\\\"\\\\/\\b\\f\\n\\r\\t\u00e9\"]"},
        {"surrogate escapes", L"[\"\\uD83D\\uDE00\"]", 0, L"[\"\U0001F600\"]"},
        {"high surrogate alone", L"[\"\\uD83Dx\"]", 9, L"[]"},
        {"control character in a string", L"[\"a\nb\"]", 10, L"[]"},
        {"escaped nul", L"[\"a\\u0000b\"]", 0, L"[\"a\\u0000b\"]"},
        {"low surrogate alone", L"[\"\\udc00\"]", 0,
         L"[\"<wxJSONWriter::WriteStringValue(): error converting the string to a UTF8 buffer>\"]"},
        {"bad escape", L"[\"\\x\"]", 10, L"[]"},
        {"bad hexadecimal", L"[\"\\u00zz\"]", 8, L"[]"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.label);
        const Document document(row.text);
        EXPECT_EQ(document.ErrorCode(), row.errorCode);
        EXPECT_EQ(document.IsValid(), row.built != nullptr);
        if (row.built != nullptr) {
            EXPECT_EQ(Written(document), row.built);
        }
    }
}

TEST(JsonDocument, ErrorOffsetCountsCharacters)
{
    EXPECT_EQ(Document(L"[\"\u00e9\u00e9\U0001F600\" x").ErrorOffset(), sizeof(wchar_t) == 2 ? 8U : 7U);
    EXPECT_EQ(Document(L"  x").ErrorOffset(), 2U);
}

TEST(JsonDocument, ParseStartsAfresh)
{
    Document document("{\"a\":{\"b\":[");
    EXPECT_NE(document.ErrorCode(), 0);
    const wxJSONValue first = document;
    document.Parse("[1]");
    EXPECT_EQ(document.ErrorCode(), 0);
    EXPECT_EQ(Written(document), "[1]");
    EXPECT_EQ(Written(first), "{\"a\":{\"b\":[]}}");
    EXPECT_FALSE(document.Parse("1").IsValid());
}

TEST(JsonDocument, NumbersArriveWithTheirSign)
{
    wxJSONDocument document;
    const wxJSONValue list = document.Parse("[5,-5,70000,-70000,5000000000,-5000000000,18446744073709551615,1.0]");
    const wxJSONType types[] = {wxJSONTYPE_USHORT, wxJSONTYPE_SHORT, wxJSONTYPE_ULONG,  wxJSONTYPE_LONG,
                                wxJSONTYPE_UINT64, wxJSONTYPE_INT64, wxJSONTYPE_UINT64, wxJSONTYPE_DOUBLE};
    for (unsigned i = 0; i < 8; ++i)
        EXPECT_EQ(list.ItemAt(i).GetType(), types[i]) << i;
}

TEST(JsonDocument, ManyMembersOfOneObjectAreAllFound)
{
    wxString text = "[{\"\\u0000key 1\":{},";
    for (int i = 0; i < 5000; ++i)
        text << "\"key " << i << "\":" << i << ",\"\\u0000key " << i << "\":" << -i << ",";
    text << "},{\"one\":1},{}]";
    wxJSONDocument document;
    document.Parse(text);
    ASSERT_EQ(document.Size(), 3);
    const wxString odd = wxString(wxUniChar(0)) + "key 1";
    for (const bool asMap : {false, true}) {
        wxJSONValue object = document.Item(0);
        EXPECT_TRUE(!asMap || object.AsMap()->size() == 10000U);
        EXPECT_EQ(object.Size(), 10000);
        EXPECT_EQ(object["key 4999"].AsInt(), 4999);
        EXPECT_EQ(object[odd].AsInt(), -1);
        object[odd] = "changed";
        EXPECT_EQ(document.Item(0).FindMember(odd)->AsInt(), -1);
        wxJSONDocument again;
        again.Parse(Written(object));
        EXPECT_EQ(again.Size(), 10000);
        EXPECT_EQ(again[odd].AsString(), "changed");
    }
    EXPECT_EQ(document.Item(1).Size(), 1);
    EXPECT_EQ(document.Item(2).Size(), 0);
}

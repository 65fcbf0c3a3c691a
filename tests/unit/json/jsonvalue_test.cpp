// Types, sharing and conversions of JSON values. MIT licence.
#include "json/jsonvalue.h"

#include <limits>

#include <gtest/gtest.h>

TEST(JsonValue, NumbersReportTheNarrowestTypeThatHoldsThem)
{
    struct Row {
        const char* digits;
        bool isSigned;
        wxJSONType type;
    };
    const Row rows[] = {
        {"0", true, wxJSONTYPE_SHORT},
        {"-32768", true, wxJSONTYPE_SHORT},
        {"32767", true, wxJSONTYPE_SHORT},
        {"-32769", true, wxJSONTYPE_LONG},
        {"32768", true, wxJSONTYPE_LONG},
        {"-2147483648", true, wxJSONTYPE_LONG},
        {"2147483647", true, wxJSONTYPE_LONG},
        {"-2147483649", true, wxJSONTYPE_INT64},
        {"2147483648", true, wxJSONTYPE_INT64},
        {"-9223372036854775808", true, wxJSONTYPE_INT64},
        {"9223372036854775807", true, wxJSONTYPE_INT64},
        {"0", false, wxJSONTYPE_USHORT},
        {"65535", false, wxJSONTYPE_USHORT},
        {"65536", false, wxJSONTYPE_ULONG},
        {"4294967295", false, wxJSONTYPE_ULONG},
        {"4294967296", false, wxJSONTYPE_UINT64},
        {"18446744073709551615", false, wxJSONTYPE_UINT64},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.digits);
        wxJSONValue value;
        if (row.isSigned)
            value = std::stoll(row.digits);
        else
            value = std::stoull(row.digits);
        EXPECT_EQ(value.GetType(), row.type);
        EXPECT_EQ(value.AsString(), row.digits);
    }
}

TEST(JsonValue, TextOfEachType)
{
    wxJSONValue array;
    array.Item(2);
    wxJSONValue object;
    object["a"] = 1;
    wxJSONValue half;
    half = 0.5;
    wxJSONValue rounded;
    rounded = 12345678901.25;
    wxJSONValue yes;
    yes = true;
    wxJSONValue string;
    string = L"s\u00fc";
    struct Row {
        wxJSONValue value;
        wxString text;
    };
    const Row rows[] = {
        {wxJSONValue(), "null"},
        {wxJSONValue(wxJSONTYPE_INVALID), "<invalid>"},
        {wxJSONValue(static_cast<wxJSONType>(17)), "<invalid>"},
        {wxJSONValue(wxJSONTYPE_MEMORYBUFF), "wxJSONValue::AsString(): Unknown JSON type 'wxJSONTYPE_MEMORYBUFF'"},
        {array, "[3]"},
        {object, "{1}"},
        {half, "0.5"},
        {rounded, "1.23456789e+10"},
        {yes, "true"},
        {string, wxString::FromUTF8("s\xc3\xbc")},
    };
    for (const Row& row : rows)
        EXPECT_EQ(row.value.AsString(), row.text);
}

TEST(JsonValue, TypesThatAreOnlyAskedForOrReportedAreStoredAsTheirOwn)
{
    EXPECT_EQ(wxJSONValue(wxJSONTYPE_CSTRING).GetType(), wxJSONTYPE_STRING);
    EXPECT_EQ(wxJSONValue(wxJSONTYPE_INT64).GetType(), wxJSONTYPE_SHORT);
    EXPECT_EQ(wxJSONValue(wxJSONTYPE_UINT64).GetType(), wxJSONTYPE_USHORT);
    wxJSONValue value;
    value = "text";
    EXPECT_EQ(value.SetType(wxJSONTYPE_CSTRING)->m_type, wxJSONTYPE_STRING);
    EXPECT_EQ(value.AsString(), "");
}

TEST(JsonValue, ChangingTheTypeDropsWhatItHeldButNotTheNumber)
{
    wxJSONValue value;
    value = 7;
    value["k"] = "v";
    EXPECT_EQ(value.Size(), 1);
    EXPECT_EQ(value.AsInt(), 7);
    value.Append("x");
    EXPECT_TRUE(value.IsArray());
    EXPECT_EQ(value.AsMap(), nullptr);
    value.SetType(wxJSONTYPE_OBJECT);
    EXPECT_EQ(value.Size(), 0);
    value.SetType(wxJSONTYPE_INT);
    EXPECT_EQ(value.AsString(), "7");
    EXPECT_EQ(value.Size(), -1);
    value.Clear();
    EXPECT_FALSE(value.IsValid());
    EXPECT_EQ(value.AsInt(), 0);
}

TEST(JsonValue, CopyAndOriginalChangeApart)
{
    wxJSONValue original;
    original["list"].Append(1);
    const wxJSONValue copy(original);
    wxJSONValue second;
    second = original;
    original["list"].Append(2);
    original["new"] = true;
    second["list"][0] = "other";
    EXPECT_EQ(copy.Size(), 1);
    EXPECT_EQ(copy.AsMap()->at("list").Size(), 1);
    EXPECT_EQ(copy.AsMap()->at("list").ItemAt(0).AsString(), "1");
    EXPECT_EQ(original["list"].Size(), 2);
    EXPECT_EQ(original["list"].ItemAt(0).AsString(), "1");
    EXPECT_EQ(second["list"].ItemAt(0).AsString(), "other");
    EXPECT_FALSE(second.HasMember("new"));
}

TEST(JsonValue, ValueMayBeGivenToItselfOrItsMember)
{
    wxJSONValue value;
    value["a"]["b"] = "deep";
    const wxJSONValue& same = value;
    value = same;
    EXPECT_EQ(value["a"]["b"].AsString(), "deep");
    value = value["a"]; // the member outlives the parent that held it
    EXPECT_EQ(value["b"].AsString(), "deep");

    wxJSONValue list;
    list.Append("first");
    list.Append(list);
    list.Append(list.Item(0));
    EXPECT_EQ(list.Size(), 3);
    EXPECT_EQ(list.ItemAt(1).Size(), 1);
    EXPECT_EQ(list.ItemAt(2).AsString(), "first");
}

TEST(JsonValue, ItemGrowsAndItemAtDoesNot)
{
    wxJSONValue value;
    value.Item(3) = "last";
    EXPECT_EQ(value.Size(), 4);
    EXPECT_TRUE(value.ItemAt(2).IsNull());
    EXPECT_EQ(value.ItemAt(3).AsString(), "last");
    EXPECT_FALSE(value.ItemAt(4).IsValid());
    EXPECT_EQ(value.Size(), 4);
    EXPECT_FALSE(wxJSONValue(wxJSONTYPE_OBJECT).ItemAt(0).IsValid());
}

TEST(JsonValue, KeyTurnsANumberIntoAnObject)
{
    wxJSONValue value;
    value = 3U;
    value[""] = "empty";
    value[wxString(L"\0x", 2)] = "nul";
    value[wxString::FromUTF8("\xf0\x9f\x98\x80")] = "wide";
    EXPECT_EQ(value.Size(), 3);
    EXPECT_TRUE(value.HasMember(""));
    EXPECT_TRUE(value.HasMember(wxString(L"\0x", 2)));
    EXPECT_FALSE(value.HasMember("x"));
    EXPECT_EQ(value[wxString::FromUTF8("\xf0\x9f\x98\x80")].AsString(), "wide");
}

TEST(JsonValue, NarrowTextIsUtf8InEveryLocale)
{
    wxJSONValue value;
    value = "caf\xc3\xa9";
    EXPECT_EQ(value.AsString(), L"caf\u00e9");
    EXPECT_EQ(value.Append("caf\xc3\xa9").AsString(), L"caf\u00e9");
    value = static_cast<const char*>(nullptr);
    EXPECT_TRUE(value.IsString());
}

TEST(JsonValue, AppendStoresEachType)
{
    wxJSONValue list;
    list.Append(-1);
    list.Append(1U);
    list.Append(1LL << 40);
    list.Append(~0ULL);
    list.Append(1.5);
    list.Append(false);
    list.Append(wxString("w"));
    list.Append(L"l");
    list.Append("c");
    wxString all;
    for (unsigned i = 0; i < 9; ++i)
        all += list.ItemAt(i).AsString() + " ";
    EXPECT_EQ(all, "-1 1 1099511627776 18446744073709551615 1.5 false w l c ");
    EXPECT_EQ(list.ItemAt(5).GetType(), wxJSONTYPE_BOOL);
}

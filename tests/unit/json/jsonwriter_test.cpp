// The compact text of a value. MIT licence.
#include "json/jsonwriter.h"

#include <clocale>
#include <limits>

#include <gtest/gtest.h>

#include "json/jsondocument.h"

namespace
{

wxString Written(const wxJSONValue& value)
{
    wxString text = "before";
    wxJSONWriter(0, 0, 3).Write(value, text);
    return text;
}

template <class T>
wxString WrittenFrom(const T& content)
{
    wxJSONValue value;
    value = content;
    return Written(value);
}

const char kNotUnicode[] = "\"<wxJSONWriter::WriteStringValue(): error converting the string to a UTF8 buffer>\"";

} // namespace

TEST(JsonWriter, Scalars)
{
    EXPECT_EQ(Written(wxJSONValue()), "null");
    EXPECT_EQ(Written(wxJSONValue(wxJSONTYPE_INVALID)), "null");
    EXPECT_EQ(WrittenFrom(true), "true");
    EXPECT_EQ(WrittenFrom(false), "false");
    EXPECT_EQ(WrittenFrom(std::numeric_limits<long long>::min()), "-9223372036854775808");
    EXPECT_EQ(WrittenFrom(std::numeric_limits<unsigned long long>::max()), "18446744073709551615");
}

TEST(JsonWriter, DoublesAreWrittenAsTenSignificantDigits)
{
    const double numbers[] = {0.0,
                              -0.0,
                              0.5,
                              1.0 / 3,
                              1e10,
                              1e9,
                              123456789012.0,
                              1e-5,
                              0.0001,
                              1.5e300,
                              5e-324,
                              -1e100,
                              std::numeric_limits<double>::max()};
    for (const double number : numbers) {
        const std::string before = std::setlocale(LC_NUMERIC, nullptr);
        std::setlocale(LC_NUMERIC, "C");
        char expected[64];
        snprintf(expected, sizeof(expected), "%.10g", number);
        std::setlocale(LC_NUMERIC, before.c_str());
        EXPECT_EQ(WrittenFrom(number), expected);
    }
}

// Ten digits of the largest doubles make a number beyond them, which the reader refuses; so does what follows it.
TEST(JsonWriter, LargestDoubleDoesNotReadBack)
{
    wxJSONDocument document;
    const wxString text = Written(document.Parse("[1.7976931348623157e308]"));
    EXPECT_EQ(text, "[1.797693135e+308]");
    EXPECT_EQ(Written(document.Parse(text)), "[]");
}

TEST(JsonWriter, StringsAreEscapedOnlyWhereJsonAsksForIt)
{
    struct Row {
        const wchar_t* content;
        const wchar_t* text;
    };
    const Row rows[] = {
        {L"", L"\"\""},
        {L"a/b", L"\"a/b\""},
        {L"\"\\", L"\"\\\"\\\\\""},
        {L"\b\t\n\f\r", L"\"\\b\\t\\n\\f\\r\""},
        {L"\x01\x0b\x1f\x20\x7f", L"\"\\u0001\\u000B\\u001F \x7f\""},
        {L"\u00e9\uffff\uE000\U0001F600\U0010FFFF", L"\"\u00e9\uffff\uE000\U0001F600\U0010FFFF\""},
    };
    for (const Row& row : rows)
        EXPECT_EQ(WrittenFrom(wxString(row.content)), row.text);
    EXPECT_EQ(WrittenFrom(wxString(L"a\0b", 3)), "\"a\\u0000b\"");
}

TEST(JsonWriter, StringThatIsNotUnicodeIsReplacedWhole)
{
    const wchar_t high = static_cast<wchar_t>(0xD83D);
    const wchar_t low = static_cast<wchar_t>(0xDE00);
    EXPECT_EQ(WrittenFrom(wxString("ab") + high), kNotUnicode);
    EXPECT_EQ(WrittenFrom(wxString(low) + "ab"), kNotUnicode);
    EXPECT_EQ(WrittenFrom(wxString(high) + "ab"), kNotUnicode);
    if (sizeof(wchar_t) > 2) {
        EXPECT_EQ(WrittenFrom(wxString(static_cast<wchar_t>(0x110000))), kNotUnicode);
        EXPECT_EQ(WrittenFrom(wxString(static_cast<wchar_t>(-1))), kNotUnicode);
    }
    wxJSONValue object;
    object[wxString(low)].Append(L"ok");
    EXPECT_EQ(Written(object), wxString("{") + kNotUnicode + ":[\"ok\"]}");
}

TEST(JsonWriter, ContainersHaveNoBlanks)
{
    wxJSONValue object;
    object["k"] = "v";
    wxJSONValue list;
    list.Append(object);
    list.Append(wxJSONValue(wxJSONTYPE_ARRAY));
    list.Append(wxJSONValue(wxJSONTYPE_OBJECT));
    EXPECT_EQ(Written(list), "[{\"k\":\"v\"},[],{}]");

    object["l"] = 1;
    const wxString text = Written(object);
    EXPECT_TRUE(text == "{\"k\":\"v\",\"l\":1}" || text == "{\"l\":1,\"k\":\"v\"}") << text;
}

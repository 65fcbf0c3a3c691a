// The SAX handler that builds values from the reader's events. MIT licence.
#include "json/jsondocument.h"

#include <algorithm>
#include <cmath>
#include <string>

#include <rapidjson/reader.h>

namespace
{

// The reader's encoding for wide characters of either width.
template <size_t width>
struct WideEncoding {
    typedef rapidjson::UTF32<wchar_t> Type;
};
template <>
struct WideEncoding<2> {
    typedef rapidjson::UTF16<wchar_t> Type;
};

typedef WideEncoding<sizeof(wchar_t)>::Type Encoding;
typedef rapidjson::GenericReader<Encoding, Encoding> Reader;

// Iterative: how deep a text nests must not decide how much stack the caller needs.
const unsigned kParseFlags =
    rapidjson::kParseIterativeFlag | rapidjson::kParseCommentsFlag | rapidjson::kParseTrailingCommasFlag;

} // namespace

// Each event answers false to stop the parse: no container is open, or an object has no key for the value.
class QXSPEECH_HIDDEN wxJSONDocument::Handler
{
public:
    typedef wchar_t Ch;

    explicit Handler(wxJSONDocument& document) : m_document(document) {}

    bool Null() { return Text(L"null", 4); }
    bool Bool(bool value) { return Number(wxJSONTYPE_BOOL, &wxJSONRefData::Number::m_valUInt64, value ? 1U : 0U); }
    bool Int(int value) { return Int64(value); }
    bool Uint(unsigned value) { return Uint64(value); }
    bool Int64(std::int64_t value) { return Number(wxJSONTYPE_INT, &wxJSONRefData::Number::m_valInt64, value); }
    bool Uint64(std::uint64_t value) { return Number(wxJSONTYPE_UINT, &wxJSONRefData::Number::m_valUInt64, value); }
    bool Double(double value)
    {
        m_isTooBig = !std::isfinite(value);
        return !m_isTooBig && Number(wxJSONTYPE_DOUBLE, &wxJSONRefData::Number::m_valDouble, value);
    }
    bool RawNumber(const Ch*, rapidjson::SizeType, bool) { return false; } // not asked for by the flags
    bool String(const Ch* text, rapidjson::SizeType length, bool) { return Text(text, length); }
    bool StartObject() { return Start(wxJSONTYPE_OBJECT); }
    bool Key(const Ch* text, rapidjson::SizeType length, bool)
    {
        m_document.m_key.assign(text, length);
        return true;
    }
    bool EndObject(rapidjson::SizeType members)
    {
        m_likelyMembers = std::min<size_t>(members, kMostLikelyMembers);
        return End();
    }
    bool StartArray() { return Start(wxJSONTYPE_ARRAY); }
    bool EndArray(rapidjson::SizeType) { return End(); }

    // The reader refuses a number beyond the doubles, but a little beyond it may hand over infinity.
    bool IsTooBig() const { return m_isTooBig; }

private:
    bool Start(wxJSONType type);
    bool End();
    wxJSONValue* Add(wxJSONType type);
    bool Text(const Ch* text, size_t length);
    template <class Field, class T>
    bool Number(wxJSONType type, Field field, T value);

    // The objects of a list are alike, so the next one has probably as many members as the one that closed last.
    static constexpr size_t kMostLikelyMembers = 32;
    size_t m_likelyMembers = 0;
    bool m_isTooBig = false;
    wxJSONDocument& m_document;
};

// A new value in the innermost open container, or null if it cannot go there.
wxJSONValue* wxJSONDocument::Handler::Add(wxJSONType type)
{
    if (m_document.m_stack.empty())
        return nullptr;
    wxJSONRefData& top = *m_document.m_stack.back()->m_refData;
    if (top.m_type == wxJSONTYPE_ARRAY)
        return &top.m_valArray.emplace_back(type);
    if (m_document.m_key.empty())
        return nullptr;
    const auto [member, isNew] = top.AddMember(m_document.m_key, type);
    if (!isNew)
        *member = wxJSONValue(type);
    m_document.m_key.clear();
    return member;
}

bool wxJSONDocument::Handler::Start(wxJSONType type)
{
    wxJSONValue* container = &m_document;
    if (m_document.m_stack.empty())
        m_document.SetType(type);
    else
        container = Add(type);
    if (container == nullptr)
        return false;
    if (type == wxJSONTYPE_OBJECT && m_likelyMembers > 0)
        container->m_refData->m_valMap.reserve(m_likelyMembers);
    m_document.m_stack.push_back(container);
    return true;
}

bool wxJSONDocument::Handler::End()
{
    if (!m_document.m_stack.empty())
        m_document.m_stack.pop_back();
    return true;
}

bool wxJSONDocument::Handler::Text(const Ch* text, size_t length)
{
    wxJSONValue* const value = Add(wxJSONTYPE_STRING);
    if (value == nullptr)
        return false;
    value->m_refData->m_valString.assign(text, length);
    return true;
}

template <class Field, class T>
bool wxJSONDocument::Handler::Number(wxJSONType type, Field field, T value)
{
    wxJSONValue* const number = Add(type);
    if (number == nullptr)
        return false;
    number->m_refData->m_value.*field = value;
    return true;
}

wxJSONDocument::wxJSONDocument() : wxJSONValue(wxJSONTYPE_INVALID), m_errorCode(0), m_errorOffset(0) {}

wxJSONDocument::~wxJSONDocument() = default;

wxJSONValue& wxJSONDocument::Parse(const wxString& text)
{
    Clear();
    m_stack.clear();
    m_key.clear();

    const std::wstring& characters = text.ToStdWstring();
    rapidjson::GenericStringStream<Encoding> stream(characters.c_str());
    Handler handler(*this);
    Reader reader;
    const rapidjson::ParseResult result = reader.Parse<kParseFlags>(stream, handler);
    m_errorCode = result.Code();
    m_errorOffset = result.Offset();
    // The iterative reader calls a text empty too whose first token cannot start a value.
    if (m_errorCode == rapidjson::kParseErrorDocumentEmpty && characters[m_errorOffset] != L'\0')
        m_errorCode = rapidjson::kParseErrorValueInvalid;
    if (handler.IsTooBig())
        m_errorCode = rapidjson::kParseErrorNumberTooBig;
    m_stack.clear(); // its pointers hold only as long as nothing changes the values
    m_key.clear();
    return *this;
}

// The loop that walks a value and writes it. MIT licence.
#include "json/jsonwriter.h"

#include <charconv>
#include <string>

namespace
{

const wchar_t kNotUnicode[] = L"<wxJSONWriter::WriteStringValue(): error converting the string to a UTF8 buffer>";

typedef std::make_unsigned_t<wchar_t> WideUnit;

// No control character, quote, backslash or surrogate, nor beyond U+D7FF.
bool IsPlain(WideUnit unit)
{
    return unit >= 0x20 && unit < 0xD800 && unit != 0x22 && unit != 0x5C;
}

// How many units from there form one character: 0 if none, so that UTF-8 cannot say it.
size_t CharacterLength(const wchar_t* from, const wchar_t* end)
{
    const WideUnit unit = static_cast<WideUnit>(*from); // NOLINT(bugprone-signed-char-misuse): both of one width
    if (unit < 0xD800 || unit > 0xDFFF)
        return unit <= 0x10FFFF ? 1 : 0;
    const bool isPair =
        sizeof(wchar_t) == 2 && unit < 0xDC00 && from + 1 < end && (static_cast<WideUnit>(from[1]) & 0xFC00) == 0xDC00;
    return isPair ? 2 : 0;
}

// The letter after the backslash, or 0 if the unit has no short escape.
wchar_t ShortEscape(wchar_t unit)
{
    switch (unit) {
    case L'"':
    case L'\\':
        return unit;
    case L'\b':
        return L'b';
    case L'\t':
        return L't';
    case L'\n':
        return L'n';
    case L'\f':
        return L'f';
    case L'\r':
        return L'r';
    default:
        return 0;
    }
}

} // namespace

// The text under way, and the containers that are open: their number is bounded by memory, not by the stack. Characters
// stay wide from the value to the text, since a way through UTF-8 and back would give the same ones.
class QXSPEECH_HIDDEN wxJSONWriter::Output
{
public:
    Output(wxString& text, int& level) : m_whole(text), m_level(level) {}

    void Write(const wxJSONValue& root);

private:
    // Where the walk through one container stands.
    struct Frame {
        const wxJSONRefData* body;
        size_t written; // elements or members so far
        wxJSONMap::const_iterator member;
        wxJSONRefData::OddMembers::const_iterator odd; // behind the others, if there are any
    };

    void Flush();
    void Value(const wxJSONValue& value);
    void Open(const wxJSONRefData* body, wchar_t bracket);
    void Close(wchar_t bracket);
    void NextElement();
    void NextMember();
    template <class KeyAndValue>
    void Member(const KeyAndValue& member);
    void String(const wxString& string);
    bool Characters(const wchar_t* from, const wchar_t* end);
    void Escaped(wchar_t unit);
    template <class... T>
    void Number(T... number);

    // The text is handed on in pieces of about this size, which stay in the processor's cache.
    static const size_t kPieceUnits = 16384;

    wxString& m_whole;
    std::wstring m_text; // what the whole does not have yet
    std::vector<Frame> m_frames;
    int& m_level;
};

void wxJSONWriter::Output::Write(const wxJSONValue& root)
{
    Value(root);
    while (!m_frames.empty()) {
        if (m_text.size() >= kPieceUnits)
            Flush();
        if (m_frames.back().body->m_type == wxJSONTYPE_ARRAY)
            NextElement();
        else
            NextMember();
    }
    Flush();
}

void wxJSONWriter::Output::Flush()
{
    m_whole.append(m_text.data(), m_text.size());
    m_text.clear();
}

void wxJSONWriter::Output::Open(const wxJSONRefData* body, wchar_t bracket)
{
    m_text += bracket;
    m_frames.push_back({body, 0, body->m_valMap.begin(), {}});
    if (body->m_oddMembers)
        m_frames.back().odd = body->m_oddMembers->begin();
    ++m_level;
}

void wxJSONWriter::Output::Close(wchar_t bracket)
{
    m_text += bracket;
    m_frames.pop_back();
    --m_level;
}

void wxJSONWriter::Output::NextElement()
{
    Frame& frame = m_frames.back();
    const std::vector<wxJSONValue>& elements = frame.body->m_valArray;
    if (frame.written == elements.size()) {
        Close(L']');
        return;
    }
    if (frame.written > 0)
        m_text += L',';
    Value(elements[frame.written++]); // may push a frame: the reference above is gone then
}

void wxJSONWriter::Output::NextMember()
{
    Frame& frame = m_frames.back();
    if (frame.written == frame.body->MemberCount()) {
        Close(L'}');
        return;
    }
    if (frame.written++ > 0)
        m_text += L',';
    if (frame.member != frame.body->m_valMap.end())
        Member(*frame.member++);
    else
        Member(*frame.odd++);
}

template <class KeyAndValue>
void wxJSONWriter::Output::Member(const KeyAndValue& member)
{
    String(member.first);
    m_text += L':';
    Value(member.second); // may push a frame
}

void wxJSONWriter::Output::Value(const wxJSONValue& value)
{
    const wxJSONRefData* const body = value.m_refData;
    switch (body != nullptr ? body->m_type : wxJSONTYPE_INVALID) {
    case wxJSONTYPE_INT:
        Number(body->m_value.m_valInt64);
        break;
    case wxJSONTYPE_UINT:
        Number(body->m_value.m_valUInt64);
        break;
    case wxJSONTYPE_DOUBLE:
        Number(body->m_value.m_valDouble, std::chars_format::general, 10);
        break;
    case wxJSONTYPE_STRING:
        String(body->m_valString);
        break;
    case wxJSONTYPE_BOOL:
        m_text += body->m_value.m_valUInt64 != 0 ? L"true" : L"false";
        break;
    case wxJSONTYPE_ARRAY:
        Open(body, L'[');
        break;
    case wxJSONTYPE_OBJECT:
        Open(body, L'{');
        break;
    default:
        m_text += L"null";
    }
}

// std::to_chars writes as printf does in the C locale, whatever the host's locale is.
template <class... T>
void wxJSONWriter::Output::Number(T... number)
{
    char buffer[32] = {};
    const std::to_chars_result end = std::to_chars(buffer, buffer + sizeof(buffer), number...);
    wchar_t wide[sizeof(buffer)];
    wchar_t* last = wide;
    for (const char* digit = buffer; digit != end.ptr; ++digit)
        *last++ = static_cast<wchar_t>(*digit);
    m_text.append(wide, last);
}

void wxJSONWriter::Output::String(const wxString& string)
{
    const std::wstring& units = string.ToStdWstring();
    m_text += L'"';
    const size_t start = m_text.size();
    if (!Characters(units.data(), units.data() + units.size())) {
        m_text.resize(start);
        m_text += kNotUnicode;
    }
    m_text += L'"';
}

// Runs that need no escape are copied in one piece. False at the first unit that is no character.
bool wxJSONWriter::Output::Characters(const wchar_t* from, const wchar_t* end)
{
    while (from != end) {
        const wchar_t* run = from;
        while (run != end && IsPlain(static_cast<WideUnit>(*run)))
            ++run;
        m_text.append(from, run);
        from = run;
        if (from == end)
            return true;
        if (static_cast<WideUnit>(*from) < 0xD800) {
            Escaped(*from++);
            continue;
        }
        const size_t length = CharacterLength(from, end);
        if (length == 0)
            return false;
        m_text.append(from, length);
        from += length;
    }
    return true;
}

void wxJSONWriter::Output::Escaped(wchar_t unit)
{
    static const wchar_t kHexDigits[] = L"0123456789ABCDEF";
    m_text += L'\\';
    if (const wchar_t letter = ShortEscape(unit)) {
        m_text += letter;
        return;
    }
    m_text += L"u00"; // only units below 0x20 come here
    m_text += kHexDigits[static_cast<WideUnit>(unit) >> 4];
    m_text += kHexDigits[static_cast<WideUnit>(unit) & 15U];
}

wxJSONWriter::wxJSONWriter(int style, int indent, int step)
    : m_style(style), m_indent(style == 0 ? 0 : indent), m_step(style == 0 ? 0 : step), m_level(0),
      m_numberFormat("%.10g")
{
}

void wxJSONWriter::Write(const wxJSONValue& value, wxString& text)
{
    m_level = 0;
    text.clear();
    Output(text, m_level).Write(value);
}

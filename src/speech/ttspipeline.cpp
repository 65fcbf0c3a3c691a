// Substitution in strings and the way of a file through filters and conversion. MIT licence.
#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

#include <wx/convauto.h>
#include <wx/filefn.h>
#include <wx/log.h>
#include <wx/txtstrm.h>
#include <wx/wxcrt.h>

#include "common/letters.h"
#include "speech/qxtexttospeech.h"
#include "speech/ttsfilework.h"
#include "speech/ttssubstitution.h"
#include "speech/ttstextfile.h"

using namespace qxspeech;

namespace
{

constexpr int kHtmlConversions =
    wxTTS_TRANSFORM_HTML_TO_TEXT | wxTTS_TRANSFORM_HTML_TO_SAPI | wxTTS_TRANSFORM_HTML_TO_SSML;
constexpr int kConversions = kHtmlConversions | wxTTS_TRANSFORM_TEXT_TO_SAPI | wxTTS_TRANSFORM_TEXT_TO_SSML;
constexpr int kNotForNative =
    wxTTS_TRANSFORM_STRIP_TITLE | wxTTS_TRANSFORM_SIMPLIFY_PUNCTUATION | wxTTS_TRANSFORM_STRIP_XML_HEAD;

// What may change a line.
constexpr int kLineOptions = wxTTS_TRANSFORM_SUBSTITUTE | kNotForNative;

// The lower case of ASCII letters and digits, 0 for the other ASCII characters.
constexpr std::array<wchar_t, 0x80> MakeWordTable()
{
    std::array<wchar_t, 0x80> table{};
    for (std::uint32_t c = '0'; c <= '9'; ++c)
        table[c] = static_cast<wchar_t>(c);
    for (std::uint32_t c = 'a'; c <= 'z'; ++c) {
        table[c] = static_cast<wchar_t>(c);
        table[c - 'a' + 'A'] = static_cast<wchar_t>(c);
    }
    return table;
}

constexpr std::uint32_t CodeOf(wchar_t c)
{
    return static_cast<std::uint32_t>(c);
}

// The character of a word in lower case, 0 for one that belongs to no word.
wchar_t WordCharacter(wchar_t c)
{
    static constexpr std::array<wchar_t, 0x80> kAscii = MakeWordTable();
    if (CodeOf(c) < kAscii.size())
        return kAscii[CodeOf(c)];
    return qxIsAlnum(c) ? qxToLower(c) : L'\0';
}

// Moves `at` over what belongs to no word and then over a word, whose lower case becomes `key`; where the word starts.
size_t NextWord(const std::wstring& text, size_t& at, std::wstring& key)
{
    while (at < text.size() && !WordCharacter(text[at]))
        ++at;
    const size_t start = at;
    key.clear();
    for (; at < text.size(); ++at) {
        const wchar_t c = WordCharacter(text[at]);
        if (!c)
            break;
        key += c;
    }
    return start;
}

wchar_t PlainPunctuation(wchar_t c)
{
    switch (c) {
    case 0x201C:
    case 0x201D:
        return L'"';
    case 0x2013:
        return L'-';
    case 0x2019:
        return L'\'';
    case 0x2026:
        return L'.';
    default:
        return c;
    }
}

bool SimplifyPunctuation(wxString& line)
{
    static const wchar_t kTypographic[] = L"\u201C\u201D\u2013\u2019\u2026";
    const std::wstring& text = line.ToStdWstring();
    if (text.find_first_of(kTypographic) == std::wstring::npos)
        return false;
    std::wstring plain(text);
    std::transform(plain.begin(), plain.end(), plain.begin(), PlainPunctuation);
    line = plain;
    return true;
}

bool BlankIf(wxString& line, const wchar_t* mark, const wchar_t* otherMark)
{
    if (line.find(mark) == wxString::npos && line.find(otherMark) == wxString::npos)
        return false;
    line.clear();
    return true;
}

// Whether one of the filters that the options ask for changed the line.
bool FilterLine(wxString& line, int options)
{
    bool changed = false;
    if (options & wxTTS_TRANSFORM_STRIP_TITLE)
        changed |= BlankIf(line, L"<title>", L"<TITLE>");
    if (options & wxTTS_TRANSFORM_STRIP_XML_HEAD)
        changed |= BlankIf(line, L"<?xml", L"<!DOCTYPE");
    if (options & wxTTS_TRANSFORM_SIMPLIFY_PUNCTUATION)
        changed |= SimplifyPunctuation(line);
    return changed;
}

// Lends a lookup for one scope.
class Loan
{
public:
    Loan(SubstitutionLookup*& place, SubstitutionLookup* lookup) : m_place(place) { m_place = lookup; }
    ~Loan() { m_place = nullptr; }
    Loan(const Loan&) = delete;
    Loan& operator=(const Loan&) = delete;

private:
    SubstitutionLookup*& m_place;
};

bool ConvertToBytes(wxTTSTransformer& transformer, const wxString& source, bool isString, int options,
                    std::string& bytes)
{
    BytesOutputStream stream;
    bool converted = false;
    {
        wxTextOutputStream text(stream, wxEOL_NATIVE, wxConvAuto());
        converted = transformer.ConvertFormat(source, stream, text, options, isString);
    }
    bytes.swap(stream.bytes);
    return converted;
}

// The lines of a file, none of one that does not hold what its byte-order mark says, and its bytes if they cannot be
// read again.
bool ReadSource(const wxString& filename, bool keepBytes, std::string& bytes, wxString& text)
{
    const wxLogNull noLog;
    if (!qxReadBytes(filename, bytes))
        return false;
    if (qxDecodeLines(bytes, wxConvAuto(), text))
        qxDropLastLineEnd(text);
    if (!keepBytes)
        bytes = std::string();
    return true;
}

// What a conversion would read from a file of those bytes.
bool DecodeDocument(const std::string& bytes, int options, wxString& document)
{
    if (options & kHtmlConversions) {
        const bool decoded = qxDecodeLines(bytes, wxConvUTF8, document);
        qxDropLastLineEnd(document);
        return decoded;
    }
    if (qxDecodeLines(bytes, wxConvAuto(), document) && !document.empty() && document.Last() != '\n')
        document += L'\n';
    return true;
}

} // namespace

bool wxTTSTransformer::ReplaceChar(wxString& str, const wchar_t& from, const wchar_t& to)
{
    return str.Replace(wxString(from, 1), wxString(to, 1), true) > 0;
}

bool wxTTSTransformer::TransformString(const wxString& input, wxString& output, int)
{
    SubstitutionLookup ownLookup(m_strings, m_replacements, m_dirty ? nullptr : &m_index);
    SubstitutionLookup& lookup = m_dirty && m_lookup ? *m_lookup : ownLookup;
    const std::wstring& text = input.ToStdWstring();
    wxString result;
    std::wstring word;
    size_t copied = 0; // up to here the text is in the result
    bool replaced = false;
    for (size_t at = 0; at < text.size();) {
        const size_t start = NextWord(text, at, word);
        if (word.empty())
            break;
        const wxString* const replacement = lookup.Find(word);
        if (!replacement)
            continue;
        if (!replaced)
            result.reserve(text.size() + text.size() / 8);
        result.append(text.data() + copied, start - copied);
        result.append(*replacement);
        copied = at;
        replaced = true;
    }
    if (!replaced) {
        output = input;
        return false;
    }
    result.append(text.data() + copied, text.size() - copied);
    output.swap(result);
    return true;
}

bool wxTTSTransformer::TransformFile(const wxString& inputFile, const wxString& outputFile, int options)
{
    const bool native = (options & wxTTS_TRANSFORM_NATIVE) != 0;
    if (native)
        options &= ~kNotForNative;
    if (native && !HasStrings()) {
        CopyTextFile(inputFile, outputFile);
        return true;
    }
    const bool isPipe = IsPipe(inputFile);
    if (!isPipe && !(options & kLineOptions))
        return IsReadable(inputFile) && CopyOrConvert(inputFile, outputFile, options);
    std::string bytes;
    {
        std::string source;
        wxString text;
        if (!ReadSource(inputFile, isPipe, source, text))
            return false;
        if (!TransformLines(text, options, bytes)) {
            text = wxString();
            return isPipe ? StorePiped(source, outputFile, options) : CopyOrConvert(inputFile, outputFile, options);
        }
    }
    const bool written =
        IsSameFile(inputFile, outputFile) ? ReplaceTextFile(outputFile, bytes) : WriteTextFile(outputFile, bytes);
    bytes = std::string();
    // Without the rewritten text there is nothing to convert: what lies there is something else, or half of it.
    if (written && (options & kConversions))
        ConvertRewritten(outputFile, options);
    return true;
}

bool wxTTSTransformer::TransformLines(const wxString& text, int options, std::string& bytes)
{
    SubstitutionLookup lookup(m_strings, m_replacements, nullptr);
    const Loan loan(m_lookup, m_dirty ? &lookup : nullptr);
    const std::wstring& characters = text.ToStdWstring();
    bool anyChanged = false;
    wxString line;
    wxString result;
    for (size_t start = 0, end = 0; start <= characters.size(); start = end + 1) {
        end = std::min(characters.find(L'\n', start), characters.size());
        line.assign(characters.data() + start, end - start);
        bool changed = false;
        if ((options & wxTTS_TRANSFORM_SUBSTITUTE) && TransformString(line, result, wxTTS_TRANSFORM_SUBSTITUTE)) {
            line.swap(result);
            changed = true;
        }
        changed |= FilterLine(line, options);
        if (changed && !anyChanged) {
            anyChanged = true;
            bytes.reserve(characters.size() + characters.size() / 4);
            if (start > 0)
                AppendLines(bytes, text.substr(0, start - 1));
        }
        if (anyChanged)
            AppendLine(bytes, line);
    }
    return anyChanged;
}

bool wxTTSTransformer::CopyOrConvert(const wxString& inputFile, const wxString& outputFile, int options)
{
    if (!(options & kConversions)) {
        CopyTextFile(inputFile, outputFile);
        return true;
    }
    std::string bytes;
    const bool converted = ConvertToBytes(*this, inputFile, false, options, bytes);
    if (!IsSameFile(inputFile, outputFile))
        WriteTextFile(outputFile, bytes);
    else if (converted)
        ReplaceTextFile(outputFile, bytes);
    return converted;
}

bool wxTTSTransformer::StorePiped(const std::string& source, const wxString& outputFile, int options)
{
    std::string bytes;
    if (options & kConversions) {
        wxString document;
        if (!DecodeDocument(source, options, document) || !ConvertToBytes(*this, document, true, options, bytes))
            return false;
    }
    WriteTextFile(outputFile, options & kConversions ? bytes : source);
    return true;
}

void wxTTSTransformer::ConvertRewritten(const wxString& outputFile, int options)
{
    const wxString tempFile = QXTextToSpeech::CreateTempFile("speech");
    std::string bytes;
    const bool converted = ConvertToBytes(*this, outputFile, false, options, bytes);
    if (tempFile.empty() || IsSameFile(tempFile, outputFile)) {
        if (converted)
            ReplaceTextFile(outputFile, bytes);
        return;
    }
    if (converted && WriteTextFile(tempFile, bytes) && wxRename(tempFile, outputFile) == 0)
        return;
    // A file system of its own cannot be renamed from, and some folders take no file.
    if (converted)
        ReplaceTextFile(outputFile, bytes);
    const wxLogNull noLog;
    wxRemoveFile(tempFile);
}

bool wxTTSTransformer::ConvertFormat(const wxString& source, wxOutputStream& stream, wxTextOutputStream& textStream,
                                     int options, bool isString)
{
    return options & kHtmlConversions ? ConvertHTMLToText(source, stream, textStream, options, isString)
                                      : ConvertTextToXML(source, stream, textStream, options, isString);
}

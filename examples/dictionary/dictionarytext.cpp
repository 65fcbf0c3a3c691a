// Lines are cut from the bytes, since a load and a save would lose comments and the case of keys. MIT licence.
#include "dictionarytext.h"

#include <vector>

#include "speech/ttstransformer.h"

namespace dictionary
{
namespace
{

const char kMark[] = "\xEF\xBB\xBF";

// Offsets into the bytes; the comma is npos in a line that is no entry.
struct Line {
    size_t start;
    size_t comma;
    size_t contentEnd;
    size_t end; // behind the line end
};

bool StartsWith(const std::string& bytes, const std::string& head)
{
    return bytes.compare(0, head.size(), head) == 0;
}

wxString Decode(const std::string& bytes)
{
    return wxString::FromUTF8(bytes.data(), bytes.size());
}

std::string Encode(const wxString& text)
{
    return std::string(text.utf8_str());
}

std::vector<Line> SplitLines(const std::string& bytes)
{
    std::vector<Line> lines;
    for (size_t at = StartsWith(bytes, kMark) ? 3 : 0; at < bytes.size(); at = lines.back().end) {
        Line line{at, std::string::npos, bytes.find_first_of("\r\n", at), bytes.size()};
        if (line.contentEnd == std::string::npos)
            line.contentEnd = bytes.size();
        else
            line.end = line.contentEnd + (bytes.compare(line.contentEnd, 2, "\r\n") == 0 ? 2 : 1);
        const size_t comma = bytes.find(',', at);
        if (comma > at && comma < line.contentEnd && comma + 1 < line.contentEnd)
            line.comma = comma;
        lines.push_back(line);
    }
    return lines;
}

bool IsEntryOf(const std::string& bytes, const Line& line, const wxString& key)
{
    return line.comma != std::string::npos &&
           LowerKey(Decode(bytes.substr(line.start, line.comma - line.start))) == key;
}

std::string Append(const std::string& bytes, const std::vector<Line>& lines, const std::string& entry)
{
    std::string lineEnd = "\n";
    bool lastIsOpen = false;
    if (!lines.empty()) {
        lastIsOpen = lines.back().contentEnd == lines.back().end;
        const size_t before = lines.size() - (lastIsOpen && lines.size() > 1 ? 2 : 1);
        if (lines[before].contentEnd < lines[before].end)
            lineEnd = bytes.substr(lines[before].contentEnd, lines[before].end - lines[before].contentEnd);
    }
    return bytes + (lastIsOpen ? lineEnd : "") + entry + lineEnd;
}

wxString RefusalOfBreaks(const wxString& text, const char* what)
{
    if (text.find_first_of("\r\n") == wxString::npos)
        return wxString();
    return wxString(what) + " holds a line end";
}

} // namespace

wxString LowerKey(const wxString& word)
{
    wxTTSTransformer transformer;
    transformer.AddString(word, wxString());
    return transformer.GetStrings()[0];
}

bool CanMatch(const wxString& key, wxUniChar& culprit)
{
    // The library itself tells: what it takes for a word in a text, it replaces.
    for (const wxUniChar ch : key) {
        const wxString text(ch);
        wxTTSTransformer transformer;
        transformer.AddString(text, "+");
        wxString output;
        if (!transformer.TransformString(text, output, 0)) {
            culprit = ch;
            return false;
        }
    }
    return true;
}

wxString RefusalOfWord(const wxString& word)
{
    if (word.empty())
        return "the word is empty";
    if (word.find(',') != wxString::npos)
        return "the word holds a comma, which would end it";
    const wxString breaks = RefusalOfBreaks(word, "the word");
    wxUniChar culprit;
    if (!breaks.empty() || CanMatch(word, culprit))
        return breaks;
    return wxString::Format("it could never match: a word is letters and digits only, U+%04X is neither",
                            static_cast<unsigned>(culprit.GetValue()));
}

wxString RefusalOfReplacement(const wxString& replacement)
{
    return replacement.empty() ? wxString("the replacement is empty") : RefusalOfBreaks(replacement, "the replacement");
}

wxString RefusalToEdit(const std::string& bytes)
{
    if (StartsWith(bytes, "\xFF\xFE") || StartsWith(bytes, "\xFE\xFF") ||
        StartsWith(bytes, std::string("\0\0\xFE\xFF", 4)))
        return "UTF-16 or UTF-32; only UTF-8 files are changed";
    if (bytes.find('\0') != std::string::npos)
        return "binary data, not text";
    if (!bytes.empty() && Decode(bytes).empty())
        return "not UTF-8; only UTF-8 files are changed";
    return wxString();
}

std::string WithEntry(const std::string& bytes, const wxString& word, const wxString& replacement)
{
    const wxString key = LowerKey(word);
    const std::vector<Line> lines = SplitLines(bytes);
    for (auto line = lines.rbegin(); line != lines.rend(); ++line)
        if (IsEntryOf(bytes, *line, key))
            return bytes.substr(0, line->comma + 1) + Encode(replacement) + bytes.substr(line->contentEnd);
    return Append(bytes, lines, Encode(word + "," + replacement));
}

std::string WithoutEntry(const std::string& bytes, const wxString& word)
{
    const wxString key = LowerKey(word);
    std::string result;
    size_t kept = 0;
    for (const Line& line : SplitLines(bytes)) {
        if (!IsEntryOf(bytes, line, key))
            continue;
        result.append(bytes, kept, line.start - kept);
        kept = line.end;
    }
    return result.append(bytes, kept);
}

} // namespace dictionary

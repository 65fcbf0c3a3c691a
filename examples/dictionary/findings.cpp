// A finding for each line that does not do what it seems to. MIT licence.
#include "findings.h"

#include <string>
#include <unordered_map>

#include "dictionarytext.h"

namespace dictionary
{
namespace
{

wxString WhyPassedOver(const wxString& line)
{
    if (line.empty())
        return "the line is empty";
    if (line.find(',') == wxString::npos)
        return "no comma";
    if (line.StartsWith(","))
        return "no key before the comma";
    return line.find(',') + 1 == line.length() ? "no replacement behind the comma" : "";
}

wxString Describe(const wxUniChar& ch)
{
    const wxString code = wxString::Format("U+%04X", static_cast<unsigned>(ch.GetValue()));
    const bool shows = ch.GetValue() > ' ' && ch.GetValue() != 0x7F && ch.GetValue() < 0x80;
    return shows ? "\"" + wxString(ch) + "\" (" + code + ")" : code;
}

wxString Quote(const wxString& key)
{
    wxString shown;
    for (const wxUniChar ch : key)
        shown += ch.GetValue() < ' ' || ch.GetValue() == 0x7F ? wxUniChar(0xFFFD) : ch;
    return "\"" + shown + "\"";
}

} // namespace

std::vector<Finding> CheckLines(const wxArrayString& lines)
{
    std::vector<wxString> keys(lines.size()); // empty in lines that are no entry
    std::unordered_map<std::wstring, size_t> winners;
    for (size_t i = 0; i < lines.size(); ++i) {
        if (!WhyPassedOver(lines[i]).empty())
            continue;
        keys[i] = LowerKey(lines[i].BeforeFirst(','));
        winners[keys[i].ToStdWstring()] = i;
    }
    std::vector<Finding> findings;
    for (size_t i = 0; i < lines.size(); ++i) {
        if (keys[i].empty()) {
            findings.push_back({i + 1, "passed over: " + WhyPassedOver(lines[i])});
            continue;
        }
        wxUniChar culprit;
        if (!CanMatch(keys[i], culprit))
            findings.push_back(
                {i + 1, Quote(keys[i]) + " can never match: " + Describe(culprit) + " is no letter or digit"});
        const size_t winner = winners[keys[i].ToStdWstring()];
        if (winner != i)
            findings.push_back({i + 1, Quote(keys[i]) + wxString::Format(" is overridden by line %zu", winner + 1)});
    }
    return findings;
}

} // namespace dictionary

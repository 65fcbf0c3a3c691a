// Changes go through the text; a load before and one after tell whether they did what they were to do. MIT licence.
#include "dictionaryfile.h"

#include <string>
#include <wx/textfile.h>

#include "../common/exitstatus.h"
#include "dictionarytext.h"
#include "replacefile.h"

namespace dictionary
{
namespace
{

// A mark alone is an empty file.
constexpr size_t kLongestMark = 4;

bool HasEntry(wxTTSTransformer& transformer, const wxString& key)
{
    return transformer.GetStrings().Index(key, true, false) != wxNOT_FOUND;
}

void SetEntry(wxTTSTransformer& transformer, const wxString& word, const wxString& replacement)
{
    const int position = transformer.GetStrings().Index(LowerKey(word), true, true); // the last one
    if (position == wxNOT_FOUND)
        transformer.AddString(word, replacement);
    else
        transformer.GetReplacements()[static_cast<size_t>(position)] = replacement;
}

bool SameEntries(wxTTSTransformer& left, wxTTSTransformer& right)
{
    return left.GetStrings() == right.GetStrings() && left.GetReplacements() == right.GetReplacements();
}

void Replace(const wxString& file, const std::string& bytes, wxTTSTransformer& expected)
{
    FileReplacement replacement(file, bytes);
    wxTTSTransformer loaded;
    if (!loaded.LoadFile(replacement.NewFile()) || !SameEntries(loaded, expected))
        FailOn(file, "its lines are such that this change would change other entries, too; nothing was changed");
    replacement.Commit();
}

std::string ReadForEdit(const wxString& file, bool mayBeMissing)
{
    std::string bytes = ReadBytes(file, mayBeMissing);
    const wxString refusal = RefusalToEdit(bytes);
    if (!refusal.empty())
        FailOn(file, refusal);
    return bytes;
}

} // namespace

wxArrayString ReadLines(const wxString& file)
{
    const size_t size = ReadBytes(file, false).size();
    wxTextFile text;
    if (!text.Open(file) || (text.GetLineCount() == 0 && size > kLongestMark))
        FailOn(file, "cannot be read as text");
    wxArrayString lines;
    lines.Alloc(text.GetLineCount());
    for (size_t i = 0; i < text.GetLineCount(); ++i)
        lines.Add(text[i]);
    return lines;
}

void Load(const wxString& file, wxTTSTransformer& transformer)
{
    ReadLines(file); // for the reason, which a load does not tell
    if (!transformer.LoadFile(file))
        FailOn(file, "cannot be read");
}

void AddEntry(const wxString& file, const wxString& word, const wxString& replacement)
{
    const std::string bytes = ReadForEdit(file, true);
    const std::string changed = WithEntry(bytes, word, replacement);
    if (changed == bytes)
        return;
    wxTTSTransformer expected;
    if (!bytes.empty())
        Load(file, expected);
    SetEntry(expected, word, replacement);
    Replace(file, changed, expected);
}

bool RemoveEntry(const wxString& file, const wxString& word)
{
    const std::string bytes = ReadForEdit(file, false);
    wxTTSTransformer expected;
    Load(file, expected);
    const wxString key = LowerKey(word);
    if (!HasEntry(expected, key))
        return false;
    while (HasEntry(expected, key))
        expected.RemoveString(word);
    Replace(file, WithoutEntry(bytes, word), expected);
    return true;
}

} // namespace dictionary

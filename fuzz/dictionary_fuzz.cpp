// Any bytes as a substitution file: loading keeps its rules, look-ups agree, and what is saved loads alike. MIT
// licence.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <wx/log.h>

#include "speech/ttstransformer.h"

namespace
{

void Require(bool holds)
{
    if (!holds)
        std::abort();
}

wxString MakePath(const char* name)
{
    return wxString::Format("/tmp/qx-dictionary-fuzz-%d-%s", static_cast<int>(getpid()), name);
}

void Put(const wxString& path, const uint8_t* data, size_t size)
{
    std::FILE* const file = std::fopen(path.utf8_str(), "wb");
    Require(file != nullptr);
    std::fwrite(data, 1, size, file);
    std::fclose(file);
}

// Once indexed the last of equal keys answers, before that the first.
void CheckAnswers(wxTTSTransformer& words)
{
    const wxArrayString& keys = words.GetStrings();
    Require(keys.size() == words.GetReplacements().size());
    for (const bool dirty : {false, true}) {
        words.SetDirty(dirty);
        for (size_t i = 0; i < keys.size(); ++i) {
            const int position = keys.Index(keys[i], true, !dirty);
            Require(words.HasString(keys[i]));
            Require(words.GetString(keys[i]) == words.GetReplacements()[static_cast<size_t>(position)]);
        }
    }
    words.SetDirty(false);
}

// A text of the keys gives the same from the index, by search and from the table of one call, but for duplicates.
void CheckSubstitution(wxTTSTransformer& words, bool unique)
{
    wxString text;
    for (const wxString& key : words.GetStrings())
        text += key + " " + key + "\n";
    wxString indexed;
    wxString searched;
    const bool replaced = words.TransformString(text, indexed, 1);
    words.SetDirty(true);
    Require(words.TransformString(text, searched, 1) == replaced);
    words.SetDirty(false);
    Require(!unique || indexed == searched);
    Require(replaced || indexed == text);
}

// Not so: a first key that begins with a byte order mark, which a load takes for the file's; and what a file of 32-bit
// units may hold that is no character.
bool IsSavedWhole(wxTTSTransformer& words)
{
    if (!words.GetStrings().empty() && words.GetStrings()[0][0] == L'\uFEFF')
        return false;
    for (const wxArrayString* list : {&words.GetStrings(), &words.GetReplacements()}) {
        for (const wxString& text : *list) {
            for (const wxUniChar character : text) {
                const wxUint32 value = character.GetValue();
                if (value > 0x10FFFF || (value >= 0xD800 && value < 0xE000))
                    return false;
            }
        }
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const wxLogNull noLog;
    static const wxString input = MakePath("in");
    static const wxString saved = MakePath("saved");
    Put(input, data, size);
    wxTTSTransformer words;
    if (!words.LoadFile(input)) { // not in the encoding of its byte order mark
        Require(words.GetStrings().empty() && words.GetReplacements().empty());
        return 0;
    }
    Require(!words.GetDirty() && words.GetModified());
    CheckAnswers(words);
    bool unique = true;
    for (size_t i = 0; i < words.GetStrings().size(); ++i) {
        Require(!words.GetStrings()[i].empty() && !words.GetReplacements()[i].empty());
        Require(words.GetStrings()[i].find(',') == wxString::npos);
        unique = unique && words.GetStrings().Index(words.GetStrings()[i], true, true) == static_cast<int>(i);
    }
    CheckSubstitution(words, unique);
    Require(words.SaveFile(saved) && !words.GetModified());
    wxTTSTransformer again;
    const bool loadedAgain = again.LoadFile(saved);
    if (!IsSavedWhole(words))
        return 0;
    Require(loadedAgain);
    Require(again.GetStrings() == words.GetStrings() && again.GetReplacements() == words.GetReplacements());
    return 0;
}

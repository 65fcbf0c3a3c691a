// Answers the words of one text from a substitution dictionary, indexed or not. MIT licence.
#pragma once

#include "speech/ttstransformer.h"

namespace qxspeech
{

// The replacements of a dictionary's keys for the length of one text or file. It lives on the stack of that call, on
// its thread; the dictionary must not change meanwhile. An indexed dictionary answers from its index. One that is not
// answers with the first of equal keys: the first few words are searched for, then a table of its own is made, so that
// a long text does not pay for every key at every word and a short one does not pay for the table.
class SubstitutionLookup
{
public:
    // index: null for a dictionary that is dirty. Nothing is owned.
    SubstitutionLookup(const wxArrayString& strings, const wxArrayString& replacements, const SubstitutionIndex* index)
        : m_strings(strings), m_replacements(replacements), m_index(index)
    {
    }
    SubstitutionLookup(const SubstitutionLookup&) = delete;
    SubstitutionLookup& operator=(const SubstitutionLookup&) = delete;

    // The replacement of a key in lower case, owned by the dictionary; null without one.
    const wxString* Find(const std::wstring& key);

private:
    const wxString* FindInOrder(const std::wstring& key);
    void MakeTable();

    const wxArrayString& m_strings;
    const wxArrayString& m_replacements;
    const SubstitutionIndex* m_index;
    SubstitutionIndex m_table; // first key wins
    int m_searchesLeft = 16;
};

// The replacement that an index names, null if there is none.
const wxString* FindInIndex(const SubstitutionIndex& index, const wxArrayString& replacements, const wchar_t* key,
                            size_t length);

} // namespace qxspeech

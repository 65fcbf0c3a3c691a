// The substitution dictionary: its entries, its index and its file. MIT licence.
#include <algorithm>
#include <iterator>
#include <string>

#include <wx/convauto.h>

#include "common/letters.h"
#include "common/logging.h"
#include "speech/ttsfilework.h"
#include "speech/ttssubstitution.h"
#include "speech/ttstextfile.h"

using namespace qxspeech;

namespace qxspeech
{

const wxString* FindInIndex(const SubstitutionIndex& index, const wxArrayString& replacements, const wchar_t* key,
                            size_t length)
{
    const size_t position = index.Find(key, length);
    // Entries may have gone through the arrays themselves, with nobody having told.
    return position < replacements.size() ? &replacements[position] : nullptr;
}

const wxString* SubstitutionLookup::Find(const std::wstring& key)
{
    if (m_index)
        return FindInIndex(*m_index, m_replacements, key.data(), key.size());
    if (m_searchesLeft > 0)
        return FindInOrder(key);
    return FindInIndex(m_table, m_replacements, key.data(), key.size());
}

const wxString* SubstitutionLookup::FindInOrder(const std::wstring& key)
{
    if (--m_searchesLeft == 0)
        MakeTable();
    const int position = m_strings.Index(wxString(key), true, false);
    return position == wxNOT_FOUND ? nullptr : &m_replacements[static_cast<size_t>(position)];
}

void SubstitutionLookup::MakeTable()
{
    m_table.Reserve(m_strings.size());
    for (size_t i = 0; i < m_strings.size(); ++i)
        m_table.Add(m_strings[i], i, false);
}

} // namespace qxspeech

namespace
{

// An empty text in one of the encodings that wxConvAuto knows, but does not convert without a character.
bool IsMarkAlone(const std::string& bytes)
{
    static const std::string kMarks[] = {
        "\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF", {"\xFF\xFE\0\0", 4}, {"\0\0\xFE\xFF", 4}};
    return std::find(std::begin(kMarks), std::end(kMarks), bytes) != std::end(kMarks);
}

bool ReadEntries(const wxString& filename, wxString& text)
{
    const wxLogNull noLog;
    std::string bytes;
    return qxReadBytes(filename, bytes) && (IsMarkAlone(bytes) || qxDecodeLines(bytes, wxConvAuto(), text));
}

} // namespace

wxTTSTransformer::wxTTSTransformer() = default;
wxTTSTransformer::~wxTTSTransformer() = default;

wxTTSTransformer::wxTTSTransformer(const wxTTSTransformer& other)
    : m_strings(other.m_strings), m_replacements(other.m_replacements), m_index(other.m_index), m_dirty(other.m_dirty),
      m_modified(other.m_modified), m_usageDescription(other.m_usageDescription)
{
}

wxTTSTransformer& wxTTSTransformer::operator=(const wxTTSTransformer& other)
{
    if (this == &other)
        return *this;
    m_strings = other.m_strings;
    m_replacements = other.m_replacements;
    m_index = other.m_index;
    m_dirty = other.m_dirty;
    m_modified = other.m_modified;
    m_usageDescription = other.m_usageDescription;
    m_lookup = nullptr;
    return *this;
}

void wxTTSTransformer::MarkChanged()
{
    m_dirty = true;
    m_modified = true;
    m_lookup = nullptr;
}

void wxTTSTransformer::SetDirty(bool dirty)
{
    m_dirty = dirty;
    m_lookup = nullptr;
}

void wxTTSTransformer::Clear()
{
    m_strings.Clear();
    m_replacements.Clear();
    m_index.Clear();
    MarkChanged();
}

void wxTTSTransformer::Index()
{
    if (!m_dirty)
        return;
    m_index.Clear();
    m_index.Reserve(m_strings.size());
    for (size_t i = 0; i < m_strings.size(); ++i)
        m_index.Add(m_strings[i], i, true);
    m_dirty = false;
}

void wxTTSTransformer::AddString(const wxString& string, const wxString& replacement)
{
    m_strings.Add(qxLower(string));
    m_replacements.Add(replacement);
    MarkChanged();
}

void wxTTSTransformer::InsertString(const wxString& string, const wxString& replacement, int position)
{
    m_strings.Insert(qxLower(string), static_cast<size_t>(position));
    m_replacements.Insert(replacement, static_cast<size_t>(position));
    MarkChanged();
}

void wxTTSTransformer::RemoveString(const wxString& string)
{
    const int position = m_strings.Index(qxLower(string), true, false);
    if (position != wxNOT_FOUND)
        RemoveString(static_cast<size_t>(position));
}

void wxTTSTransformer::RemoveString(size_t position)
{
    m_strings.RemoveAt(position);
    m_replacements.RemoveAt(position);
    MarkChanged();
}

const wxString* wxTTSTransformer::FindReplacement(const wxString& key) const
{
    if (!m_dirty)
        return FindInIndex(m_index, m_replacements, key.wc_str(), key.length());
    const int position = m_strings.Index(key, true, false);
    return position == wxNOT_FOUND ? nullptr : &m_replacements[static_cast<size_t>(position)];
}

wxString wxTTSTransformer::GetString(const wxString& string)
{
    const wxString* const replacement = FindReplacement(qxLower(string));
    return replacement ? *replacement : wxString();
}

bool wxTTSTransformer::HasString(const wxString& string)
{
    return FindReplacement(qxLower(string)) != nullptr;
}

bool wxTTSTransformer::LoadFile(const wxString& filename)
{
    Clear();
    wxString text;
    if (!ReadEntries(filename, text))
        return false;
    for (size_t start = 0, end = 0; start < text.length(); start = end + 1) {
        end = std::min(text.find(L'\n', start), text.length());
        const wxString line = text.substr(start, end - start);
        const size_t comma = line.find(L',');
        if (comma == 0 || comma == wxString::npos || comma + 1 == line.length())
            continue;
        AddString(line.substr(0, comma), line.substr(comma + 1));
    }
    Index();
    m_modified = true;
    return true;
}

bool wxTTSTransformer::SaveFile(const wxString& filename)
{
    std::string bytes;
    for (size_t i = 0; i < m_strings.size(); ++i)
        AppendLine(bytes, m_strings[i] + L',' + m_replacements[i]);
    if (!WriteTextFile(filename, bytes)) {
        QX_LOG("Could not write file: %s", filename);
        return false;
    }
    m_modified = false;
    return true;
}

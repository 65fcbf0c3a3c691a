// Prepares texts for an engine: pronunciation substitutions, plain punctuation, HTML to speech. MIT licence.
#ifndef QXSPEECH_SPEECH_TTSTRANSFORMER_H
#define QXSPEECH_SPEECH_TTSTRANSFORMER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>
#include <wx/arrstr.h>
#include <wx/string.h>

#include "../common/export.h"
#include "ttstransformoptions.h"

class WXDLLIMPEXP_FWD_BASE wxOutputStream;
class WXDLLIMPEXP_FWD_BASE wxTextOutputStream;

namespace qxspeech
{

class SubstitutionLookup;

// From the keys of a dictionary to positions. Keys lie in one block of text, so that a look-up touches little memory
// and needs no string of its own. Belongs to its transformer.
class SubstitutionIndex
{
public:
    static constexpr size_t kNone = static_cast<size_t>(-1);

    void Clear();
    void Reserve(size_t keys);
    // An equal key that is there already gets the new position only with `replace`.
    void Add(const wxString& key, size_t position, bool replace);
    // kNone for an absent key.
    size_t Find(const wchar_t* key, size_t length) const;

private:
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t length = 0; // characters of the key
        size_t start = 0;         // in m_text
        size_t position = kNone;  // kNone in a free slot
    };

    size_t FindSlot(const wchar_t* key, size_t length, std::uint32_t hash) const;
    void Resize(size_t slots);

    std::vector<Slot> m_slots; // a power of two, at least twice the keys
    std::wstring m_text;
    size_t m_count = 0;
};

} // namespace qxspeech

// A list of pronunciation substitutions and the pipeline that applies them. Made and owned by the host, which hands it
// to the front object with wxTextToSpeech::SetTransformer and keeps it alive as long as it is set there. No lock: it is
// used on the thread that speaks, and must not be changed while a text is prepared. An empty one replaces nothing.
//
// A word is a run of letters and digits of any script; keys compare by their lower-case form, whatever the host's
// locale is. A key with any other character in it can be stored and looked up, but never matches in a text.
class QXSPEECH_API wxTTSTransformer
{
public:
    wxTTSTransformer();
    // A copy stands alone: it answers from its own texts whatever becomes of the original.
    wxTTSTransformer(const wxTTSTransformer& other);
    wxTTSTransformer& operator=(const wxTTSTransformer& other);
    virtual ~wxTTSTransformer();

    // Removes all entries; "dirty" and "modified" are set.
    virtual void Clear();
    // Builds the fast lookup if the dictionary is dirty, and makes it clean. The last one of equal keys wins from then
    // on, whereas a dirty dictionary answers with the first. Lookups never do this by themselves.
    virtual void Index();

    // Replaces the words of a text; the output is the same text if there is nothing to replace. True if at
    // least one word was replaced. What has been put in is not looked at again. The options are not read.
    virtual bool TransformString(const wxString& input, wxString& output, int options);
    // Prepares a text file (encoding by byte-order mark, else UTF-8, else the fallback 8-bit encoding). The options are
    // wxTTSTransformOption bits. The output is UTF-8 without byte-order mark and with the platform's line ends, or a
    // plain copy if nothing is changed and nothing is to be converted. False if the input cannot be opened, or if the
    // conversion of an otherwise unchanged file fails. A rewritten file whose conversion fails stays as it is, not
    // converted, and so does one whose conversion cannot be stored: that is true. So is an output that cannot be
    // written. Input and output may be the same file; an input that is a pipe is read once, to its end.
    virtual bool TransformFile(const wxString& inputFile, const wxString& outputFile, int options);

    // One line per entry: key, comma, replacement. UTF-8 without byte-order mark, the platform's line ends. False, with
    // a log line and "modified" as it was, if the file cannot be opened or not be written whole (a full disk), so that
    // the host can save elsewhere; otherwise "modified" is cleared.
    virtual bool SaveFile(const wxString& filename);
    // Replaces all entries by those of a file and indexes them; "modified" is set. Lines without a key, a comma or a
    // replacement are passed over; blanks belong to key and replacement, and so do further commas to the replacement.
    // False, with an empty dictionary, if the file cannot be read or is not in the encoding that its byte-order mark
    // names.
    virtual bool LoadFile(const wxString& filename);

    // The conversions write to textStream alone, in its encoding and with its line ends; the stream is the one below
    // it. source is the document itself if isString, else the name of its file. ConvertFormat picks one of the two
    // others.
    virtual bool ConvertFormat(const wxString& source, wxOutputStream& stream, wxTextOutputStream& textStream,
                               int options, bool isString);
    // HTML to speakable text, in an envelope of SAPI XML or SSML if the options say so. Files are read as UTF-8. False
    // if the file cannot be read; the head of the envelope has been written by then.
    virtual bool ConvertHTMLToText(const wxString& source, wxOutputStream& stream, wxTextOutputStream& textStream,
                                   int options, bool isString);
    // Text, unchanged and unescaped, in its envelope. True in every case: an unreadable file is an empty text.
    virtual bool ConvertTextToXML(const wxString& source, wxOutputStream& stream, wxTextOutputStream& textStream,
                                  int options, bool isString);

    // Keys are stored in lower case, replacements as they stand. An equal key that is there already stays.
    void AddString(const wxString& string, const wxString& replacement);
    // position: 0 to the count of entries.
    void InsertString(const wxString& string, const wxString& replacement, int position);
    // Removes the first entry of that key; without one, nothing changes.
    void RemoveString(const wxString& string);
    // position: 0 to the count of entries less 1.
    void RemoveString(size_t position);
    // The replacement, or "" for an absent key.
    wxString GetString(const wxString& string);
    bool HasString(const wxString& string);
    bool HasStrings() const { return !m_strings.empty(); }

    // The arrays themselves, of equal length at all times. Who changes them keeps keys in lower case and calls
    // SetDirty.
    wxArrayString& GetStrings() { return m_strings; }
    wxArrayString& GetReplacements() { return m_replacements; }

    // Whether entries have changed since Index.
    bool GetDirty() const { return m_dirty; }
    void SetDirty(bool dirty);
    // Whether entries have changed, or have been loaded, since they were saved.
    bool GetModified() const { return m_modified; }
    void SetModified(bool modified) { m_modified = modified; }
    // For the host's own use; it never reaches a file.
    wxString GetUsageDescription() { return m_usageDescription; }
    void SetUsageDescription(const wxString& description) { m_usageDescription = description; }

    // Replaces every occurrence of a character; whether there was one.
    static bool ReplaceChar(wxString& str, const wchar_t& from, const wchar_t& to);

protected:
    wxArrayString m_strings;
    wxArrayString m_replacements;
    qxspeech::SubstitutionIndex m_index; // exactly the keys of m_strings while not dirty
    bool m_dirty = true;
    bool m_modified = false;
    wxString m_usageDescription;

private:
    void MarkChanged();
    // The replacement of a key in lower case, or null.
    const wxString* FindReplacement(const wxString& key) const;
    // Applies substitutions and filters to the lines of a text; if one changed, `bytes` is the whole new file and the
    // result true.
    bool TransformLines(const wxString& text, int options, std::string& bytes);
    bool CopyOrConvert(const wxString& inputFile, const wxString& outputFile, int options);
    // The same with the bytes of a pipe.
    bool StorePiped(const std::string& source, const wxString& outputFile, int options);
    void ConvertRewritten(const wxString& outputFile, int options);

    qxspeech::SubstitutionLookup* m_lookup = nullptr; // lent by TransformFile to its TransformString calls; not owned
};

#endif

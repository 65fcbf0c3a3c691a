// Speech that may be longer than one WAV file of the engine's holds: 4 GiB, 37 hours. MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_LONGSPEECH_H
#define QXSPEECH_EXAMPLES_SAY_LONGSPEECH_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>
#include <wx/string.h>

namespace say
{

// Characters above which a text is spoken piece by piece into a file. No voice takes half a second for each of them.
constexpr size_t kLongText = 250000;
// Of a piece, at most: an hour at most times, and far below the limit even if each is a sign with a long name.
constexpr size_t kPieceCharacters = 32768;
constexpr uint64_t kMaxRiffBytes = 0xFFFFFFFFU;

// The text in pieces of at most that many characters, at least 1; joined, they are the text. Each ends behind a
// paragraph, else a line, a sentence, a word, whatever comes last in its second half, else anywhere.
std::vector<wxString> PiecesOf(const wxString& text, size_t most);

// One WAV file of the sound of several. Its sizes are right behind each Append, as WAV up to the limit, beyond as RF64
// (EBU Tech 3306); a chunk that readers pass over keeps the room for the larger sizes.
class JoinedWav
{
public:
    // Empties the file, which exists. The name is the one that messages tell. Throws Failure (kExitFile).
    JoinedWav(const std::string& path, const wxString& name, uint64_t mostRiffBytes = kMaxRiffBytes);
    ~JoinedWav();
    JoinedWav(const JoinedWav&) = delete;
    JoinedWav& operator=(const JoinedWav&) = delete;

    // The sound of a PCM WAV file, of the same format each time. Throws Failure (kExitFile) if it has none, too.
    void Append(const std::string& piece);

private:
    void CopySamples(int piece);
    std::string Header() const;
    void Write(const char* bytes, size_t size, uint64_t offset) const;
    [[noreturn]] void Fail(int error) const;

    const wxString m_name;
    const uint64_t m_mostRiffBytes;
    int m_file;
    std::string m_format; // the 16 bytes of the first piece's
    uint64_t m_bytes = 0; // of samples
};

} // namespace say

#endif

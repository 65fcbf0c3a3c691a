// Gathers text as UTF-16, little-endian, and hands it to a stream in large pieces. MIT licence.
#ifndef QXSPEECH_SPEECH_TTSUTF16SINK_H
#define QXSPEECH_SPEECH_TTSUTF16SINK_H

#include <vector>
#include <wx/stream.h>
#include <wx/string.h>

// Made on the stack for one write; the stream outlives it and has everything once it is gone. There is no byte-order
// mark. Where wchar_t is wider than 16 bits, characters beyond U+FFFF become surrogate pairs and numbers that are no
// character U+FFFD.
class Utf16Sink
{
public:
    explicit Utf16Sink(wxOutputStream& stream) : m_stream(stream) {}
    Utf16Sink(const Utf16Sink&) = delete;
    Utf16Sink& operator=(const Utf16Sink&) = delete;
    ~Utf16Sink() { Flush(); }

    void Put(const wxString& text);
    void Put(const char* ascii);

private:
    void PutCharacter(unsigned long character);
    void PutUnit(unsigned long unit);
    void Flush();

    wxOutputStream& m_stream;
    std::vector<unsigned char> m_bytes;
};

#endif

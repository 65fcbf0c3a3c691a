// Any document through each conversion: it ends well, keeps its envelope, and its output is UTF-8. MIT licence.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include <wx/log.h>
#include <wx/mstream.h>
#include <wx/txtstrm.h>

#include "speech/ttstransformer.h"

namespace
{

// The program stops here, so that the fuzzer keeps the input.
void Require(bool holds)
{
    if (!holds)
        std::abort();
}

std::string Convert(const wxString& source, int options)
{
    wxMemoryOutputStream stream;
    {
        wxTextOutputStream text(stream, wxEOL_UNIX, wxConvAuto());
        wxTTSTransformer transformer;
        Require(transformer.ConvertFormat(source, stream, text, options, true));
    }
    std::string bytes(static_cast<size_t>(stream.GetLength()), '\0');
    stream.CopyTo(bytes.data(), bytes.size());
    return bytes;
}

bool EndsWith(const std::string& text, const char* end)
{
    const size_t length = std::strlen(end);
    return text.size() >= length && text.compare(text.size() - length, length, end) == 0;
}

bool IsUtf8(const std::string& text)
{
    return text.empty() || !wxString::FromUTF8(text.data(), text.size()).empty();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const wxLogNull noLog;
    const char* const bytes = reinterpret_cast<const char*>(data);
    wxString source = wxString::FromUTF8(bytes, size);
    if (source.empty())
        source = wxString(bytes, wxConvISO8859_1, size);
    for (const int extras : {0, wxTTS_TRANSFORM_SPEAK_HEADINGS | wxTTS_TRANSFORM_SPEAK_LIST_NUMBERS}) {
        const std::string text = Convert(source, extras | wxTTS_TRANSFORM_HTML_TO_TEXT);
        const std::string sapi = Convert(source, extras | wxTTS_TRANSFORM_HTML_TO_SAPI);
        const std::string ssml = Convert(source, extras | wxTTS_TRANSFORM_HTML_TO_SSML);
        Require(IsUtf8(text) && IsUtf8(sapi) && IsUtf8(ssml));
        Require(EndsWith(sapi, "\n</sapi>\n") && EndsWith(ssml, "\n</speak>\n"));
        // The two envelopes hold the same.
        const size_t sapiHead = sapi.find("<sapi>\n") + 7;
        const size_t ssmlHead = ssml.find(" version=\"1.0\">\n") + 16;
        Require(sapi.substr(sapiHead, sapi.size() - sapiHead - 9) ==
                ssml.substr(ssmlHead, ssml.size() - ssmlHead - 10));
    }
    Require(Convert(source, 0) == source.utf8_string());
    Require(EndsWith(Convert(source, wxTTS_TRANSFORM_TEXT_TO_SAPI), "\n</sapi>\n"));
    Require(EndsWith(Convert(source, wxTTS_TRANSFORM_TEXT_TO_SSML), "\n</speak>\n"));
    return 0;
}

// What the engine gets for the user's text: dictionary, punctuation, HTML. MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_PREPARATION_H
#define QXSPEECH_EXAMPLES_SAY_PREPARATION_H

#include <wx/string.h>

#include "options.h"
#include "speech/tts.h"

namespace say
{

// One call of the engine.
struct Spoken {
    wxString input; // the text, or the name of a temporary file with it
    bool isFile = false;
    InputForm form = InputForm::kText;
    bool isPrepared = false; // the engine is to transform it no more
};

// Owns the transformer, so that it outlives the speech instance. A TemporaryFiles must exist.
//
//   input                    spoken as
//   text, SSML, native       string; the engine's transformer applies the dictionary
//   text, SSML, simplified   string, transformed here: the engine simplifies only files
//   HTML                     file of SAPI XML, converted here: the engine announces no headings, and takes the names of
//                            tags for words of the dictionary
//   long HTML, to a file     string of plain text, prepared here: it can be cut into pieces
//
// Engines on the network prepare nothing themselves:
//
//   text, HTML               string of plain text, prepared here
//   SSML, native             string, unchanged: SSML is their own markup
class Preparation
{
public:
    // Reads the dictionary. Throws Failure (kExitFile) if it cannot be read. The options outlive this object.
    explicit Preparation(const Options& options);
    Preparation(const Preparation&) = delete;
    Preparation& operator=(const Preparation&) = delete;

    wxTTSTransformer& Transformer() { return m_transformer; }

    // All throw Failure: kExitFile without room for a temporary file, kExitInterrupted if the program is to end,
    // kExitUsage if nothing is left to say.
    Spoken ForSpeech(const wxString& text);
    Spoken ForWebEngine(const wxString& text);
    // The same words for a reader: HTML becomes plain text, other forms stay as they are.
    wxString ForReading(const wxString& text);

private:
    void LoadDictionary();
    bool HasUsableEntry();
    InputForm FormOf(const wxString& text) const;
    bool SimplifiesHere(InputForm form) const;
    wxString HtmlToSapi(const wxString& html);
    wxString SimplifiedText(const wxString& text);
    // The name of the transformed file; punctuation is simplified if that was asked for.
    wxString Transform(const wxString& text, int options);

    const Options& m_options;
    wxTTSTransformer m_transformer;
};

} // namespace say

#endif

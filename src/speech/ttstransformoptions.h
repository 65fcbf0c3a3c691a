// The bits of a transformation's options word. MIT licence.
#ifndef QXSPEECH_SPEECH_TTSTRANSFORMOPTIONS_H
#define QXSPEECH_SPEECH_TTSTRANSFORMOPTIONS_H

enum wxTTSTransformOption {
    wxTTS_TRANSFORM_SUBSTITUTE = 0x1,           // apply the dictionary to each line of a file
    wxTTS_TRANSFORM_STRIP_TITLE = 0x2,          // blank lines that hold a title tag
    wxTTS_TRANSFORM_SIMPLIFY_PUNCTUATION = 0x4, // typographic punctuation becomes plain characters
    wxTTS_TRANSFORM_STRIP_XML_HEAD = 0x8,       // blank lines that hold an XML or document type declaration
    wxTTS_TRANSFORM_NATIVE = 0x10,              // the input has the engine's own form already
    wxTTS_TRANSFORM_HTML_TO_TEXT = 0x20,        // HTML in, plain text out
    wxTTS_TRANSFORM_HTML_TO_SAPI = 0x40,        // HTML in, SAPI XML out
    wxTTS_TRANSFORM_HTML_TO_SSML = 0x80,        // HTML in, SSML out
    wxTTS_TRANSFORM_TEXT_TO_SAPI = 0x100,       // plain text in, SAPI XML out
    wxTTS_TRANSFORM_TEXT_TO_SSML = 0x200,       // plain text in, SSML out
    wxTTS_TRANSFORM_SPEAK_HEADINGS = 0x400,     // announce headings with their level
    wxTTS_TRANSFORM_SPEAK_LIST_NUMBERS = 0x800  // speak the numbers of ordered lists
};

#endif

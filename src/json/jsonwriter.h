// Writes a JSON value as compact text. MIT licence.
#ifndef QXSPEECH_JSON_JSONWRITER_H
#define QXSPEECH_JSON_JSONWRITER_H

#include "jsonvalue.h"

// Made and deleted by the caller, usually on the stack; one thread at a time. May be used for any number of values.
class QXSPEECH_API wxJSONWriter
{
public:
    // Only style 0 is written: no blanks, no line ends. It zeroes indent and step.
    wxJSONWriter(int style, int indent, int step);

    // Replaces the text. Members of an object come in no fixed order; non-ASCII characters stand as they are. An
    // invalid value is written as null, and a string that is not Unicode as a text that says so.
    void Write(const wxJSONValue& value, wxString& text);

private:
    class Output;

    [[maybe_unused]] int m_style;
    [[maybe_unused]] int m_indent;
    [[maybe_unused]] int m_step;
    int m_level; // open containers
    [[maybe_unused]] const char* m_numberFormat;
};

#endif

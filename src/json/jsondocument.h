// Reads JSON text into a value. MIT licence.
#ifndef QXSPEECH_JSON_JSONDOCUMENT_H
#define QXSPEECH_JSON_JSONDOCUMENT_H

#include "jsonvalue.h"

// The root of a parse. Made and deleted by the caller, usually on the stack; one thread at a time. Before a parse, and
// after one in which no array or object started, it is an invalid value.
class QXSPEECH_API wxJSONDocument : public wxJSONValue
{
public:
    wxJSONDocument();
    ~wxJSONDocument() override;
    wxJSONDocument(const wxJSONDocument&) = delete;
    wxJSONDocument& operator=(const wxJSONDocument&) = delete;

    // Fills the document and returns it. The root must be an array or an object; comments and a trailing comma are
    // accepted; null is read as the string "null". Text that goes wrong leaves what was built until then: a root that
    // started well is valid with fewer members. An empty key counts as none, so that the parse ends at its value.
    wxJSONValue& Parse(const wxString& text);

private:
    class Handler;

    // Of the parse under way.
    std::vector<wxJSONValue*> m_stack; // open containers, not owned: this document and values in it
    wxString m_key;                    // pending, empty for none

protected:
    // Of the last parse.
    int m_errorCode;      // 0 for none, else the reader's number (1 empty ... 17 unspecific)
    size_t m_errorOffset; // characters from the start of the text
};

#endif

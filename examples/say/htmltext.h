// HTML as authors write it, made fit for the library's conversion, and that conversion's result as plain text.
// MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_HTMLTEXT_H
#define QXSPEECH_EXAMPLES_SAY_HTMLTEXT_H

#include <string>
#include <wx/string.h>

namespace say
{

// The encoding that the first 1024 bytes of a document name in a meta element, quoted or not, or in an XML declaration;
// empty if there is none.
std::string FindDeclaredCharset(const std::string& bytes);

// Whether there is a tag, a comment or an entity. What is called HTML and has none of them is plain text.
bool HasMarkup(const wxString& text);

// Writes a "<" that begins no tag and an "&" that begins no entity as entities: the conversion, which takes every one
// of them for markup, would pass over what follows. Leaves out script and style elements, whose text it would speak,
// begins a line at list items, table cells and the like, and keeps blanks between words in tags, all of which it would
// join.
wxString TidyHtml(const wxString& html);

// What a voice reads of the conversion's SAPI XML: without the envelope, entities decoded, no empty lines at either
// end. False if the envelope is not whole.
bool TextOfSapi(const wxString& xml, wxString& text);

} // namespace say

#endif

// HTML as authors write it, made fit for the library's conversion, and that conversion's result as plain text.
// MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_HTMLTEXT_H
#define QXSPEECH_EXAMPLES_SAY_HTMLTEXT_H

#include <functional>
#include <string>
#include <wx/string.h>

#include "values.h"

namespace say
{

// The encoding that the first 1024 bytes of a document name in a meta element, quoted or not, or in an XML declaration;
// empty if there is none.
std::string FindDeclaredCharset(const std::string& bytes);

// Whether there is a tag, a comment or an entity. What is called HTML and has none of them is plain text.
bool HasMarkup(const wxString& text);

// What a text says of its own form by how it begins: an HTML document or a block of one, SSML, SAPI XML or XML of
// another root; everything else is text.
InputForm FindInputForm(const wxString& text);

// Changes words before they are written.
using WordFilter = std::function<std::wstring(const std::wstring&)>;

// Writes a document with nothing but the elements that the library's conversion acts on: p, br, h1 to h5, ol, ul and
// li, all closed and without attributes. Blocks, items and lines of a browser's kind are thereby kept apart, and so are
// the cells of a row, by commas; what no browser shows as text is left out. Characters stand for entities, but for "&",
// "<" and ">", which are numbers.
wxString TidyHtml(const wxString& html, const WordFilter& filter = nullptr);

// What a voice reads of the conversion's SAPI XML: without the envelope, entities decoded, no empty lines at either
// end and no two in a row. False if the envelope is not whole.
bool TextOfSapi(const wxString& xml, wxString& text);

} // namespace say

#endif

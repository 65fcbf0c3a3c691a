// A small reader of SSML: whether it is well-formed, and what of it matters to a service. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_SERVICES_MARKUP_H
#define QXSPEECH_TESTS_SUPPORT_SERVICES_MARKUP_H

#include <map>
#include <string>
#include <vector>

namespace loopback
{

using Attributes = std::map<std::string, std::string>;

struct Markup {
    std::string error; // empty: well-formed
    std::string root;  // the root element's name
    Attributes rootAttributes;
    std::vector<Attributes> voices; // attributes of each <voice>, in order
    std::string text;               // of all elements, entities resolved, in UTF-8
};

// Elements, attributes, comments, CDATA, a declaration, and the five entities plus numbers; no DOCTYPE. No recursion.
Markup ReadMarkup(const std::string& text);
bool IsUtf8(const std::string& text);
std::size_t CountCharacters(const std::string& text); // of UTF-8

} // namespace loopback

#endif

// Cuts a function's description to its class-qualified name. MIT licence.
#include "common/logging.h"

std::string qxQualifiedFunctionName(const char* prettyFunction)
{
    // "virtual bool Cls::Open(const wxString&) const" or "Cls::Cls(int)" or "{anonymous}::helper(T) [with T = int]".
    std::string name(prettyFunction);
    const std::string anonymousGcc = "{anonymous}::";
    const std::string anonymousClang = "(anonymous namespace)::";
    for (const std::string& prefix : {anonymousGcc, anonymousClang}) {
        for (size_t at = name.find(prefix); at != std::string::npos; at = name.find(prefix))
            name.erase(at, prefix.size());
    }
    const size_t paren = name.find('(');
    if (paren != std::string::npos)
        name.erase(paren);
    const size_t blank = name.find_last_of(" *&");
    if (blank != std::string::npos)
        name.erase(0, blank + 1);
    return name;
}

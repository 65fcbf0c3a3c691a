// Cuts a function's description to its class-qualified name. MIT licence.
#include "common/logging.h"

#include <cstring>

std::string qxQualifiedFunctionName(const char* signature)
{
    // "virtual bool Cls::Open(const wxString&) const" or "Cls::Cls(int)" or "{anonymous}::helper(T) [with T = int]".
    std::string name(signature);
    const std::string anonymousGcc = "{anonymous}::";
    const std::string anonymousClang = "(anonymous namespace)::";
    const std::string anonymousMsvc = "`anonymous-namespace'::";
    for (const std::string& prefix : {anonymousGcc, anonymousClang, anonymousMsvc}) {
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

const char* qxLastingFunctionName(const char* signature)
{
    const std::string name = qxQualifiedFunctionName(signature);
    char* const lasting = new char[name.size() + 1];
    std::memcpy(lasting, name.c_str(), name.size() + 1);
    return lasting;
}

// The library's one log macro: level wxLOG_Message, component wxLOG_COMPONENT, source place and thread. MIT licence.
#ifndef QXSPEECH_COMMON_LOGGING_H
#define QXSPEECH_COMMON_LOGGING_H

#include <string>
#include <wx/log.h>

// The class-qualified name ("MKFileProviderImpl::Open") out of the compiler's description of a function.
std::string qxQualifiedFunctionName(const char* prettyFunction);

// Arguments as for wxLogMessage: narrow text must be ASCII in every locale, so hand over wxString, or FromUTF8 of it.
// A record keeps a bare pointer to the function's name, hence the static. Any thread may log; a record from another
// thread than the main one reaches the target at the next wxLog::FlushActive().
#define QX_LOG(...)                                                                                                    \
    do {                                                                                                               \
        if (wxLog::IsLevelEnabled(wxLOG_Message, wxLOG_COMPONENT)) {                                                   \
            static const std::string qxFunctionName = qxQualifiedFunctionName(__PRETTY_FUNCTION__);                    \
            wxLogger(wxLOG_Message, __FILE__, __LINE__, qxFunctionName.c_str(), wxLOG_COMPONENT).Log(__VA_ARGS__);     \
        }                                                                                                              \
    } while (false)

#endif

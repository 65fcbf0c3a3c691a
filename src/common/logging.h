// The library's one log macro: level wxLOG_Message, component, source place and thread. MIT licence.
#ifndef QXSPEECH_COMMON_LOGGING_H
#define QXSPEECH_COMMON_LOGGING_H

#include <string>
#include <string_view>
#include <utility>
#include <wx/log.h>

#if defined(_MSC_VER)
#define QX_FUNCTION_SIGNATURE __FUNCSIG__
#else
#define QX_FUNCTION_SIGNATURE __PRETTY_FUNCTION__
#endif

// The class-qualified name ("MKFileProviderImpl::Open") out of the compiler's description of a function.
std::string qxQualifiedFunctionName(const char* signature);
// The same as a text that is never freed: a record keeps the bare pointer, and threads log until the process is gone.
const char* qxLastingFunctionName(const char* signature);

// A source file by its place in the library's tree ("mediakit/transform.cpp"), wherever the builder's copy lies.
constexpr const char* qxSourceName(const char* file)
{
    const std::string_view folder = "src/";
    const size_t at = std::string_view(file).rfind(folder);
    return at == std::string_view::npos ? file : file + at + folder.size();
}

// The component of a source file's records: that of its module, "qxspeech/media" for "mediakit/transform.cpp". A level
// set for "qxspeech" holds for its children as well. For any other file the given one.
constexpr const char* qxLogComponent(std::string_view sourceName, const char* other)
{
    constexpr std::pair<std::string_view, const char*> modules[] = {{"speech/", "qxspeech/speech"},
                                                                    {"mediakit/", "qxspeech/media"},
                                                                    {"core/", "qxspeech/core"},
                                                                    {"json/", "qxspeech/json"},
                                                                    {"platform/", "qxspeech/platform"}};
    for (const auto& module : modules) {
        if (sourceName.substr(0, module.first.size()) == module.first)
            return module.second;
    }
    return other;
}

// Arguments as for wxLogMessage: narrow text must be ASCII in every locale, so hand over wxString, or FromUTF8 of it.
// Any thread may log; a record from another thread than the main one reaches the target at the next
// wxLog::FlushActive().
#define QX_LOG(...)                                                                                                    \
    do {                                                                                                               \
        constexpr const char* qxFile = qxSourceName(__FILE__);                                                         \
        const char* const qxComponent = qxLogComponent(qxFile, wxLOG_COMPONENT);                                       \
        if (wxLog::IsLevelEnabled(wxLOG_Message, qxComponent)) {                                                       \
            static const char* const qxFunctionName = qxLastingFunctionName(QX_FUNCTION_SIGNATURE);                    \
            wxLogger(wxLOG_Message, qxFile, __LINE__, qxFunctionName, qxComponent).Log(__VA_ARGS__);                   \
        }                                                                                                              \
    } while (false)

#endif

// Helpers for the answers of web services that belong to no engine. Private. MIT licence.
#ifndef QXSPEECH_COMMON_UTILS_H
#define QXSPEECH_COMMON_UTILS_H

#include <exception>
#include <wx/string.h>

namespace web::http
{
class http_response;
}

// The body as text. Blocks until it has arrived. Empty, with a log line, if it breaks off or is labelled as something
// that is no text; empty without one if it is empty or has no label. The type is left alone with ignoreContentType.
wxString qxHttpResponseToString(const web::http::http_response& response, bool ignoreContentType);

// what() read as UTF-8: empty if it is not.
wxString qxExceptionText(const std::exception& failure);

#endif

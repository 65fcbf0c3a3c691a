// Answers of web services as text. MIT licence.
#include "common/utils.h"

#include <cpprest/http_msg.h>

#include "common/logging.h"

wxString qxHttpResponseToString(const web::http::http_response& response, bool ignoreContentType)
{
    try {
        const utility::string_t body = response.extract_string(ignoreContentType).get();
        return wxString::FromUTF8(utility::conversions::to_utf8string(body));
    } catch (const std::exception& failure) {
        QX_LOG("%s", qxExceptionText(failure));
        return wxString();
    }
}

wxString qxExceptionText(const std::exception& failure)
{
    return wxString::FromUTF8(failure.what());
}

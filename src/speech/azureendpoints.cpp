// Hosts by region. MIT licence.
#include "speech/azureendpoints.h"

#include <algorithm>
#include <cpprest/uri_builder.h>
#include <iterator>
#include <wx/translation.h>

#include "common/logging.h"
#include "speech/cloudfailure.h"

namespace
{

// Regions outside the commercial cloud, with the speech host behind the region's name.
const struct {
    const char* region;
    const char* host;
} kSovereignRegions[] = {
    {"chinaeast2", "tts.speech.azure.cn"},   {"chinanorth2", "tts.speech.azure.cn"},
    {"usgovarizona", "tts.speech.azure.us"}, {"usgovvirginia", "tts.speech.azure.us"},
    {"usgovtexas", "tts.speech.azure.us"},   {"usdodcentral", "tts.speech.azure.us"},
    {"usdodeast", "tts.speech.azure.us"},
};
const char kBadRegion[] =
    "Make sure to provide a valid key for an active subscription and use a correct region for your resource.";
const char kCommercialHost[] = "tts.speech.microsoft.com";
const char kTokenHost[] = "api.cognitive.microsoft.com";

const char* SpeechHost(const wxString& region)
{
    const auto* const found = std::find_if(std::begin(kSovereignRegions), std::end(kSovereignRegions),
                                           [&region](const auto& row) { return region == row.region; });
    return found == std::end(kSovereignRegions) ? kCommercialHost : found->host;
}

wxString Fail(wxString& errorMessage)
{
    errorMessage = wxGetTranslation(kBadRegion);
    QX_LOG("Azure Text-to-Speech message: %s", errorMessage);
    return wxString();
}

wxString MakeUrl(const wxString& region, const char* host, const char* path, wxString& errorMessage)
{
    if (!qxspeech::IsRegion(region))
        return Fail(errorMessage);
    try {
        const wxString url = wxString::Format("https://%s.%s%s", region, host, path);
        web::uri_builder builder;
        builder.set_path(utility::conversions::to_string_t(std::string(url.utf8_str())));
        return wxString::FromUTF8(utility::conversions::to_utf8string(builder.to_string()));
    } catch (const std::exception&) {
        return Fail(errorMessage);
    }
}

} // namespace

wxString GetSpeechEndpoint(const wxString& region, wxString& errorMessage)
{
    return MakeUrl(region, SpeechHost(region), "/cognitiveservices/v1", errorMessage);
}

wxString GetVoiceListEndpoint(const wxString& region, wxString& errorMessage)
{
    return MakeUrl(region, SpeechHost(region), "/cognitiveservices/voices/list", errorMessage);
}

wxString GetTokenEndpoint(const wxString& region, wxString& errorMessage)
{
    return MakeUrl(region, kTokenHost, "/sts/v1.0/issueToken", errorMessage);
}

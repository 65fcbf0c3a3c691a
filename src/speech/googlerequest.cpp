// Bodies as JSON. MIT licence.
#include "speech/googlerequest.h"

#include <cpprest/json.h>

namespace qxspeech
{
namespace
{

using web::json::value;

value JsonText(const wxString& text)
{
    return value::string(utility::conversions::to_string_t(std::string(text.utf8_str())));
}

template <class Rate>
value AudioConfig(int pitch, Rate speakingRate)
{
    value config = value::object();
    config[_XPLATSTR("audioEncoding")] = value::string(_XPLATSTR("LINEAR16"));
    config[_XPLATSTR("pitch")] = value::number(pitch);
    config[_XPLATSTR("speakingRate")] = value::number(speakingRate);
    return config;
}

value Input(const wxString& format, wxString text)
{
    text.Replace(wxUniChar(0xA0), " ");
    text.Replace(wxUniChar(0x1D), "");
    value input = value::object();
    if (format == "Text")
        input[_XPLATSTR("text")] = JsonText(text);
    else if (format == "SSML")
        input[_XPLATSTR("ssml")] = JsonText(text.Contains("<speak") ? text : "<speak>" + text + "</speak>");
    return input;
}

std::string Body(const value& audioConfig, const value& input, const value& voice)
{
    value body = value::object();
    body[_XPLATSTR("audioConfig")] = audioConfig;
    body[_XPLATSTR("input")] = input;
    body[_XPLATSTR("voice")] = voice;
    return utility::conversions::to_utf8string(body.serialize());
}

} // namespace

double GoogleSpeakingRate(int speedPercent)
{
    const double percent = speedPercent;
    return percent <= 50 ? percent / 50 * 0.75 + 0.25 : (percent - 50) / 50 * 3.0 + 1.0;
}

std::string GoogleSpeechBody(const GoogleSpeech& speech)
{
    value voice = value::object();
    voice[_XPLATSTR("languageCode")] = JsonText(speech.languageCode);
    voice[_XPLATSTR("name")] = JsonText(speech.voiceName);
    return Body(AudioConfig(speech.pitch, GoogleSpeakingRate(speech.speedPercent)),
                Input(speech.inputFormat, speech.text), voice);
}

std::string GoogleTestBody()
{
    value voice = value::object();
    voice[_XPLATSTR("languageCode")] = value::string(_XPLATSTR("en-US"));
    return Body(AudioConfig(0, 1), Input("Text", wxString()), voice);
}

} // namespace qxspeech

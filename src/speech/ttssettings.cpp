// The two settings bundles. MIT licence.
#include "speech/ttssettings.h"

#include <algorithm>
#include <wx/translation.h>

#include "speech/texttospeech.h"

namespace
{

constexpr int kDefaultSpeedPercent = 50;
constexpr int kDefaultVolumePercent = 90;
constexpr int kDefaultPitchPercent = 50;

} // namespace

QXTTSSettings::QXTTSSettings()
{
    Init();
}

void QXTTSSettings::Copy(const QXTTSSettings& other)
{
    m_speed = other.m_speed;
    m_volume = other.m_volume;
    m_pitch = other.m_pitch;
    m_engine = other.m_engine;
    m_voice = other.m_voice;
    m_voices = other.m_voices;
}

void QXTTSSettings::Init()
{
    m_speed = kDefaultSpeedPercent;
    m_volume = kDefaultVolumePercent;
    m_pitch = kDefaultPitchPercent;
    m_engine = nullptr;
    m_voice.SetHandlerId("Microsoft SAPI");
}

bool QXTTSSettings::ApplySettings()
{
    if (!m_engine)
        return false;
    m_engine->SetEngine(m_voice.GetHandlerId());
    m_engine->SetVoice(m_voice);
    m_engine->SetSpeed(m_speed, wxTTS_QUANTITY_PERCENT);
    m_engine->SetVolume(m_volume, wxTTS_QUANTITY_PERCENT);
    m_engine->SetPitch(m_pitch, wxTTS_QUANTITY_PERCENT);
    return true;
}

wxString QXTTSSettings::GetHandlerIdFromVoice(const wxString& voiceName)
{
    const size_t count = m_engine ? static_cast<size_t>(m_engine->GetHandlerCount()) : 0;
    for (size_t index = 0; index < count; ++index) {
        const wxTTSHandler* const handler = m_engine->GetHandler(index);
        const std::vector<QXTTSVoiceInfo> voices = handler->GetAvailableVoices();
        const auto hasName = [&voiceName](const QXTTSVoiceInfo& voice) { return voice.GetName() == voiceName; };
        if (std::any_of(voices.begin(), voices.end(), hasName))
            return handler->GetId();
    }
    return wxString();
}

wxString QXTTSSettings::GetPreviewText()
{
    return _("Type your preview text to speech here");
}

wxTTSSpeechSettingsInfo::wxTTSSpeechSettingsInfo()
{
    Init();
}

void wxTTSSpeechSettingsInfo::Copy(const wxTTSSpeechSettingsInfo& other)
{
    m_speed = other.m_speed;
    m_volume = other.m_volume;
    m_pitch = other.m_pitch;
    m_engineId = other.m_engineId;
    m_previewText = other.m_previewText;
    m_engine = other.m_engine;
}

void wxTTSSpeechSettingsInfo::Init()
{
    m_speed = kDefaultSpeedPercent;
    m_volume = kDefaultVolumePercent;
    m_pitch = kDefaultPitchPercent;
    m_engine = nullptr;
    m_previewText = _("Testing text to speech settings.");
}

bool wxTTSSpeechSettingsInfo::ApplySettings()
{
    if (!m_engine || m_engineId.empty() || !m_engine->SetEngine(m_engineId))
        return false;
    m_engine->SetSpeed(m_speed, wxTTS_QUANTITY_PERCENT);
    m_engine->SetVolume(m_volume, wxTTS_QUANTITY_PERCENT);
    m_engine->SetPitch(m_pitch, wxTTS_QUANTITY_PERCENT);
    return true;
}

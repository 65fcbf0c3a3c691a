// Notes each call, then answers. MIT licence.
#include "support/recording_handler.h"

#include <algorithm>

wxIMPLEMENT_DYNAMIC_CLASS(RecordingHandler, wxTTSHandler);

namespace
{

std::string Text(const wxString& text)
{
    return std::string(text.utf8_str());
}

std::string Text(int value)
{
    return std::to_string(value);
}

} // namespace

RecordingHandler::RecordingHandler() : RecordingHandler("Recorder") {}

RecordingHandler::RecordingHandler(const wxString& id, const wxString& displayName) : wxTTSHandler(id, displayName)
{
    CreateCommonProperties();
    calls->clear();
}

RecordingHandler::~RecordingHandler()
{
    Note("delete");
}

int RecordingHandler::CountOf(const std::string& call) const
{
    return static_cast<int>(std::count(calls->begin(), calls->end(), call));
}

bool RecordingHandler::Initialize()
{
    Note("Initialize");
    m_initialized = initializes;
    return initializes;
}

bool RecordingHandler::Uninitialize()
{
    Note("Uninitialize");
    m_initialized = false;
    return true;
}

bool RecordingHandler::HasCapability(wxTTSCapability capability) const
{
    Note("HasCapability " + Text(capability));
    return std::find(capabilities.begin(), capabilities.end(), capability) != capabilities.end();
}

bool RecordingHandler::Speak(const wxString& text, int options, const wxString& outputFile)
{
    Note("Speak " + Text(text) + " " + Text(options) + " " + Text(outputFile));
    return answer;
}

bool RecordingHandler::SpeakFile(const wxString& filename, int options, const wxString& outputFile)
{
    Note("SpeakFile " + Text(filename) + " " + Text(options) + " " + Text(outputFile));
    return answer;
}

bool RecordingHandler::IsSpeaking() const
{
    Note("IsSpeaking");
    return speaking;
}

bool RecordingHandler::IsPaused() const
{
    Note("IsPaused");
    return paused;
}

bool RecordingHandler::Stop()
{
    Note("Stop");
    return answer;
}

bool RecordingHandler::Pause()
{
    Note("Pause");
    return answer;
}

bool RecordingHandler::Resume()
{
    Note("Resume");
    return answer;
}

bool RecordingHandler::Skip(int count, wxTTSSkipType type)
{
    Note("Skip " + Text(count) + " " + Text(type));
    return answer;
}

bool RecordingHandler::CanSkip() const
{
    Note("CanSkip");
    return answer;
}

bool RecordingHandler::ProcessInput()
{
    Note("ProcessInput");
    return answer;
}

wxString RecordingHandler::GetLastCommand() const
{
    Note("GetLastCommand");
    return lastCommand;
}

void RecordingHandler::SetProperty(const wxVariant& value)
{
    Note("SetProperty(variant) " + Text(value.GetName()) + " " + Text(value.GetString()));
    wxTTSHandler::SetProperty(value);
}

void RecordingHandler::SetProperty(const wxString& name, bool value)
{
    Note("SetProperty(bool) " + Text(name) + " " + (value ? "true" : "false"));
    wxTTSHandler::SetProperty(name, value);
}

void RecordingHandler::SetProperty(const wxString& name, int value)
{
    Note("SetProperty(int) " + Text(name) + " " + Text(value));
    wxTTSHandler::SetProperty(name, value);
}

void RecordingHandler::SetProperty(const wxString& name, long value)
{
    Note("SetProperty(long) " + Text(name) + " " + std::to_string(value));
    wxTTSHandler::SetProperty(name, value);
}

void RecordingHandler::SetProperty(const wxString& name, const wxString& value, const wxArrayString& choices)
{
    Note("SetProperty(choices) " + Text(name) + " " + Text(value) + " " + Text(wxJoin(choices, ',')));
    wxTTSHandler::SetProperty(name, value, choices);
}

void RecordingHandler::SetProperty(const wxString& name, const wxString& value)
{
    Note("SetProperty(string) " + Text(name) + " " + Text(value));
    wxTTSHandler::SetProperty(name, value);
}

void RecordingHandler::SetProperty(const wxTTSProperty& property)
{
    Note("SetProperty(property) " + Text(property.GetName()) + " " + Text(property.GetValue()));
    wxTTSHandler::SetProperty(property);
}

wxTTSProperty RecordingHandler::GetProperty(size_t index) const
{
    Note("GetProperty " + std::to_string(index));
    return wxTTSHandler::GetProperty(index);
}

wxTTSProperty RecordingHandler::GetProperty(const wxString& name) const
{
    Note("GetProperty " + Text(name));
    return wxTTSHandler::GetProperty(name);
}

wxVariant RecordingHandler::GetPropertyValue(const wxString& name) const
{
    Note("GetPropertyValue " + Text(name));
    return wxTTSHandler::GetPropertyValue(name);
}

wxString RecordingHandler::GetPropertyString(const wxString& name) const
{
    Note("GetPropertyString " + Text(name));
    return wxTTSHandler::GetPropertyString(name);
}

long RecordingHandler::GetPropertyLong(const wxString& name) const
{
    Note("GetPropertyLong " + Text(name));
    return wxTTSHandler::GetPropertyLong(name);
}

double RecordingHandler::GetPropertyDouble(const wxString& name) const
{
    Note("GetPropertyDouble " + Text(name));
    return wxTTSHandler::GetPropertyDouble(name);
}

long RecordingHandler::GetPropertyBool(const wxString& name) const
{
    Note("GetPropertyBool " + Text(name));
    return wxTTSHandler::GetPropertyBool(name);
}

bool RecordingHandler::HasProperty(const wxString& name) const
{
    Note("HasProperty " + Text(name));
    return wxTTSHandler::HasProperty(name);
}

wxArrayString RecordingHandler::EnumerateProperties() const
{
    Note("EnumerateProperties");
    return wxTTSHandler::EnumerateProperties();
}

int RecordingHandler::GetPropertyCount() const
{
    Note("GetPropertyCount");
    return wxTTSHandler::GetPropertyCount();
}

void RecordingHandler::SetProgramLocation(const wxString& location)
{
    Note("SetProgramLocation " + Text(location));
    wxTTSHandler::SetProgramLocation(location);
}

wxString RecordingHandler::GetProgramLocation() const
{
    Note("GetProgramLocation");
    return wxTTSHandler::GetProgramLocation();
}

void RecordingHandler::SetDataLocation(const wxString& location)
{
    Note("SetDataLocation " + Text(location));
    wxTTSHandler::SetDataLocation(location);
}

wxString RecordingHandler::GetDataLocation() const
{
    Note("GetDataLocation");
    return wxTTSHandler::GetDataLocation();
}

void RecordingHandler::SetVoice(const QXTTSVoiceInfo& voice)
{
    Note("SetVoice " + Text(voice.GetName()));
    wxTTSHandler::SetVoice(voice);
}

QXTTSVoiceInfo RecordingHandler::GetVoice() const
{
    Note("GetVoice");
    return wxTTSHandler::GetVoice();
}

wxString RecordingHandler::GetLastErrorMessage() const
{
    Note("GetLastErrorMessage");
    return wxTTSHandler::GetLastErrorMessage();
}

QXTTSVoiceInfo RecordingHandler::GetDefaultVoice() const
{
    Note("GetDefaultVoice");
    return voices.empty() ? QXTTSVoiceInfo() : voices.front();
}

std::vector<QXTTSVoiceInfo> RecordingHandler::GetAvailableVoices() const
{
    Note("GetAvailableVoices");
    return voices;
}

wxArrayString RecordingHandler::GetAvailableVoiceVariants() const
{
    Note("GetAvailableVoiceVariants");
    return variants;
}

void RecordingHandler::SetVoiceVariant(const wxString& variant)
{
    Note("SetVoiceVariant " + Text(variant));
    wxTTSHandler::SetVoiceVariant(variant);
}

wxString RecordingHandler::GetVoiceVariant() const
{
    Note("GetVoiceVariant");
    return wxTTSHandler::GetVoiceVariant();
}

wxString RecordingHandler::GetDefaultVoiceVariant() const
{
    Note("GetDefaultVoiceVariant");
    return "None";
}

void RecordingHandler::SetSpeed(int value, wxTTSQuantityType type)
{
    Note("SetSpeed " + Text(value) + " " + Text(type));
    wxTTSHandler::SetSpeed(value, type);
}

int RecordingHandler::GetSpeed(wxTTSQuantityType type) const
{
    Note("GetSpeed " + Text(type));
    return wxTTSHandler::GetSpeed(type);
}

void RecordingHandler::SetVolume(int value, wxTTSQuantityType type)
{
    Note("SetVolume " + Text(value) + " " + Text(type));
    wxTTSHandler::SetVolume(value, type);
}

int RecordingHandler::GetVolume(wxTTSQuantityType type) const
{
    Note("GetVolume " + Text(type));
    return wxTTSHandler::GetVolume(type);
}

void RecordingHandler::SetPitch(int value, wxTTSQuantityType type)
{
    Note("SetPitch " + Text(value) + " " + Text(type));
    wxTTSHandler::SetPitch(value, type);
}

int RecordingHandler::GetPitch(wxTTSQuantityType type) const
{
    Note("GetPitch " + Text(type));
    return wxTTSHandler::GetPitch(type);
}

void RecordingHandler::SetPrevRequestTime(const std::list<wxLongLong>& times)
{
    Note("SetPrevRequestTime " + Text(static_cast<int>(times.size())));
    requestTimes = times;
}

std::list<wxLongLong> RecordingHandler::GetPrevRequestTime() const
{
    Note("GetPrevRequestTime");
    return requestTimes;
}

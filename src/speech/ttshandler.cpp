// State and arithmetic that all engines share. MIT licence.
#include "speech/ttshandler.h"

#include <limits>
#include <mutex>
#include <wx/filefn.h>
#include <wx/log.h>

#include "speech/qxtexttospeech.h"
#include "speech/texttospeech.h"
#include "speech/ttstransformer.h"

wxIMPLEMENT_ABSTRACT_CLASS(wxTTSHandler, wxEvtHandler);

namespace
{

// A value far outside its range may leave int; the nearest int is the answer then.
int TruncateToInt(double value)
{
    if (value >= std::numeric_limits<int>::max())
        return std::numeric_limits<int>::max();
    if (value <= std::numeric_limits<int>::min())
        return std::numeric_limits<int>::min();
    return static_cast<int>(value);
}

} // namespace

struct QXSPEECH_HIDDEN wxTTSHandler::FailureRecord {
    std::mutex lock;
    wxTTSFailure failure;                 // guarded by lock
    std::function<wxTTSFailure()> source; // guarded by lock; called without it
};

wxTTSHandler::wxTTSHandler(const wxString& id, const wxString& displayName)
    : m_id(id), m_displayName(displayName), m_failure(new FailureRecord)
{
}

wxTTSHandler::~wxTTSHandler()
{
    DeleteTempFile();
}

void wxTTSHandler::Init()
{
    m_options = 0;
    m_textToSpeech = nullptr;
    m_initialized = false;
}

bool wxTTSHandler::Initialize()
{
    return true;
}

bool wxTTSHandler::Uninitialize()
{
    return true;
}

bool wxTTSHandler::IsPaused() const
{
    return false;
}

bool wxTTSHandler::Pause()
{
    return false;
}

bool wxTTSHandler::Resume()
{
    return false;
}

bool wxTTSHandler::Skip(int, wxTTSSkipType)
{
    return false;
}

bool wxTTSHandler::CanSkip() const
{
    return false;
}

bool wxTTSHandler::ProcessInput()
{
    return true;
}

wxString wxTTSHandler::GetLastCommand() const
{
    return wxString();
}

void wxTTSHandler::SetProperty(const wxVariant& value)
{
    m_properties.SetProperty(value.GetName(), value);
}

void wxTTSHandler::SetProperty(const wxString& name, bool value)
{
    m_properties.SetProperty(name, value);
}

void wxTTSHandler::SetProperty(const wxString& name, int value)
{
    m_properties.SetProperty(name, value);
}

void wxTTSHandler::SetProperty(const wxString& name, long value)
{
    m_properties.SetProperty(name, value);
}

void wxTTSHandler::SetProperty(const wxString& name, const wxString& value, const wxArrayString& choices)
{
    m_properties.SetProperty(name, value);
    m_properties.FindOrCreateProperty(name)->SetChoices(choices);
}

void wxTTSHandler::SetProperty(const wxString& name, const wxString& value)
{
    m_properties.SetProperty(name, value);
}

void wxTTSHandler::SetProperty(const wxTTSProperty& property)
{
    m_properties.SetProperty(property);
}

wxTTSProperty wxTTSHandler::GetProperty(size_t index) const
{
    if (index >= m_properties.GetCount())
        return wxTTSProperty();
    return *m_properties.GetNth(static_cast<int>(index));
}

wxTTSProperty wxTTSHandler::GetProperty(const wxString& name) const
{
    const wxTTSProperty* const property = m_properties.FindProperty(name);
    return property ? *property : wxTTSProperty();
}

wxVariant wxTTSHandler::GetPropertyValue(const wxString& name) const
{
    return m_properties.FindPropertyValue(name);
}

wxString wxTTSHandler::GetPropertyString(const wxString& name) const
{
    return m_properties.FindPropertyValueString(name);
}

long wxTTSHandler::GetPropertyLong(const wxString& name) const
{
    return m_properties.FindPropertyValueLong(name);
}

double wxTTSHandler::GetPropertyDouble(const wxString& name) const
{
    return m_properties.FindPropertyValueDouble(name);
}

long wxTTSHandler::GetPropertyBool(const wxString& name) const
{
    return m_properties.FindPropertyValueBool(name) ? 1 : 0;
}

bool wxTTSHandler::HasProperty(const wxString& name) const
{
    return m_properties.FindProperty(name) != nullptr;
}

wxArrayString wxTTSHandler::EnumerateProperties() const
{
    wxArrayString names;
    for (wxList::compatibility_iterator node = m_properties.GetList().GetFirst(); node; node = node->GetNext())
        names.Add(static_cast<const wxTTSProperty*>(node->GetData())->GetName());
    return names;
}

int wxTTSHandler::GetPropertyCount() const
{
    return static_cast<int>(m_properties.GetCount());
}

wxTTSProperties& wxTTSHandler::GetProperties()
{
    return m_properties;
}

const wxTTSProperties& wxTTSHandler::GetProperties() const
{
    return m_properties;
}

void wxTTSHandler::SetProgramLocation(const wxString& location)
{
    SetProperty("Program location", location);
}

wxString wxTTSHandler::GetProgramLocation() const
{
    return GetPropertyString("Program location");
}

void wxTTSHandler::SetDataLocation(const wxString& location)
{
    SetProperty("Data location", location);
}

wxString wxTTSHandler::GetDataLocation() const
{
    return GetPropertyString("Data location");
}

void wxTTSHandler::SetVoice(const QXTTSVoiceInfo& voice)
{
    m_voice = voice;
}

QXTTSVoiceInfo wxTTSHandler::GetVoice() const
{
    return m_voice;
}

wxString wxTTSHandler::GetLastErrorMessage() const
{
    return m_lastError;
}

wxArrayString wxTTSHandler::GetAvailableVoiceVariants() const
{
    return wxArrayString();
}

void wxTTSHandler::SetVoiceVariant(const wxString& variant)
{
    SetProperty("Voice variant", variant);
}

wxString wxTTSHandler::GetVoiceVariant() const
{
    return GetPropertyString("Voice variant");
}

void wxTTSHandler::SetSpeed(int value, wxTTSQuantityType type)
{
    if (type == wxTTS_QUANTITY_PERCENT)
        value = PercentToNativeValue(value, GetMinSpeed(), GetMaxSpeed());
    SetProperty("Speed", value);
}

int wxTTSHandler::GetSpeed(wxTTSQuantityType type) const
{
    const int value = static_cast<int>(GetPropertyLong("Speed"));
    return type == wxTTS_QUANTITY_PERCENT ? NativeValueToPercent(value, GetMinSpeed(), GetMaxSpeed()) : value;
}

void wxTTSHandler::SetVolume(int value, wxTTSQuantityType type)
{
    if (type == wxTTS_QUANTITY_PERCENT)
        value = PercentToNativeValue(value, GetMinVolume(), GetMaxVolume());
    SetProperty("Volume", value);
}

int wxTTSHandler::GetVolume(wxTTSQuantityType type) const
{
    const int value = static_cast<int>(GetPropertyLong("Volume"));
    return type == wxTTS_QUANTITY_PERCENT ? NativeValueToPercent(value, GetMinVolume(), GetMaxVolume()) : value;
}

void wxTTSHandler::SetPitch(int value, wxTTSQuantityType type)
{
    if (type == wxTTS_QUANTITY_PERCENT)
        value = PercentToNativeValue(value, GetMinPitch(), GetMaxPitch());
    SetProperty("Pitch", value);
}

int wxTTSHandler::GetPitch(wxTTSQuantityType type) const
{
    const int value = static_cast<int>(GetPropertyLong("Pitch"));
    return type == wxTTS_QUANTITY_PERCENT ? NativeValueToPercent(value, GetMinPitch(), GetMaxPitch()) : value;
}

bool wxTTSHandler::TestAuthentication(const QXTTSAuthInfo&)
{
    return false;
}

bool wxTTSHandler::GetAllVoices(std::vector<QXTTSVoiceInfo>&)
{
    return false;
}

int wxTTSHandler::CreateTransformerOptions(int options) const
{
    if (GetPropertyBool("Simplify punctuation"))
        options |= wxTTS_TRANSFORM_SIMPLIFY_PUNCTUATION;
    if (!GetPropertyBool("No pronunciation substitutions"))
        options |= wxTTS_TRANSFORM_SUBSTITUTE;
    return options;
}

bool wxTTSHandler::IsCloudTTS() const
{
    return false;
}

void wxTTSHandler::SetPrevRequestTime(const std::list<wxLongLong>&) {}

std::list<wxLongLong> wxTTSHandler::GetPrevRequestTime() const
{
    return std::list<wxLongLong>();
}

wxTTSTransformer* wxTTSHandler::GetTransformer() const
{
    return m_textToSpeech ? m_textToSpeech->GetTransformer() : nullptr;
}

wxString wxTTSHandler::DoTransformation(const wxString& filename, int options)
{
    wxTTSTransformer* const transformer = GetTransformer();
    if (!transformer || options == 0)
        return filename;
    m_tempInputFile = QXTextToSpeech::CreateTempFile("speechinputfile");
    // A failure shows as a file that cannot be spoken.
    transformer->TransformFile(filename, m_tempInputFile, options);
    return m_tempInputFile;
}

void wxTTSHandler::DeleteTempFile()
{
    if (m_tempInputFile.empty())
        return;
    const wxLogNull noLog; // a file that is gone already is no news
    wxRemoveFile(m_tempInputFile);
    m_tempInputFile.clear();
}

int wxTTSHandler::NativeValueToPercent(int value, int minValue, int maxValue)
{
    const double range = static_cast<double>(maxValue) - minValue;
    if (maxValue == minValue)
        return 0;
    return TruncateToInt((static_cast<double>(value) - minValue) * 100.0 / range);
}

int wxTTSHandler::PercentToNativeValue(int percent, int minValue, int maxValue)
{
    const double range = static_cast<double>(maxValue) - minValue;
    return TruncateToInt(range * (percent / 100.0) + minValue);
}

void wxTTSHandler::CreateCommonProperties(int speed, wxTTSQuantityType speedType, const wxString& webSite)
{
    SetSpeed(speed, speedType);
    SetVolume(80, wxTTS_QUANTITY_PERCENT);
    SetPitch(50, wxTTS_QUANTITY_PERCENT);
    SetVoiceVariant("None");
    SetProperty("Input format", wxString("Text"));
    SetProperty("No pronunciation substitutions", false);
    SetProperty("Simplify punctuation", false);
    SetProperty("Text encoding", wxString("utf-8"));
    SetProperty("Web site", webSite);
    SetProperty("Priority", 0L);
}

bool wxTTSHandler::Fail(const wxString& lastError)
{
    m_lastError = lastError;
    return false;
}

bool wxTTSHandler::Fail(const wxTTSFailure& failure)
{
    SetFailure(failure);
    return Fail(failure.message);
}

bool wxTTSHandler::Fail(wxTTSFailureCategory category, const wxString& message)
{
    SetFailure(category, message);
    return Fail(message);
}

wxTTSFailure wxTTSHandler::GetLastFailure() const
{
    std::function<wxTTSFailure()> source;
    {
        const std::lock_guard<std::mutex> hold(m_failure->lock);
        if (m_failure->failure.category != wxTTS_FAILURE_NONE || !m_failure->source)
            return m_failure->failure;
        source = m_failure->source;
    }
    return source();
}

void wxTTSHandler::ClearFailure()
{
    const std::lock_guard<std::mutex> hold(m_failure->lock);
    m_failure->failure = wxTTSFailure();
    m_failure->source = nullptr;
}

bool wxTTSHandler::SetFailure(const wxTTSFailure& failure)
{
    const std::lock_guard<std::mutex> hold(m_failure->lock);
    m_failure->failure = failure;
    return false;
}

bool wxTTSHandler::SetFailure(wxTTSFailureCategory category, const wxString& message)
{
    wxTTSFailure failure;
    failure.category = category;
    failure.message = message;
    return SetFailure(failure);
}

void wxTTSHandler::SetFailureSource(const std::function<wxTTSFailure()>& source)
{
    const std::lock_guard<std::mutex> hold(m_failure->lock);
    m_failure->source = source;
}

// The front object: the list of engines and the rows that forward to the current one. MIT licence.
#include "speech/texttospeech.h"

#include <wx/ffile.h>
#include <wx/filename.h>
#include <wx/log.h>

#include "common/logging.h"
#include "speech/qxtexttospeech.h"

wxIMPLEMENT_DYNAMIC_CLASS(wxTextToSpeech, wxEvtHandler);

namespace
{

constexpr size_t kProbeBytes = 400;

wxTTSHandler* HandlerOf(const wxList::compatibility_iterator& node)
{
    return static_cast<wxTTSHandler*>(node->GetData());
}

bool IsPathSeparator(wxUniChar c)
{
    return c == '\\' || c == '/';
}

// The first bytes of a file, one character each, up to the first zero byte; empty for a file that does not open.
wxString ReadProbe(const wxString& filename)
{
    const wxLogNull noLog; // a probe that finds nothing is an answer
    char bytes[kProbeBytes];
    wxFFile file;
    if (!file.Open(filename, "r"))
        return wxString();
    const size_t count = file.Read(bytes, kProbeBytes);
    if (count > kProbeBytes)
        return wxString();
    return wxString::From8BitData(bytes, count).BeforeFirst(wxUniChar('\0'));
}

// The characters behind the marker and so many more, up to the first of the ends or to the end of the text.
wxString ValueBehind(const wxString& text, const wxString& marker, size_t skip, const wxString& ends)
{
    const size_t at = text.find(marker);
    if (at == wxString::npos)
        return wxString();
    const size_t begin = at + marker.length() + skip;
    if (begin >= text.length())
        return wxString();
    const size_t end = text.find_first_of(ends, begin);
    return end == wxString::npos ? text.substr(begin) : text.substr(begin, end - begin);
}

} // namespace

wxTextToSpeech::wxTextToSpeech() {}

wxTextToSpeech::~wxTextToSpeech()
{
    ClearHandlers();
}

void wxTextToSpeech::Init()
{
    m_errorCode = 0;
    m_currentHandler = nullptr;
    m_transformer = nullptr;
}

bool wxTextToSpeech::Speak(const wxString& text, int options, const wxString& outputFile)
{
    return m_currentHandler && m_currentHandler->Speak(text, options, outputFile);
}

bool wxTextToSpeech::SpeakFile(const wxString& filename, int options, const wxString& outputFile)
{
    return m_currentHandler && m_currentHandler->SpeakFile(filename, options, outputFile);
}

bool wxTextToSpeech::IsSpeaking() const
{
    return m_currentHandler && m_currentHandler->IsSpeaking();
}

bool wxTextToSpeech::IsPlaying() const
{
    return IsSpeaking() && !IsPaused();
}

bool wxTextToSpeech::Stop()
{
    return m_currentHandler && m_currentHandler->Stop();
}

bool wxTextToSpeech::Pause()
{
    return m_currentHandler && m_currentHandler->Pause();
}

bool wxTextToSpeech::Resume()
{
    return m_currentHandler && m_currentHandler->Resume();
}

bool wxTextToSpeech::IsPaused() const
{
    return m_currentHandler && m_currentHandler->IsPaused();
}

bool wxTextToSpeech::CanPause() const
{
    return IsSpeaking() && !IsPaused() && HasCapability(wxTTS_CAP_PAUSE);
}

bool wxTextToSpeech::Skip(int count, wxTTSSkipType type)
{
    return m_currentHandler && m_currentHandler->Skip(count, type);
}

bool wxTextToSpeech::CanSkip() const
{
    return m_currentHandler && m_currentHandler->CanSkip();
}

bool wxTextToSpeech::HasCapability(wxTTSCapability capability) const
{
    return m_currentHandler && m_currentHandler->HasCapability(capability);
}

bool wxTextToSpeech::AddHandler(wxTTSHandler* handler)
{
    if (!handler || FindHandler(handler->GetId()))
        return false;
    m_handlers.Append(handler);
    handler->SetTextToSpeechObject(this);
    return true;
}

bool wxTextToSpeech::RemoveHandler(wxTTSHandler* handler)
{
    if (!handler)
        return true;
    wxTTSHandler* const listed = FindHandler(handler->GetId());
    if (!listed)
        return false;
    m_handlers.DeleteObject(listed);
    listed->SetTextToSpeechObject(nullptr);
    if (listed == m_currentHandler) {
        m_currentHandler = m_handlers.IsEmpty() ? nullptr : GetHandler(0);
        if (m_currentHandler)
            m_currentHandler->Initialize();
    }
    return true;
}

void wxTextToSpeech::ClearHandlers()
{
    for (wxList::compatibility_iterator node = m_handlers.GetFirst(); node; node = node->GetNext()) {
        wxTTSHandler* const handler = HandlerOf(node);
        // The service counts requests across instances, so the history outlives the engine.
        if (handler->GetId() == "Microsoft Azure")
            QXTextToSpeech::SetPrevRequestTime(handler->GetPrevRequestTime());
        handler->Uninitialize();
    }
    m_currentHandler = nullptr;
    m_handlers.DeleteContents(true);
    m_handlers.Clear();
    m_handlers.DeleteContents(false);
}

wxTTSHandler* wxTextToSpeech::FindHandler(const wxString& id) const
{
    for (wxList::compatibility_iterator node = m_handlers.GetFirst(); node; node = node->GetNext()) {
        if (HandlerOf(node)->GetId() == id)
            return HandlerOf(node);
    }
    return nullptr;
}

wxTTSHandler* wxTextToSpeech::GetHandler(size_t index) const
{
    return HandlerOf(m_handlers.Item(index));
}

bool wxTextToSpeech::SetEngine(const wxString& id)
{
    wxTTSHandler* const handler = FindHandler(id);
    if (!handler)
        return false;
    if (!handler->Initialize()) {
        QX_LOG("Could not initialize %s.", id);
        return false;
    }
    m_currentHandler = handler;
    return true;
}

wxString wxTextToSpeech::GetEngine() const
{
    return m_currentHandler ? m_currentHandler->GetId() : wxString();
}

wxArrayString wxTextToSpeech::GetEngineIds() const
{
    wxArrayString ids;
    for (wxList::compatibility_iterator node = m_handlers.GetFirst(); node; node = node->GetNext())
        ids.Add(HandlerOf(node)->GetId());
    return ids;
}

wxArrayString wxTextToSpeech::GetEngineDisplayNames() const
{
    wxArrayString names;
    for (wxList::compatibility_iterator node = m_handlers.GetFirst(); node; node = node->GetNext())
        names.Add(HandlerOf(node)->GetDisplayName());
    return names;
}

wxArrayString wxTextToSpeech::GetEngineDescriptions() const
{
    wxArrayString descriptions;
    for (wxList::compatibility_iterator node = m_handlers.GetFirst(); node; node = node->GetNext())
        descriptions.Add(HandlerOf(node)->GetDescription());
    return descriptions;
}

bool wxTextToSpeech::ValidateVoice(QXTTSVoiceInfo&)
{
    return true;
}

bool wxTextToSpeech::ProcessInput()
{
    return !m_currentHandler || m_currentHandler->ProcessInput();
}

wxString wxTextToSpeech::GetLastCommand() const
{
    return m_currentHandler ? m_currentHandler->GetLastCommand() : wxString();
}

wxString wxTextToSpeech::GetLastErrorMessage() const
{
    return m_currentHandler ? m_currentHandler->GetLastErrorMessage() : wxString();
}

void wxTextToSpeech::SetProperty(const wxVariant& value)
{
    if (m_currentHandler)
        m_currentHandler->SetProperty(value);
}

void wxTextToSpeech::SetProperty(const wxString& name, bool value)
{
    if (m_currentHandler)
        m_currentHandler->SetProperty(name, value);
}

void wxTextToSpeech::SetProperty(const wxString& name, int value)
{
    if (m_currentHandler)
        m_currentHandler->SetProperty(name, value);
}

void wxTextToSpeech::SetProperty(const wxString& name, long value)
{
    if (m_currentHandler)
        m_currentHandler->SetProperty(name, value);
}

void wxTextToSpeech::SetProperty(const wxString& name, const wxString& value, const wxArrayString& choices)
{
    if (m_currentHandler)
        m_currentHandler->SetProperty(name, value, choices);
}

void wxTextToSpeech::SetProperty(const wxString& name, const wxString& value)
{
    if (m_currentHandler)
        m_currentHandler->SetProperty(name, value);
}

void wxTextToSpeech::SetProperty(const wxTTSProperty& property)
{
    if (m_currentHandler)
        m_currentHandler->SetProperty(property);
}

wxTTSProperty wxTextToSpeech::GetProperty(size_t index) const
{
    return m_currentHandler ? m_currentHandler->GetProperty(index) : wxTTSProperty();
}

wxTTSProperty wxTextToSpeech::GetProperty(const wxString& name) const
{
    return m_currentHandler ? m_currentHandler->GetProperty(name) : wxTTSProperty();
}

wxVariant wxTextToSpeech::GetPropertyValue(const wxString& name) const
{
    return m_currentHandler ? m_currentHandler->GetPropertyValue(name) : wxVariant();
}

wxString wxTextToSpeech::GetPropertyString(const wxString& name) const
{
    return m_currentHandler ? m_currentHandler->GetPropertyString(name) : wxString();
}

long wxTextToSpeech::GetPropertyLong(const wxString& name) const
{
    return m_currentHandler ? m_currentHandler->GetPropertyLong(name) : 0;
}

long wxTextToSpeech::GetPropertyBool(const wxString& name) const
{
    return m_currentHandler ? m_currentHandler->GetPropertyBool(name) : 0;
}

double wxTextToSpeech::GetPropertyDouble(const wxString& name) const
{
    return m_currentHandler ? m_currentHandler->GetPropertyDouble(name) : 0.0;
}

bool wxTextToSpeech::HasProperty(const wxString& name) const
{
    return m_currentHandler && m_currentHandler->HasProperty(name);
}

wxArrayString wxTextToSpeech::EnumerateProperties() const
{
    return m_currentHandler ? m_currentHandler->EnumerateProperties() : wxArrayString();
}

int wxTextToSpeech::GetPropertyCount() const
{
    return m_currentHandler ? m_currentHandler->GetPropertyCount() : 0;
}

void wxTextToSpeech::SetProgramLocation(const wxString& location)
{
    if (m_currentHandler)
        m_currentHandler->SetProgramLocation(location);
}

wxString wxTextToSpeech::GetProgramLocation() const
{
    return m_currentHandler ? m_currentHandler->GetProgramLocation() : wxString();
}

void wxTextToSpeech::SetDataLocation(const wxString& location)
{
    if (m_currentHandler)
        m_currentHandler->SetDataLocation(location);
}

wxString wxTextToSpeech::GetDataLocation() const
{
    return m_currentHandler ? m_currentHandler->GetDataLocation() : wxString();
}

void wxTextToSpeech::SetVoice(const QXTTSVoiceInfo& voice)
{
    if (m_currentHandler)
        m_currentHandler->SetVoice(voice);
}

QXTTSVoiceInfo wxTextToSpeech::GetVoice() const
{
    return m_currentHandler ? m_currentHandler->GetVoice() : QXTTSVoiceInfo();
}

QXTTSVoiceInfo wxTextToSpeech::GetDefaultVoice() const
{
    return m_currentHandler ? m_currentHandler->GetDefaultVoice() : QXTTSVoiceInfo();
}

std::vector<QXTTSVoiceInfo> wxTextToSpeech::GetAvailableVoices() const
{
    std::vector<QXTTSVoiceInfo> all;
    for (wxList::compatibility_iterator node = m_handlers.GetFirst(); node; node = node->GetNext()) {
        const std::vector<QXTTSVoiceInfo> voices = HandlerOf(node)->GetAvailableVoices();
        all.insert(all.end(), voices.begin(), voices.end());
    }
    return all;
}

wxArrayString wxTextToSpeech::GetAvailableVoiceVariants() const
{
    return m_currentHandler ? m_currentHandler->GetAvailableVoiceVariants() : wxArrayString();
}

void wxTextToSpeech::SetVoiceVariant(const wxString& variant)
{
    if (m_currentHandler)
        m_currentHandler->SetVoiceVariant(variant);
}

wxString wxTextToSpeech::GetVoiceVariant() const
{
    return m_currentHandler ? m_currentHandler->GetVoiceVariant() : wxString();
}

wxString wxTextToSpeech::GetDefaultVoiceVariant() const
{
    return m_currentHandler ? m_currentHandler->GetDefaultVoiceVariant() : wxString();
}

void wxTextToSpeech::SetSpeed(int value, wxTTSQuantityType type)
{
    if (m_currentHandler)
        m_currentHandler->SetSpeed(value, type);
}

int wxTextToSpeech::GetSpeed(wxTTSQuantityType type) const
{
    return m_currentHandler ? m_currentHandler->GetSpeed(type) : 0;
}

void wxTextToSpeech::SetVolume(int value, wxTTSQuantityType type)
{
    if (m_currentHandler)
        m_currentHandler->SetVolume(value, type);
}

int wxTextToSpeech::GetVolume(wxTTSQuantityType type) const
{
    return m_currentHandler ? m_currentHandler->GetVolume(type) : 0;
}

void wxTextToSpeech::SetPitch(int value, wxTTSQuantityType type)
{
    if (m_currentHandler)
        m_currentHandler->SetPitch(value, type);
}

int wxTextToSpeech::GetPitch(wxTTSQuantityType type) const
{
    return m_currentHandler ? m_currentHandler->GetPitch(type) : 0;
}

int wxTextToSpeech::GetPriority() const
{
    return static_cast<int>(GetPropertyLong("Priority"));
}

void wxTextToSpeech::SetPriority(int priority)
{
    SetProperty("Priority", priority);
}

wxString wxTextToSpeech::AppendPaths(const wxString& path, const wxString& file, const wxString& separator)
{
    const bool joined = (!path.empty() && IsPathSeparator(path.Last())) || (!file.empty() && IsPathSeparator(file[0]));
    return joined ? path + file : path + separator + file;
}

bool wxTextToSpeech::StripExtension(wxString& filename, const wxString& extensions)
{
    wxString extension;
    wxFileName::SplitPath(filename, nullptr, nullptr, &extension);
    if (extension.empty() || (!extensions.empty() && !extensions.Contains(extension)))
        return false;
    filename.RemoveLast(extension.length() + 1);
    return true;
}

wxString wxTextToSpeech::FindHtmlEncoding(const wxString& filename)
{
    return ValueBehind(ReadProbe(filename), "charset=", 0, "\" ;");
}

// Skips the opening quote without looking at it, so a value in single quotes runs on to the next blank or double quote.
wxString wxTextToSpeech::FindXmlEncoding(const wxString& filename)
{
    return ValueBehind(ReadProbe(filename), "encoding=", 1, "\" ");
}

bool wxTextToSpeech::IsXmlFile(const wxString& filename)
{
    return IsXmlString(ReadProbe(filename));
}

bool wxTextToSpeech::IsXmlString(const wxString& text)
{
    return text.Contains("<?xml");
}

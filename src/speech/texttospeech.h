// The front object a host speaks through: an ordered list of engines, one of them current. MIT licence.
#ifndef QXSPEECH_SPEECH_TEXTTOSPEECH_H
#define QXSPEECH_SPEECH_TEXTTOSPEECH_H

#include <vector>
#include <wx/arrstr.h>
#include <wx/event.h>
#include <wx/list.h>
#include <wx/string.h>
#include <wx/variant.h>

#include "../common/export.h"
#include "ttshandler.h"

// Holds engine handlers and forwards nearly every call to the current one. Hosts get the one with all engines from
// QXTextToSpeech; one built directly is empty and registers nothing. All calls come from one thread at a time, normally
// the main thread; there is no lock. Without a current handler every operation answers false, 0 or an empty value, only
// ProcessInput true.
class QXSPEECH_API wxTextToSpeech : public wxEvtHandler
{
    wxDECLARE_DYNAMIC_CLASS(wxTextToSpeech);

public:
    wxTextToSpeech();
    // Uninitialises and deletes the handlers; the transformer stays the host's.
    ~wxTextToSpeech() override;

    // Speech, forwarded; see wxTTSHandler for what each does. options: bits of wxTTSSpeakOption.
    virtual bool Speak(const wxString& text, int options, const wxString& outputFile);
    virtual bool SpeakFile(const wxString& filename, int options, const wxString& outputFile);
    virtual bool IsSpeaking() const;
    // Speaking and not paused.
    virtual bool IsPlaying() const;
    virtual bool Stop();
    virtual bool Pause();
    virtual bool Resume();
    virtual bool IsPaused() const;
    // Speaking, not paused, and by an engine that can pause.
    virtual bool CanPause() const;
    virtual bool Skip(int count, wxTTSSkipType type);
    virtual bool CanSkip() const;
    virtual bool HasCapability(wxTTSCapability capability) const;

    // Takes the handler over, unless its id is listed already: then false, and it stays the caller's. False for null.
    // The current handler does not change, not even with the first one.
    bool AddHandler(wxTTSHandler* handler);
    // Takes out the listed handler of the same id, which becomes the caller's again; false if there is none, true for
    // null. If it was current, the first one left is initialised and becomes current.
    bool RemoveHandler(wxTTSHandler* handler);
    // Uninitialises and deletes all handlers.
    void ClearHandlers();
    // The first of that id, compared with case; null if there is none. Not owned by the caller.
    wxTTSHandler* FindHandler(const wxString& id) const;
    // The index must be below the count.
    wxTTSHandler* GetHandler(size_t index) const;
    int GetHandlerCount() const { return static_cast<int>(m_handlers.GetCount()); }
    wxTTSHandler* GetCurrentHandler() const { return m_currentHandler; }
    // Stores the pointer, which must be null or a listed handler: it is neither checked nor initialised.
    void SetCurrentHandler(wxTTSHandler* handler) { m_currentHandler = handler; }

    // Initialises the handler of that id and makes it current. False, with the current one kept, for an unknown id and
    // for a failed start, which is logged. Speech under way on the earlier handler goes on.
    bool SetEngine(const wxString& id);
    // Id of the current handler.
    wxString GetEngine() const;
    // One entry for each handler, in the order of the list.
    wxArrayString GetEngineIds() const;
    wxArrayString GetEngineDisplayNames() const;
    wxArrayString GetEngineDescriptions() const;

    // Owned by the host, which keeps it alive as long as it is set here; null at first.
    wxTTSTransformer* GetTransformer() const { return m_transformer; }
    void SetTransformer(wxTTSTransformer* transformer) { m_transformer = transformer; }

    // Zeroes error code, current handler and transformer; the list stays.
    void Init();
    // Holds only what a caller put there; engines report through GetLastErrorMessage.
    int GetErrorCode() const { return m_errorCode; }
    void SetErrorCode(int errorCode) { m_errorCode = errorCode; }
    // True, and the voice unchanged.
    bool ValidateVoice(QXTTSVoiceInfo& voice);

    bool ProcessInput();
    wxString GetLastCommand() const;
    wxString GetLastErrorMessage() const;

    void SetProperty(const wxVariant& value);
    void SetProperty(const wxString& name, bool value);
    void SetProperty(const wxString& name, int value);
    void SetProperty(const wxString& name, long value);
    void SetProperty(const wxString& name, const wxString& value, const wxArrayString& choices);
    void SetProperty(const wxString& name, const wxString& value);
    // A literal is text; without these it would be taken for a bool.
    void SetProperty(const wxString& name, const char* value) { SetProperty(name, wxString::FromUTF8(value)); }
    void SetProperty(const wxString& name, const wchar_t* value) { SetProperty(name, wxString(value)); }
    void SetProperty(const wxTTSProperty& property);
    wxTTSProperty GetProperty(size_t index) const;
    wxTTSProperty GetProperty(const wxString& name) const;
    wxVariant GetPropertyValue(const wxString& name) const;
    wxString GetPropertyString(const wxString& name) const;
    long GetPropertyLong(const wxString& name) const;
    long GetPropertyBool(const wxString& name) const;
    double GetPropertyDouble(const wxString& name) const;
    bool HasProperty(const wxString& name) const;
    wxArrayString EnumerateProperties() const;
    int GetPropertyCount() const;

    void SetProgramLocation(const wxString& location);
    wxString GetProgramLocation() const;
    void SetDataLocation(const wxString& location);
    wxString GetDataLocation() const;

    void SetVoice(const QXTTSVoiceInfo& voice);
    QXTTSVoiceInfo GetVoice() const;
    QXTTSVoiceInfo GetDefaultVoice() const;
    // The installed voices of all handlers in the order of the list, whichever is current.
    std::vector<QXTTSVoiceInfo> GetAvailableVoices() const;
    wxArrayString GetAvailableVoiceVariants() const;
    void SetVoiceVariant(const wxString& variant);
    wxString GetVoiceVariant() const;
    wxString GetDefaultVoiceVariant() const;

    void SetSpeed(int value, wxTTSQuantityType type);
    int GetSpeed(wxTTSQuantityType type) const;
    void SetVolume(int value, wxTTSQuantityType type);
    int GetVolume(wxTTSQuantityType type) const;
    void SetPitch(int value, wxTTSQuantityType type);
    int GetPitch(wxTTSQuantityType type) const;

    // The long property "Priority" of the current handler.
    int GetPriority() const;
    void SetPriority(int priority);

    // Joins the two with the separator, unless one stands at the joint already; one on each side stays doubled, and an
    // empty side counts as having none.
    static wxString AppendPaths(const wxString& path, const wxString& file, const wxString& separator);
    // Cuts the extension and its dot. False, with the name unchanged, if there is none, or if extensions is not empty
    // and does not hold it anywhere (with case).
    static bool StripExtension(wxString& filename, const wxString& extensions);
    // The encoding that the first 400 bytes of a file name, up to the first zero byte; empty if none or unreadable.
    static wxString FindHtmlEncoding(const wxString& filename);
    static wxString FindXmlEncoding(const wxString& filename);
    // Whether "<?xml" stands anywhere in those 400 bytes, or in the text.
    static bool IsXmlFile(const wxString& filename);
    static bool IsXmlString(const wxString& text);

private:
    int m_errorCode = 0;
    wxList m_handlers; // of wxTTSHandler, owned; the list itself never deletes but inside ClearHandlers
    wxTTSHandler* m_currentHandler = nullptr;
    wxTTSTransformer* m_transformer = nullptr;
};

#endif

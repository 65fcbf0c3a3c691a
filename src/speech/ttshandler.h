// The abstract speech engine that the front object drives. MIT licence.
#ifndef QXSPEECH_SPEECH_TTSHANDLER_H
#define QXSPEECH_SPEECH_TTSHANDLER_H

#include <functional>
#include <list>
#include <memory>
#include <vector>
#include <wx/arrstr.h>
#include <wx/event.h>
#include <wx/longlong.h>
#include <wx/string.h>
#include <wx/variant.h>

#include "../common/export.h"
#include "speechfailure.h"
#include "ttsproperties.h"
#include "ttstransformoptions.h"
#include "ttsvoiceinfo.h"

class wxTextToSpeech;
class wxTTSTransformer;
struct QXTTSAuthInfo;

// Unit of a speed, volume or pitch. Every value but PERCENT is taken as native.
enum wxTTSQuantityType : int {
    wxTTS_QUANTITY_NATIVE = 0, // the engine's own scale
    wxTTS_QUANTITY_PERCENT = 1 // 0 to 100 from the engine's minimum to its maximum
};

// Bits of a speak call's options. The local engine acts on them; the web engines do not look at them: their calls
// return when playing has begun or the file is written. With neither ASYNC nor WAIT the local engine's call blocks
// until the speech has ended and, without CLOSE_OUTPUT, keeps an output file open, with IsSpeaking true, until Stop or
// the next speak call.
enum wxTTSSpeakOption : int {
    wxTTS_SPEAK_ASYNC = 0x1, // the call returns at once; IsSpeaking closes an output file at the end of the speech
    wxTTS_SPEAK_CLOSE_OUTPUT = 0x2, // an output file is closed as soon as the voice has taken the text
    // With an output file the call waits for the end, serving the host's events meanwhile, and closes the file. One of
    // the events may delete the handler: the call then answers false, and the file ends where the speech was. Without
    // an output file the same as ASYNC.
    wxTTS_SPEAK_WAIT = 0x4
};

// What Skip counts. Handed on unchanged; the local engine skips by sentence whatever it says, the
// web engines do not skip.
enum wxTTSSkipType : int { wxTTS_SKIP_SENTENCE = 0, wxTTS_SKIP_WORD = 1, wxTTS_SKIP_PARAGRAPH = 2 };

// What an engine can do, as HasCapability tells.
enum wxTTSCapability : int {
    wxTTS_CAP_BOOKMARKS = 0,
    wxTTS_CAP_WORD_EVENTS = 1,
    wxTTS_CAP_LEXICON = 2,
    wxTTS_CAP_SPEAK = 3,
    wxTTS_CAP_OUTPUT_WAV = 4,
    wxTTS_CAP_OUTPUT_FILE = 5,
    wxTTS_CAP_VOICE_VARIANTS = 6,
    wxTTS_CAP_PITCH = 7,
    wxTTS_CAP_SPEED = 8,
    wxTTS_CAP_VOLUME = 9,
    wxTTS_CAP_VOICES = 10,
    wxTTS_CAP_PAUSE = 11
};

// An engine: identity, current voice, property store, rates and the last error here, the speaking in subclasses.
// Made by whoever registers it; owned by the front object from AddHandler on, which uninitialises and deletes it.
// Called on the thread that drives the front object; an engine's own threads report through state of their own.
// An operation that an engine does not have answers false or an empty value and is no error.
class QXSPEECH_API wxTTSHandler : public wxEvtHandler
{
    wxDECLARE_ABSTRACT_CLASS(wxTTSHandler);

public:
    // The id is the key in the front object's list and is not translated; the display name is for people.
    wxTTSHandler(const wxString& id = wxString(), const wxString& displayName = wxString());
    // Removes the temporary input file, if there is one.
    ~wxTTSHandler() override;

    // Called many times: once initialised, an engine answers true at once. False leaves it uninitialised.
    virtual bool Initialize();
    // True in every case. An initialised engine stops and frees what it holds.
    virtual bool Uninitialize();

    // Starts speech, after ending any earlier speech of this handler. An empty outputFile plays; otherwise the audio
    // goes to that file and is not played. options: bits of wxTTSSpeakOption; a GUI host gives wxTTS_SPEAK_ASYNC, as
    // the local engine blocks with 0. False leaves the reason in GetLastFailure and, but where a service says nothing
    // that can be read or there is no speech system at all, in GetLastErrorMessage.
    virtual bool Speak(const wxString& text, int options, const wxString& outputFile) = 0;
    // The same with the name of a file that holds the text.
    virtual bool SpeakFile(const wxString& filename, int options, const wxString& outputFile) = 0;
    virtual bool IsSpeaking() const = 0;
    virtual bool IsPaused() const;
    virtual bool Stop() = 0;
    virtual bool Pause();
    virtual bool Resume();
    virtual bool Skip(int count, wxTTSSkipType type);
    virtual bool CanSkip() const;
    // False for every value that the engine does not know.
    virtual bool HasCapability(wxTTSCapability capability) const = 0;
    virtual bool ProcessInput();
    virtual wxString GetLastCommand() const;

    // The property store. Writing creates what is absent; reading never does, and gives the empty value of its type.
    // The first form stores under the variant's own name.
    virtual void SetProperty(const wxVariant& value);
    virtual void SetProperty(const wxString& name, bool value);
    virtual void SetProperty(const wxString& name, int value);
    virtual void SetProperty(const wxString& name, long value);
    // Replaces earlier choices.
    virtual void SetProperty(const wxString& name, const wxString& value, const wxArrayString& choices);
    virtual void SetProperty(const wxString& name, const wxString& value);
    virtual void SetProperty(const wxTTSProperty& property);
    // A copy; a default property past the end or for an absent name.
    virtual wxTTSProperty GetProperty(size_t index) const;
    virtual wxTTSProperty GetProperty(const wxString& name) const;
    virtual wxVariant GetPropertyValue(const wxString& name) const;
    virtual wxString GetPropertyString(const wxString& name) const;
    virtual long GetPropertyLong(const wxString& name) const;
    virtual double GetPropertyDouble(const wxString& name) const;
    // 0 or 1.
    virtual long GetPropertyBool(const wxString& name) const;
    virtual bool HasProperty(const wxString& name) const;
    // The names in the order of the store.
    virtual wxArrayString EnumerateProperties() const;
    virtual int GetPropertyCount() const;
    virtual wxTTSProperties& GetProperties();
    virtual const wxTTSProperties& GetProperties() const;

    // String properties "Program location" and "Data location", which exist once set.
    virtual void SetProgramLocation(const wxString& location);
    virtual wxString GetProgramLocation() const;
    virtual void SetDataLocation(const wxString& location);
    virtual wxString GetDataLocation() const;

    virtual void SetVoice(const QXTTSVoiceInfo& voice);
    virtual QXTTSVoiceInfo GetVoice() const;
    // Overwritten by the next failure, never cleared by a success; hosts may read it late.
    virtual wxString GetLastErrorMessage() const;
    // A default-constructed voice where the engine knows none.
    virtual QXTTSVoiceInfo GetDefaultVoice() const = 0;
    // The installed voices. Engines on the network answer none here: their lists come from GetAllVoices.
    virtual std::vector<QXTTSVoiceInfo> GetAvailableVoices() const = 0;
    virtual wxArrayString GetAvailableVoiceVariants() const;
    // String property "Voice variant".
    virtual void SetVoiceVariant(const wxString& variant);
    virtual wxString GetVoiceVariant() const;
    virtual wxString GetDefaultVoiceVariant() const = 0;

    // Rates are kept as native long properties "Speed", "Volume", "Pitch". A percent value is converted by the engine's
    // range, truncated; neither unit is checked against the range, and 80 percent may read back as 77.
    virtual void SetSpeed(int value, wxTTSQuantityType type);
    virtual int GetSpeed(wxTTSQuantityType type) const;
    virtual int GetMinSpeed() const = 0;
    virtual int GetMaxSpeed() const = 0;
    virtual void SetVolume(int value, wxTTSQuantityType type);
    virtual int GetVolume(wxTTSQuantityType type) const;
    virtual int GetMinVolume() const = 0;
    virtual int GetMaxVolume() const = 0;
    virtual void SetPitch(int value, wxTTSQuantityType type);
    virtual int GetPitch(wxTTSQuantityType type) const;
    virtual int GetMinPitch() const = 0;
    virtual int GetMaxPitch() const = 0;

    // One live call with these credentials; false for an engine that needs none. Blocks on the network. A web engine's
    // false leaves the reason as Speak does; so does that of GetAllVoices.
    virtual bool TestAuthentication(const QXTTSAuthInfo& authInfo);
    // Fetches the engine's voices over the network and appends them; false for an engine without a network list.
    virtual bool GetAllVoices(std::vector<QXTTSVoiceInfo>& voices);

    // Adds to a transformation's options what the properties ask for: simple punctuation, substitutions.
    virtual int CreateTransformerOptions(int options) const;
    virtual bool IsCloudTTS() const;

    // Times of earlier requests in ms since the epoch, UTC, kept by the engine whose service has a rate limit.
    virtual void SetPrevRequestTime(const std::list<wxLongLong>& times);
    virtual std::list<wxLongLong> GetPrevRequestTime() const;

    // A literal is text; without these it would be taken for a bool.
    void SetProperty(const wxString& name, const char* value) { SetProperty(name, wxString::FromUTF8(value)); }
    void SetProperty(const wxString& name, const wchar_t* value) { SetProperty(name, wxString(value)); }

    // Zeroes options, front object and the initialised flag; the rest stays.
    void Init();

    wxString GetId() const { return m_id; }
    void SetId(const wxString& id) { m_id = id; }
    const wxString& GetDisplayName() const { return m_displayName; }
    void SetDisplayName(const wxString& displayName) { m_displayName = displayName; }
    const wxString& GetDescription() const { return m_description; }
    void SetDescription(const wxString& description) { m_description = description; }
    // Holds only what a caller put there.
    int GetErrorCode() const { return m_errorCode; }
    void SetErrorCode(int errorCode) { m_errorCode = errorCode; }
    // Options of the latest speak call, for the engines that store them.
    int GetOptions() const { return m_options; }
    void SetOptions(int options) { m_options = options; }
    bool GetInitialized() const { return m_initialized; }
    void SetInitialized(bool initialized) { m_initialized = initialized; }
    // The front object that holds this handler, which it outlives; null before AddHandler and after RemoveHandler.
    wxTextToSpeech* GetTextToSpeechObject() const { return m_textToSpeech; }
    void SetTextToSpeechObject(wxTextToSpeech* textToSpeech) { m_textToSpeech = textToSpeech; }
    // The transformer of the front object, owned by the host; null without either.
    wxTTSTransformer* GetTransformer() const;

    // What kind of failure the last one was; category none if the latest speak call has had none. Cleared when a speak
    // call begins, set by every failure of this engine's calls and by one that comes while its speech plays. The last
    // error has words of its own, and a failure of what plays leaves it alone. Safe on the thread that drives the
    // handler while playing threads report.
    wxTTSFailure GetLastFailure() const;

    // Whether the last block of sound, which the audio does not fill, is played too: up to 85 ms, or all of a shorter
    // sound. For engines that play files, at their next play; false at first.
    void SetPlayTail(bool enable) { m_playTail = enable; }
    bool GetPlayTail() const { return m_playTail; }

    // The name of the file to speak for the given one: itself if there is no transformer or no option, else a temporary
    // file, which stays until DeleteTempFile. Empty if the host has set no maker of temporary files.
    wxString DoTransformation(const wxString& filename, int options);
    // Removes the temporary input file from disk, if there is one, and forgets it.
    void DeleteTempFile();

    // Linear and truncated towards zero, without rounding and without clamping to 0..100 or the range. A range without
    // extent reads as 0 percent and gives its minimum.
    static int NativeValueToPercent(int value, int minValue, int maxValue);
    static int PercentToNativeValue(int percent, int minValue, int maxValue);

protected:
    // What every engine's constructor fills its store with: the ten common properties in their common order, speed as
    // given, volume 80 and pitch 50 percent of the engine's range.
    void CreateCommonProperties(int speed = 50, wxTTSQuantityType speedType = wxTTS_QUANTITY_PERCENT,
                                const wxString& webSite = wxString());
    // Stores the text, translated by the caller, as the last error and returns false.
    bool Fail(const wxString& lastError);
    // Stores the failure, its sentence as the last error, too, and returns false.
    bool Fail(const wxTTSFailure& failure);
    bool Fail(wxTTSFailureCategory category, const wxString& message);

    // For engines; may be called on any thread.
    // Forgets the failure and the source: a speak call begins.
    void ClearFailure();
    // Stores the failure in place of an earlier one and returns false.
    bool SetFailure(const wxTTSFailure& failure);
    bool SetFailure(wxTTSFailureCategory category, const wxString& message);
    // Asked by GetLastFailure, on its caller's thread, as long as nothing is stored: for what plays and may fail yet.
    // Must be callable until ClearFailure, another source or the handler's end, under no lock of the handler.
    void SetFailureSource(const std::function<wxTTSFailure()>& source);

    QXTTSVoiceInfo m_voice;
    int m_errorCode = 0;
    int m_options = 0;
    wxString m_tempInputFile;
    wxString m_id;
    wxString m_displayName;
    wxString m_description;
    wxTextToSpeech* m_textToSpeech = nullptr;
    wxTTSProperties m_properties;
    bool m_initialized = false;
    bool m_playTail = false;
    wxString m_lastError;

private:
    struct FailureRecord;

    std::unique_ptr<FailureRecord> m_failure;
};

#endif

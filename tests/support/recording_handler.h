// A host's own engine that notes every call and answers as it is told. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_RECORDING_HANDLER_H
#define QXSPEECH_TESTS_SUPPORT_RECORDING_HANDLER_H

#include <memory>
#include <string>
#include <vector>

#include "speech/ttshandler.h"

// The calls are shared, so that they can be read after the handler is deleted, which is noted as "delete". A call reads
// "Name argument argument"; the accessors of the property store that only read are noted too. Everything behind the
// note is the base class's behaviour, but for the answers below.
class RecordingHandler : public wxTTSHandler
{
    wxDECLARE_DYNAMIC_CLASS(RecordingHandler);

public:
    using Calls = std::vector<std::string>;

    RecordingHandler(); // id "Recorder"
    explicit RecordingHandler(const wxString& id, const wxString& displayName = "Recording engine");
    ~RecordingHandler() override;

    bool Initialize() override;
    bool Uninitialize() override;
    bool Speak(const wxString& text, int options, const wxString& outputFile) override;
    bool SpeakFile(const wxString& filename, int options, const wxString& outputFile) override;
    bool IsSpeaking() const override;
    bool IsPaused() const override;
    bool Stop() override;
    bool Pause() override;
    bool Resume() override;
    bool Skip(int count, wxTTSSkipType type) override;
    bool CanSkip() const override;
    bool HasCapability(wxTTSCapability capability) const override;
    bool ProcessInput() override;
    wxString GetLastCommand() const override;

    using wxTTSHandler::SetProperty;
    void SetProperty(const wxVariant& value) override;
    void SetProperty(const wxString& name, bool value) override;
    void SetProperty(const wxString& name, int value) override;
    void SetProperty(const wxString& name, long value) override;
    void SetProperty(const wxString& name, const wxString& value, const wxArrayString& choices) override;
    void SetProperty(const wxString& name, const wxString& value) override;
    void SetProperty(const wxTTSProperty& property) override;
    wxTTSProperty GetProperty(size_t index) const override;
    wxTTSProperty GetProperty(const wxString& name) const override;
    wxVariant GetPropertyValue(const wxString& name) const override;
    wxString GetPropertyString(const wxString& name) const override;
    long GetPropertyLong(const wxString& name) const override;
    double GetPropertyDouble(const wxString& name) const override;
    long GetPropertyBool(const wxString& name) const override;
    bool HasProperty(const wxString& name) const override;
    wxArrayString EnumerateProperties() const override;
    int GetPropertyCount() const override;

    void SetProgramLocation(const wxString& location) override;
    wxString GetProgramLocation() const override;
    void SetDataLocation(const wxString& location) override;
    wxString GetDataLocation() const override;
    void SetVoice(const QXTTSVoiceInfo& voice) override;
    QXTTSVoiceInfo GetVoice() const override;
    wxString GetLastErrorMessage() const override;
    QXTTSVoiceInfo GetDefaultVoice() const override;
    std::vector<QXTTSVoiceInfo> GetAvailableVoices() const override;
    wxArrayString GetAvailableVoiceVariants() const override;
    void SetVoiceVariant(const wxString& variant) override;
    wxString GetVoiceVariant() const override;
    wxString GetDefaultVoiceVariant() const override;
    void SetSpeed(int value, wxTTSQuantityType type) override;
    int GetSpeed(wxTTSQuantityType type) const override;
    int GetMinSpeed() const override { return 0; }
    int GetMaxSpeed() const override { return 9; }
    void SetVolume(int value, wxTTSQuantityType type) override;
    int GetVolume(wxTTSQuantityType type) const override;
    int GetMinVolume() const override { return 0; }
    int GetMaxVolume() const override { return 9; }
    void SetPitch(int value, wxTTSQuantityType type) override;
    int GetPitch(wxTTSQuantityType type) const override;
    int GetMinPitch() const override { return -20; }
    int GetMaxPitch() const override { return 20; }
    void SetPrevRequestTime(const std::list<wxLongLong>& times) override;
    std::list<wxLongLong> GetPrevRequestTime() const override;

    // For tests of what the base class keeps to its subclasses.
    void SetTempInputFile(const wxString& path) { m_tempInputFile = path; }
    const wxString& GetTempInputFile() const { return m_tempInputFile; }
    void SetLastError(const wxString& text) { m_lastError = text; }

    // Whether a call reads exactly so, and how often.
    int CountOf(const std::string& call) const;

    std::shared_ptr<Calls> calls = std::make_shared<Calls>();

    // Answers.
    bool initializes = true;
    bool speaking = false;
    bool paused = false;
    bool answer = true; // of Speak, SpeakFile, Stop, Pause, Resume, Skip, CanSkip, ProcessInput
    std::vector<wxTTSCapability> capabilities = {wxTTS_CAP_SPEAK, wxTTS_CAP_PAUSE};
    std::vector<QXTTSVoiceInfo> voices;
    wxArrayString variants;
    wxString lastCommand;
    std::list<wxLongLong> requestTimes;

private:
    void Note(const std::string& call) const { calls->push_back(call); }
};

#endif

// The engine for Google Cloud's speech service. MIT licence.
#ifndef QXSPEECH_SPEECH_TTS_GOOGLEAPI_H
#define QXSPEECH_SPEECH_TTS_GOOGLEAPI_H

#include "ttshandler.h"

namespace qxspeech
{
class CloudResponse;
}

// Engine "Google Cloud": one request for each speech, whose WAV file is played or is the host's. Made by the host or
// the process-wide instance, owned by the front object from AddHandler on. One thread at a time; speak calls,
// GetAllVoices and TestAuthentication block on the network, and nothing breaks them off. The key and the proxy are read
// from QXTextToSpeech at each request.
//
// "Input format" says whether the text is "Text" or "SSML", which is wrapped in its root element if it has none; the
// service refuses anything else. Speed (25 to 400) and pitch (-20 to 20) go with each request; volume is kept but not
// applied.
class QXSPEECH_API wxTTSGoogleHandler : public wxTTSHandler
{
    wxDECLARE_DYNAMIC_CLASS(wxTTSGoogleHandler);

public:
    wxTTSGoogleHandler();
    wxTTSGoogleHandler(const wxTTSGoogleHandler&) = delete;
    wxTTSGoogleHandler& operator=(const wxTTSGoogleHandler&) = delete;
    // Ends playing.
    ~wxTTSGoogleHandler() override;

    bool Uninitialize() override;

    // Returns when playing has begun or the file is written. What plays already is stopped only when the new audio is
    // there, and not at all for an output file or a request that fails.
    bool Speak(const wxString& text, int options, const wxString& outputFile) override;
    // Text in UTF-8, UTF-16 or UTF-32; nothing is sent if the file cannot be read.
    bool SpeakFile(const wxString& filename, int options, const wxString& outputFile) override;
    bool IsSpeaking() const override;
    bool IsPaused() const override;
    bool Stop() override;
    bool Pause() override;
    bool Resume() override;
    // True, but the speech goes on where it is.
    bool Skip(int count, wxTTSSkipType type) override;
    bool HasCapability(wxTTSCapability capability) const override;

    // The first voice that the last successful GetAllVoices has fetched.
    QXTTSVoiceInfo GetDefaultVoice() const override;
    std::vector<QXTTSVoiceInfo> GetAvailableVoices() const override;
    wxString GetDefaultVoiceVariant() const override;
    int GetMinSpeed() const override;
    int GetMaxSpeed() const override;
    int GetMinVolume() const override;
    int GetMaxVolume() const override;
    int GetMinPitch() const override;
    int GetMaxPitch() const override;

    // Has an empty text spoken with the record's key.
    bool TestAuthentication(const QXTTSAuthInfo& authInfo) override;
    bool GetAllVoices(std::vector<QXTTSVoiceInfo>& voices) override;

    // Plays the audio that was written last. The arguments, those of the speak call, are not looked at.
    virtual bool PlayWavFile(const wxString& text, bool isFile, int options, const wxString& outputFile);
    // Names of the fetched voices with exactly this language code.
    virtual wxArrayString GetVoiceNames(const wxString& languageCode) const;

    // Has the text of the latest Speak spoken into the file, which is opened only when the service answers with audio.
    // True without a file if an answer that is well otherwise brings none.
    bool GenerateWavFile(const wxString& path);

    // What a refusal by this status and with this message of the service is to be told as: a translated text, or the
    // message.
    static wxString GoogleErrorToMessage(int status, const wxString& message);

private:
    struct Record;

    void BeginSpeech();
    void WatchPlaying();
    bool TakeRefusal(qxspeech::CloudResponse& response);
    void TakeAudio(const wxJSONValue& audioContent, const wxString& path);
    void TakeVoices(const wxString& body, std::vector<QXTTSVoiceInfo>& voices);

    Record* m_record; // owned
};

#endif

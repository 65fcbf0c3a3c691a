// The engine for Microsoft Azure's speech service. MIT licence.
#ifndef QXSPEECH_SPEECH_TTS_AZUREAPI_H
#define QXSPEECH_SPEECH_TTS_AZUREAPI_H

#include "ttshandler.h"

namespace qxspeech
{
struct CloudRequest;
class CloudResponse;
} // namespace qxspeech

// Engine "Microsoft Azure": one request for each speech, whose WAV file (48 kHz, 16 bits, mono) is played or is the
// host's. Made by the host or the process-wide instance, owned by the front object from AddHandler on. One thread at a
// time; speak calls, GetAllVoices and TestAuthentication block on the network, and nothing breaks them off. Credentials
// and proxy are read from QXTextToSpeech at each request. Without a key and a region every request answers false.
//
// "Input format" decides the request: "Text" is spoken by the chosen voice; "SSML" is a document that chooses its own;
// anything else goes out as it is. Speed, volume and pitch are kept but not applied.
class QXSPEECH_API wxTTSAzureHandler : public wxTTSHandler
{
    wxDECLARE_DYNAMIC_CLASS(wxTTSAzureHandler);

public:
    wxTTSAzureHandler();
    wxTTSAzureHandler(const wxTTSAzureHandler&) = delete;
    wxTTSAzureHandler& operator=(const wxTTSAzureHandler&) = delete;
    // Ends playing.
    ~wxTTSAzureHandler() override;

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

    // Asks for a token, which is thrown away.
    bool TestAuthentication(const QXTTSAuthInfo& authInfo) override;
    bool GetAllVoices(std::vector<QXTTSVoiceInfo>& voices) override;

    // The last 19 of the list are kept; the service takes that many requests for speech in 60 seconds, and the next one
    // waits, blocking its caller.
    void SetPrevRequestTime(const std::list<wxLongLong>& times) override;
    std::list<wxLongLong> GetPrevRequestTime() const override;

    // Plays the audio that was written last. The arguments, those of the speak call, are not looked at.
    virtual bool PlayWavFile(const wxString& text, bool isFile, int options, const wxString& outputFile);
    // Names of the fetched voices with exactly this language code.
    virtual wxArrayString GetVoiceNames(const wxString& languageCode) const;

    // Has the text of the latest Speak spoken into the file, which is opened only when the service answers with audio;
    // false may leave it cut short then.
    bool GenerateWavFile(const wxString& path);

    // Asks the token service. "" with the last error set, except for an answer that says nothing or is no token. The
    // expiry, set only with an answer that may be one, is a tick count in milliseconds, 9 minutes from now.
    wxString RequestAccessToken(const wxString& region, const wxString& key, wxLongLong_t* expiry);
    // Also if the credentials of QXTextToSpeech are no longer those that the token was made with.
    bool IsTokenExpired() const;
    // A failure drops the old token.
    void RenewAccessToken();

private:
    struct Record;

    void BeginSpeech();
    void WatchPlaying();
    bool RenewTokenIfExpired();
    bool MakeSpeechRequest(qxspeech::CloudRequest& request);
    bool MakeSsmlBody(wxString& body);
    void TakeVoices(const wxString& body, std::vector<QXTTSVoiceInfo>& voices);
    bool Refuse(qxspeech::CloudResponse& response);
    void TellRefusal(const wxString& message);

    Record* m_record; // owned
};

#endif

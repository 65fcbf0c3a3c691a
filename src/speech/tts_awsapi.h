// The engine for Amazon Polly. MIT licence.
#ifndef QXSPEECH_SPEECH_TTS_AWSAPI_H
#define QXSPEECH_SPEECH_TTS_AWSAPI_H

#include "ttshandler.h"

class MKMediaPlayer;
namespace qxspeech
{
class CloudResponse;
}

// What one request for speech asks for, in the service's own words.
struct AWSSpeechParams {
    wxString Engine;
    wxString LanguageCode;
    wxString OutputFormat;
    wxString SampleRate; // left out if empty
    wxString Text;
    wxString TextType; // "ssml" has the text wrapped in its root element if it has none
    wxString VoiceId;
};

// Engine "Amazon Polly": one signed request for each speech, whose MP3 file is played or is the host's. Made by the
// host or the process-wide instance, owned by the front object from AddHandler on. One thread at a time; speak calls,
// GetAllVoices and TestAuthentication block on the network, and nothing breaks them off. Credentials and proxy are read
// from QXTextToSpeech at each request.
//
// Needs a voice of its list. "Input format" SSML is sent as such, everything else as plain text, HTML too. The rates
// (0 to 9) are kept but not applied. A refusal's reason is the last error: translated where the service's error is
// known, else its name, which is empty where the answer has none.
class QXSPEECH_API wxTTSAWSHandler : public wxTTSHandler
{
    wxDECLARE_DYNAMIC_CLASS(wxTTSAWSHandler);

public:
    wxTTSAWSHandler();
    wxTTSAWSHandler(const wxTTSAWSHandler&) = delete;
    wxTTSAWSHandler& operator=(const wxTTSAWSHandler&) = delete;
    // Ends playing.
    ~wxTTSAWSHandler() override;

    bool Initialize() override;
    bool Uninitialize() override;

    // Stops what plays, then asks for the new speech. Returns when playing has begun or the file is written; a file is
    // opened only when the service answers with audio, and left cut short if that breaks off.
    bool Speak(const wxString& text, int options, const wxString& outputFile) override;
    // Text in UTF-8, UTF-16 or UTF-32; nothing is sent if the file cannot be read.
    bool SpeakFile(const wxString& filename, int options, const wxString& outputFile) override;
    bool IsSpeaking() const override;
    bool IsPaused() const override;
    // True, also if nothing plays.
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

    // Asks for the voices with these credentials, and changes none.
    bool TestAuthentication(const QXTTSAuthInfo& authInfo) override;
    // One voice for each engine that it has, in the service's order. True for an answer that cannot be read, too, which
    // brings none.
    bool GetAllVoices(std::vector<QXTTSVoiceInfo>& voices) override;

    // Both speak calls: text is the text itself or the name of the file that holds it.
    virtual bool DoSpeak(const wxString& text, bool isFile, int options, const wxString& outputFile);
    // Has the speech written to the file.
    virtual bool GetSpeech(const AWSSpeechParams& params, const wxString& path);

    // The JSON text of a request for speech.
    static wxString CreateRequestBody(const AWSSpeechParams& params);
    // The translated text for an error of the service, by its name; the name itself if it has none.
    static wxString ErrorTypeToMessage(const wxString& type);

private:
    bool PlayFile(const wxString& path);
    bool Refuse(qxspeech::CloudResponse& response);
    void TakeVoices(const wxString& body, std::vector<QXTTSVoiceInfo>& voices);

    MKMediaPlayer* m_player;              // owned
    std::vector<QXTTSVoiceInfo> m_voices; // as fetched last
    wxString m_ownFile;                   // where the latest speech without an output file goes
};

#endif

// The local engine: speaks with the system's own voices, without a network. MIT licence.
#ifndef QXSPEECH_SPEECH_TTS_SAPI_H
#define QXSPEECH_SPEECH_TTS_SAPI_H

#include <memory>

#include "ttshandler.h"

// Engine "Microsoft SAPI": drives one voice of the system. Made by the host or the process-wide instance, owned by the
// front object from AddHandler on. All calls come on the thread that called Initialize, and the end of speech is
// noticed only while that thread takes its messages: in the host's event loop, in the waiting of a speak call, in Stop.
// On a thread that does none of these speech to the device never ends: IsSpeaking stays true until Stop.
// Until Initialize has succeeded it lists no voices and every speak call answers false.
//
// Speed -10 to 10 and volume 0 to 100 are the voice's own; "Pitch" is kept but not applied. Pauses count: as many
// Resume calls end them.
//
// A speak call that answers false has its reason in the last error, but for two cases: where Initialize has found no
// speech system (also in a build without one), neither its false nor that of the speak calls behind it has a message,
// only a failure for GetLastFailure; and a host that deletes the handler within the call has nobody to ask.
// GetLastFailure tells more: a device that is lost, or a file that cannot be written on, as soon as the end of the
// speech is noticed; an output file that does not open and a voice that is not installed, for which the speech goes
// elsewhere.
//
// A process made by fork() from one that has spoken here cannot speak: its speak calls fail at once. It may exec.
class QXSPEECH_API wxTTSSapiHandler : public wxTTSHandler
{
    wxDECLARE_DYNAMIC_CLASS(wxTTSSapiHandler);

public:
    wxTTSSapiHandler();
    wxTTSSapiHandler(const wxTTSSapiHandler&) = delete;
    wxTTSSapiHandler& operator=(const wxTTSSapiHandler&) = delete;
    // Lets go of voice and output file; ends no speech, Uninitialize does.
    ~wxTTSSapiHandler() override;

    // Makes the voice, reads the installed voices (later ones are not seen), and stores the system voice's settings in
    // "Speed", "Volume" and "Voice". False where there is no speech system. The calling thread becomes the engine's for
    // good: it must be the one that serves the host's events, which no other thread can do in its place.
    bool Initialize() override;
    bool Uninitialize() override;

    bool Speak(const wxString& text, int options, const wxString& outputFile) override;
    bool SpeakFile(const wxString& filename, int options, const wxString& outputFile) override;
    // Both speak calls: text is the text itself or the name of the file that holds it.
    virtual bool DoSpeak(const wxString& text, bool isFile, int options, const wxString& outputFile);

    // While the speech goes to a file: true until the file is closed. With ASYNC it waits up to 10 ms for the end and
    // closes the file then; without, only Stop or the next speak call does.
    bool IsSpeaking() const override;
    bool IsPaused() const override;
    // True if nothing had to be stopped.
    bool Stop() override;
    bool Pause() override;
    bool Resume() override;
    // By sentences, whatever the type says.
    bool Skip(int count, wxTTSSkipType type) override;
    bool CanSkip() const override;
    bool HasCapability(wxTTSCapability capability) const override;

    QXTTSVoiceInfo GetDefaultVoice() const override;
    std::vector<QXTTSVoiceInfo> GetAvailableVoices() const override;
    wxString GetDefaultVoiceVariant() const override;
    int GetMinSpeed() const override;
    int GetMaxSpeed() const override;
    int GetMinVolume() const override;
    int GetMaxVolume() const override;
    int GetMinPitch() const override;
    int GetMaxPitch() const override;

private:
    struct Output;
    struct Engine;

    bool RefuseWithoutVoice();
    void ReadDefaults();
    void ListVoices();
    void ApplyVoice(const wxString& name);
    void ApplyRates();
    wxString PrepareInput(const wxString& text, bool isFile, int transformerOptions);
    static bool IsXml(const wxString& text, wxString& input, bool& isFile);
    bool BindOutput(const wxString& outputFile);
    bool WaitForOutput();
    QXTTSVoiceInfo DescribeVoice(const wxString& name, const wxString& language) const;

    std::shared_ptr<Engine> m_engine; // owned; shared so that a waiting call can see the end of it
};

#endif

// A host's choice of engine, voice and rates, applied to a front object in one call. MIT licence.
#ifndef QXSPEECH_SPEECH_TTSSETTINGS_H
#define QXSPEECH_SPEECH_TTSSETTINGS_H

#include <vector>
#include <wx/string.h>

#include "../common/export.h"
#include "ttsvoiceinfo.h"

class wxTextToSpeech;

// Engine and voice by voice descriptor, rates in percent of the engine's range. A value that the host makes, copies and
// stores as it likes; nothing here is kept on disk. Used on the thread of its front object.
class QXSPEECH_API QXTTSSettings
{
public:
    QXTTSSettings();
    QXTTSSettings(const QXTTSSettings& other) = default;
    void operator=(const QXTTSSettings& other)
    {
        if (&other != this)
            Copy(other);
    }
    // Copies all fields; the copy acts on the same front object.
    void Copy(const QXTTSSettings& other);
    // Rates, front object and the voice's handler id back to their defaults; the rest of the voice and the list stay.
    void Init();

    // Selects the voice's engine, then hands voice and rates to the front object. False only without a front object: if
    // the engine cannot be selected, the current one gets them.
    bool ApplySettings();
    // Id of the first handler with an installed voice of that name (with case); "" if there is none.
    wxString GetHandlerIdFromVoice(const wxString& voiceName);
    // A sentence that asks for one, translated.
    static wxString GetPreviewText();

    int m_speed;                          // percent, 50 at first
    int m_volume;                         // percent, 90 at first; handlers start with 80
    int m_pitch;                          // percent, 50 at first
    wxTextToSpeech* m_engine;             // set by the host, not owned, outlives the use of this object
    QXTTSVoiceInfo m_voice;               // its handler id names the engine
    std::vector<QXTTSVoiceInfo> m_voices; // for the host; only copied here
};

// Engine by id, rates in percent of the engine's range, and a sentence to try them with. A value like QXTTSSettings;
// the voice is left alone.
class QXSPEECH_API wxTTSSpeechSettingsInfo
{
public:
    wxTTSSpeechSettingsInfo();
    wxTTSSpeechSettingsInfo(const wxTTSSpeechSettingsInfo& other) = default;
    void operator=(const wxTTSSpeechSettingsInfo& other)
    {
        if (&other != this)
            Copy(other);
    }
    // Copies all fields; the copy acts on the same front object.
    void Copy(const wxTTSSpeechSettingsInfo& other);
    // Everything but the engine id back to its default.
    void Init();

    // Selects the engine and sets its rates. False, with nothing changed, without a front object or an engine id, and
    // for an engine that cannot be selected.
    bool ApplySettings();

    int m_speed;              // percent, 50 at first
    int m_volume;             // percent, 90 at first; handlers start with 80
    int m_pitch;              // percent, 50 at first
    wxString m_engineId;      // id of a handler
    wxString m_previewText;   // translated
    wxTextToSpeech* m_engine; // set by the host, not owned, outlives the use of this object
};

#endif

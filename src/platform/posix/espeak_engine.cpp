// The start of eSpeak NG and its list of voices. MIT licence.
#include "platform/posix/espeak_engine.h"

#include "common/export.h"
#include "common/logging.h"

#include <clocale>
#include <dlfcn.h>
#include <espeak-ng/speak_lib.h>
#include <set>

namespace
{

// Set around our own start of the synthesizer, on the thread that makes it.
thread_local bool t_withoutAudio = false;

struct WithoutAudio {
    WithoutAudio() { t_withoutAudio = true; }
    ~WithoutAudio() { t_withoutAudio = false; }
    WithoutAudio(const WithoutAudio&) = delete;
    WithoutAudio& operator=(const WithoutAudio&) = delete;
};

} // namespace

// eSpeak NG's start asks its audio library for a device in every output mode, which connects to the sound server (and
// waits for one that hangs) for nothing: the samples come by callback. This function stands before that library's own
// in the order of symbols. During our start it answers as on a machine without sound, and hands all other calls on, as
// if it were not there. A host that loads the audio library before this one gets the connection as ever.
extern "C" QXSPEECH_API void* create_audio_device_object(const char* device, const char* application,
                                                         const char* description);

extern "C" void* create_audio_device_object(const char* device, const char* application, const char* description)
{
    using Create = void* (*)(const char*, const char*, const char*);
    if (t_withoutAudio)
        return nullptr;
    const auto next = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "create_audio_device_object"));
    return next ? next(device, application, description) : nullptr;
}

namespace qxplatform
{

namespace
{

// The synthesizer sets LC_CTYPE when it starts, but speaks the same without; the locale is the host's own.
int StartKeepingLocale()
{
    const char* const current = std::setlocale(LC_CTYPE, nullptr);
    const std::string former = current ? current : "C";
    const WithoutAudio withoutAudio;
    const int rate = espeak_Initialize(AUDIO_OUTPUT_SYNCHRONOUS, 0, nullptr, espeakINITIALIZE_DONT_EXIT);
    std::setlocale(LC_CTYPE, former.c_str());
    if (rate <= 0)
        QX_LOG("The speech synthesizer does not start. Error Code: %d", rate);
    return rate > 0 ? rate : 0;
}

VoiceGender GenderOf(const espeak_VOICE& voice)
{
    switch (voice.gender) {
    case 1:
        return VoiceGender::Male;
    case 2:
        return VoiceGender::Female;
    default:
        return VoiceGender::Unknown;
    }
}

InstalledVoice DescribeVoice(const espeak_VOICE& voice)
{
    InstalledVoice described;
    described.identifier = voice.identifier;
    described.name = wxString::FromUTF8(voice.name).Trim().ToStdWstring();
    described.language = voice.languages[0] ? voice.languages + 1 : ""; // a priority byte stands in front
    described.gender = GenderOf(voice);
    return described;
}

std::vector<InstalledVoice> ReadVoices()
{
    std::vector<InstalledVoice> voices;
    if (StartEspeak() == 0)
        return voices;
    const std::lock_guard<std::mutex> guard(EspeakLock());
    const espeak_VOICE** list = espeak_ListVoices(nullptr);
    std::set<std::wstring> names;
    for (; list && *list; ++list) {
        const espeak_VOICE& voice = **list;
        if (!voice.identifier || !voice.name || !voice.languages)
            continue;
        voices.push_back(DescribeVoice(voice));
        std::wstring& name = voices.back().name;
        if (name.empty() || !names.insert(name).second) {
            name += L" [" + wxString::FromUTF8(voice.identifier).ToStdWstring() + L"]";
            names.insert(name);
        }
    }
    return voices;
}

} // namespace

std::mutex& EspeakLock()
{
    static std::mutex* const lock = new std::mutex;
    return *lock;
}

int StartEspeak()
{
    static const int rate = [] {
        const std::lock_guard<std::mutex> guard(EspeakLock());
        return StartKeepingLocale();
    }();
    return rate;
}

const std::vector<InstalledVoice>& InstalledVoices()
{
    static const std::vector<InstalledVoice>* const voices = new std::vector<InstalledVoice>(ReadVoices());
    return *voices;
}

} // namespace qxplatform

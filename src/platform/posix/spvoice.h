// The voice object: text in, speech on the default device or in a bound stream. MIT licence.
#ifndef QXSPEECH_PLATFORM_POSIX_SPVOICE_H
#define QXSPEECH_PLATFORM_POSIX_SPVOICE_H

#include <memory>
#include <string>

#include <sapi.h>

#include "platform/posix/comobject.h"
#include "platform/posix/spstream.h"
#include "platform/posix/voicestate.h"

namespace qxvoice
{

// Made by CoCreateInstance on the thread that gets its notices, owned by its references; any thread may call. The last
// release ends its speech, drops its notices and waits up to half a second for its device to be closed; it must come
// before the host ends PortAudio.
//
// Rate, volume, priority, voice and output are those in force when Speak is called. Speak returns when the output is
// known to work: at once for files and for a device that is open, after the opening of the device otherwise. Its codes:
//   SPERR_DEVICE_NOT_SUPPORTED (0x80045007)  no output device, or PortAudio was not started
//   SPERR_DEVICE_BUSY (0x80045006)           the device refuses, or does not answer
//   0x80070002 / E_ACCESSDENIED              no such file / a directory or an unreadable file
//   SPERR_XML_BAD_SYNTAX (0x80045042)        text that is parsed as XML is malformed; nothing was spoken
//   0x80045089 / 0x80045093                  no character at all / no voice meets what the text requires
//   SPERR_UNINITIALIZED                      the bound stream has been closed
//   0x8007139F                               the process is a copy by fork() of one that has spoken
//   E_INVALIDARG                             flags that are not supported (SPF_PERSIST_XML) or contradict each other
// On a failure, earlier speech goes on as if the call had not been made. What ends a speech later, a device that is
// gone (SPERR_DEVICE_BUSY) or a full disk, is GetStatus' hrLastResult until the next Speak; a purge leaves it.
class SpVoice final : public qxplatform::ComObject<ISpVoice, IID_ISpVoice>
{
public:
    SpVoice();

    HRESULT SetNotifyCallbackFunction(SPNOTIFYCALLBACK* callback, WPARAM wParam, LPARAM lParam) override;
    HRESULT SetInterest(ULONGLONG eventInterest, ULONGLONG queuedInterest) override;
    HRESULT GetEvents(ULONG count, SPEVENT* events, ULONG* fetched) override;

    HRESULT SetOutput(IUnknown* output, BOOL allowFormatChanges) override;
    HRESULT GetOutputStream(ISpStreamFormat** stream) override;
    HRESULT Pause() override;
    HRESULT Resume() override;
    HRESULT SetVoice(ISpObjectToken* token) override;
    HRESULT GetVoice(ISpObjectToken** token) override;
    HRESULT Speak(LPCWSTR text, DWORD flags, ULONG* streamNumber) override;
    // lastBookmark stays null: bookmarks come with their events.
    HRESULT GetStatus(SPVOICESTATUS* status, LPWSTR* lastBookmark) override;
    HRESULT Skip(LPCWSTR itemType, LONG count, ULONG* skipped) override;
    HRESULT SetPriority(SPVPRIORITY priority) override;
    HRESULT SetAlertBoundary(SPEVENTENUM boundary) override;
    HRESULT SetRate(LONG rate) override;
    HRESULT GetRate(LONG* rate) override;
    HRESULT SetVolume(USHORT volume) override;
    HRESULT GetVolume(USHORT* volume) override;
    HRESULT WaitUntilDone(ULONG milliseconds) override;

private:
    ~SpVoice() override;

    // What an utterance takes along from the voice at the time of Speak.
    struct Settings {
        LONG rate = 0;       // -10 to 10
        USHORT volume = 100; // percent
        SPVPRIORITY priority = SPVPRI_NORMAL;
        std::wstring tokenId;
        std::string voice; // the synthesizer's identifier of that token
        std::string language;
    };

    HRESULT MakeUtterance(LPCWSTR text, DWORD flags, const Settings& settings, std::shared_ptr<Utterance>& made) const;
    HRESULT Queue(const std::shared_ptr<Utterance>& utterance, DWORD flags, ULONG* streamNumber);
    HRESULT AwaitOutput(VoiceState::Lock& lock, const std::shared_ptr<Utterance>& utterance);
    bool ChooseVoice(const std::wstring& tokenId);

    const std::shared_ptr<VoiceState> m_state;

    // Guarded by the speech lock.
    Settings m_settings;
    SpStream* m_stream = nullptr; // referenced; null: the default device
    ULONG m_lastStream = 0;
};

} // namespace qxvoice

#endif

// The speech interfaces that the library calls, under their published names. Source compatible, not binary. MIT
// licence.
#ifndef QXSPEECH_WIN32API_SAPI_H
#define QXSPEECH_WIN32API_SAPI_H

#include <windows.h>

#include <sperror.h>

#ifndef _WAVEFORMATEX_
#define _WAVEFORMATEX_
struct WAVEFORMATEX {
    WORD wFormatTag;
    WORD nChannels;
    DWORD nSamplesPerSec;
    DWORD nAvgBytesPerSec;
    WORD nBlockAlign;
    WORD wBitsPerSample;
    WORD cbSize;
};
#endif
#define WAVE_FORMAT_PCM 1

enum SPEVENTENUM {
    SPEI_UNDEFINED = 0,
    SPEI_START_INPUT_STREAM = 1,
    SPEI_END_INPUT_STREAM = 2,
    SPEI_VOICE_CHANGE = 3,
    SPEI_TTS_BOOKMARK = 4,
    SPEI_WORD_BOUNDARY = 5,
    SPEI_PHONEME = 6,
    SPEI_SENTENCE_BOUNDARY = 7,
    SPEI_VISEME = 8,
    SPEI_TTS_AUDIO_LEVEL = 9
};

#define SPFEI_FLAGCHECK ((1ull << 30) | (1ull << 33))
#define SPFEI_ALL_TTS_EVENTS (0x000000000000FFFEull | SPFEI_FLAGCHECK)
#define SPFEI_ALL_EVENTS 0xEFFFFFFFFFFFFFFFull
#define SPFEI(event) ((1ull << (event)) | SPFEI_FLAGCHECK)

enum SPEVENTLPARAMTYPE {
    SPET_LPARAM_IS_UNDEFINED = 0,
    SPET_LPARAM_IS_TOKEN = 1,
    SPET_LPARAM_IS_OBJECT = 2,
    SPET_LPARAM_IS_POINTER = 3,
    SPET_LPARAM_IS_STRING = 4
};

// One event of speech. lParam is owned by whoever took the event, by the kind that elParamType tells: release a token
// or an object, CoTaskMemFree a pointer or a string.
struct SPEVENT {
    WORD eEventId;
    WORD elParamType;
    ULONG ulStreamNum;
    ULONGLONG ullAudioStreamOffset; // bytes from the start of the stream, in the output's format
    WPARAM wParam;                  // boundaries: length in characters
    LPARAM lParam;                  // boundaries: position in the text in characters; bookmark: its name
};

enum SPVPRIORITY { SPVPRI_NORMAL = 0, SPVPRI_ALERT = 1, SPVPRI_OVER = 2 };

// SPVOICESTATUS::dwRunningState; 0 before the first speech and while a speech waits.
enum SPRUNSTATE { SPRS_DONE = 1, SPRS_IS_SPEAKING = 2 };

// What a voice tells of itself, as far as the library reads it.
struct SPVOICESTATUS {
    ULONG ulCurrentStream;    // number of the stream that is spoken, or was last
    ULONG ulLastStreamQueued; // 0 before the first
    HRESULT hrLastResult;     // of the last Speak, also of what ended its speech later
    DWORD dwRunningState;     // bits of SPRUNSTATE
};

enum SPEAKFLAGS {
    SPF_DEFAULT = 0,
    SPF_ASYNC = 1 << 0,
    SPF_PURGEBEFORESPEAK = 1 << 1,
    SPF_IS_FILENAME = 1 << 2,
    SPF_IS_XML = 1 << 3,
    SPF_IS_NOT_XML = 1 << 4,
    SPF_PERSIST_XML = 1 << 5,
    SPF_NLP_SPEAK_PUNC = 1 << 6,
    SPF_PARSE_SAPI = 1 << 7,
    SPF_PARSE_SSML = 1 << 8
};

enum SPFILEMODE { SPFM_OPEN_READONLY = 0, SPFM_OPEN_READWRITE = 1, SPFM_CREATE = 2, SPFM_CREATE_ALWAYS = 3 };

// Called on the thread that created the voice, while that thread takes its messages.
using SPNOTIFYCALLBACK = void(WPARAM wParam, LPARAM lParam);

class ISpDataKey : public IUnknown
{
public:
    // A null name reads the default value. *value is allocated by the COM allocator; the caller frees it.
    virtual HRESULT GetStringValue(LPCWSTR name, LPWSTR* value) = 0;
    virtual HRESULT OpenKey(LPCWSTR subKeyName, ISpDataKey** subKey) = 0;

protected:
    ~ISpDataKey() = default;
};

class ISpObjectToken : public ISpDataKey
{
public:
    virtual HRESULT SetId(LPCWSTR categoryId, LPCWSTR tokenId, BOOL createIfNotExist) = 0;
    virtual HRESULT GetId(LPWSTR* tokenId) = 0;

protected:
    ~ISpObjectToken() = default;
};

class IEnumSpObjectTokens : public IUnknown
{
public:
    virtual HRESULT Next(ULONG count, ISpObjectToken** tokens, ULONG* fetched) = 0;
    virtual HRESULT GetCount(ULONG* count) = 0;

protected:
    ~IEnumSpObjectTokens() = default;
};

class ISpObjectTokenCategory : public ISpDataKey
{
public:
    virtual HRESULT SetId(LPCWSTR categoryId, BOOL createIfNotExist) = 0;
    virtual HRESULT EnumTokens(LPCWSTR required, LPCWSTR optional, IEnumSpObjectTokens** tokens) = 0;

protected:
    ~ISpObjectTokenCategory() = default;
};

class ISpStreamFormat : public IUnknown
{
public:
    // *format is allocated by the COM allocator; the caller frees it.
    virtual HRESULT GetFormat(GUID* formatId, WAVEFORMATEX** format) = 0;

protected:
    ~ISpStreamFormat() = default;
};

class ISpStream : public ISpStreamFormat
{
public:
    virtual HRESULT BindToFile(LPCWSTR fileName, SPFILEMODE mode, const GUID* formatId, const WAVEFORMATEX* format,
                               ULONGLONG eventInterest) = 0;
    virtual HRESULT Close() = 0;

protected:
    ~ISpStream() = default;
};

class ISpNotifySource : public IUnknown
{
public:
    virtual HRESULT SetNotifyCallbackFunction(SPNOTIFYCALLBACK* callback, WPARAM wParam, LPARAM lParam) = 0;

protected:
    ~ISpNotifySource() = default;
};

class ISpEventSource : public ISpNotifySource
{
public:
    virtual HRESULT SetInterest(ULONGLONG eventInterest, ULONGLONG queuedInterest) = 0;
    // S_FALSE if fewer than count events were queued.
    virtual HRESULT GetEvents(ULONG count, SPEVENT* events, ULONG* fetched) = 0;

protected:
    ~ISpEventSource() = default;
};

class ISpVoice : public ISpEventSource
{
public:
    virtual HRESULT SetOutput(IUnknown* output, BOOL allowFormatChanges) = 0;
    virtual HRESULT GetOutputStream(ISpStreamFormat** stream) = 0;
    virtual HRESULT Pause() = 0;
    virtual HRESULT Resume() = 0;
    virtual HRESULT SetVoice(ISpObjectToken* token) = 0;
    virtual HRESULT GetVoice(ISpObjectToken** token) = 0;
    virtual HRESULT Speak(LPCWSTR text, DWORD flags, ULONG* streamNumber) = 0;
    // lastBookmark may be null; else it is allocated by the COM allocator and the caller frees it.
    virtual HRESULT GetStatus(SPVOICESTATUS* status, LPWSTR* lastBookmark) = 0;
    virtual HRESULT Skip(LPCWSTR itemType, LONG count, ULONG* skipped) = 0;
    virtual HRESULT SetPriority(SPVPRIORITY priority) = 0;
    virtual HRESULT SetAlertBoundary(SPEVENTENUM boundary) = 0;
    virtual HRESULT SetRate(LONG rate) = 0;
    virtual HRESULT GetRate(LONG* rate) = 0;
    virtual HRESULT SetVolume(USHORT volume) = 0;
    virtual HRESULT GetVolume(USHORT* volume) = 0;
    virtual HRESULT WaitUntilDone(ULONG milliseconds) = 0;

protected:
    ~ISpVoice() = default;
};

extern const CLSID CLSID_SpVoice;
extern const CLSID CLSID_SpObjectTokenCategory;
extern const CLSID CLSID_SpObjectToken;
extern const CLSID CLSID_SpStream;
extern const IID IID_ISpVoice;
extern const IID IID_ISpObjectTokenCategory;
extern const IID IID_ISpObjectToken;
extern const IID IID_ISpStream;
extern const IID IID_ISpStreamFormat;
extern const GUID SPDFID_WaveFormatEx;

#endif

// The real voice into WAV files: what is in them, events, pause, skip, purge, two voices, errors. MIT licence.
#include "support/scratch_dir.h"
#include "support/speech_voice.h"
#include "support/wav.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>
#include <wx/string.h>

#include "platform/posix/messages.h"

namespace
{

const wchar_t kFourSentences[] =
    L"The first one is here. The second one is here. The third one is here. The last one is here.";

Sound Read(const std::string& path)
{
    Sound sound;
    std::string why;
    EXPECT_TRUE(ReadWav(path, sound, why)) << path << ": " << why;
    return sound;
}

Sound SpeakAndRead(const std::wstring& text, DWORD flags = 0, LONG rate = 0, USHORT volume = 100)
{
    ScratchDir dir;
    SpeechVoice voice;
    voice->SetRate(rate);
    voice->SetVolume(volume);
    EXPECT_EQ(voice.SpeakToFile(dir / "a.wav", text, flags), S_OK);
    return Read(dir / "a.wav");
}

template <class Condition>
bool Await(Condition condition)
{
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

std::wstring LongText(size_t sentences)
{
    std::wstring text;
    for (size_t i = 0; i < sentences; ++i)
        text += L"Sentence number " + std::to_wstring(i) + L" of a long text is spoken here. ";
    return text;
}

size_t Count(const std::vector<SeenEvent>& events, int id)
{
    size_t count = 0;
    for (const SeenEvent& event : events)
        count += event.id == id ? 1 : 0;
    return count;
}

} // namespace

TEST(VoiceToFile, SpeechHasTheLengthAndEnergyOfItsText)
{
    const Sound one = SpeakAndRead(L"The first one is here.");
    EXPECT_EQ(one.rateHz, 16000);
    EXPECT_EQ(one.channels, 1);
    EXPECT_GT(one.Seconds(), 0.8);
    EXPECT_LT(one.Seconds(), 2.5);
    EXPECT_GT(one.Rms(), 500);
    const Sound four = SpeakAndRead(kFourSentences);
    EXPECT_NEAR(four.Seconds() / one.Seconds(), 4, 1);
    EXPECT_EQ(LoudStretches(four, 0.15).size(), 4u);
}

TEST(VoiceToFile, RateAndVolumeAct)
{
    const double normal = SpeakAndRead(kFourSentences).Seconds();
    EXPECT_NEAR(SpeakAndRead(kFourSentences, 0, 10).Seconds() / normal, 1.0 / 3, 0.07);
    EXPECT_NEAR(SpeakAndRead(kFourSentences, 0, 5).Seconds() / normal, 1.0 / 1.73, 0.1);
    EXPECT_GT(SpeakAndRead(kFourSentences, 0, -5).Seconds() / normal, 1.5);
    const double loud = SpeakAndRead(kFourSentences).Rms();
    EXPECT_NEAR(SpeakAndRead(kFourSentences, 0, 0, 50).Rms() / loud, 0.5, 0.1);
    EXPECT_EQ(SpeakAndRead(kFourSentences, 0, 0, 0).Rms(), 0);

    SpeechVoice voice;
    EXPECT_EQ(voice->SetRate(11), E_INVALIDARG);
    EXPECT_EQ(voice->SetRate(-11), E_INVALIDARG);
    EXPECT_EQ(voice->SetVolume(101), E_INVALIDARG);
}

TEST(VoiceToFile, FirstCharacterDecidesWhetherTextIsXml)
{
    const double plain = SpeakAndRead(L"hello there friend").Seconds();
    EXPECT_NEAR(SpeakAndRead(L"<sapi>hello <!-- not this one --> there friend</sapi>").Seconds(), plain, 0.15);
    EXPECT_GT(SpeakAndRead(L"hello <emph>there</emph> friend").Seconds(), plain * 1.3); // the marks are read out
    EXPECT_NEAR(SpeakAndRead(L"hello <emph>there</emph> friend", SPF_IS_XML).Seconds(), plain, 0.3);
    EXPECT_GT(SpeakAndRead(L"<b>hello there friend</b>", SPF_IS_NOT_XML).Seconds(), plain * 1.2);
    EXPECT_NEAR(SpeakAndRead(L"<speak version=\"1.0\">hello there friend</speak>").Seconds(), plain, 0.15);
}

TEST(VoiceToFile, LanguageOfMarkupChoosesTheVoice)
{
    const wchar_t text[] = L"Die Zahlen 987654 und 1234567 und 777777 sind lang.";
    ScratchDir dir;
    SpeechVoice german;
    ISpObjectToken* const token = FindToken(L"German");
    ASSERT_NE(token, nullptr);
    ASSERT_EQ(german->SetVoice(token), S_OK);
    token->Release();
    ASSERT_EQ(german.SpeakToFile(dir / "a.wav", text), S_OK);
    const double expected = Read(dir / "a.wav").Seconds();
    ASSERT_GT(std::abs(SpeakAndRead(text).Seconds() - expected), 0.2) << "the text tells the two voices apart";
    EXPECT_NEAR(SpeakAndRead(std::wstring(L"<lang langid=\"407\">") + text + L"</lang>").Seconds(), expected, 0.1);
    EXPECT_NEAR(SpeakAndRead(std::wstring(L"<speak xml:lang=\"de-DE\">") + text + L"</speak>").Seconds(), expected,
                0.1);
}

TEST(VoiceToFile, TwoCallsInOneStreamFollowEachOther)
{
    ScratchDir dir;
    SpeechVoice voice;
    ASSERT_EQ(voice.BindToFile(dir / "a.wav"), S_OK);
    ULONG first = 0;
    ULONG second = 0;
    EXPECT_EQ(voice->Speak(L"The first one is here.", SPF_ASYNC, &first), S_OK);
    EXPECT_EQ(voice->Speak(L"The second one is here.", SPF_ASYNC, &second), S_OK);
    EXPECT_EQ(second, first + 1);
    ASSERT_TRUE(voice.WaitUntilDone());
    EXPECT_EQ(LoudStretches(Read(dir / "a.wav"), 0.15).size(), 2u);
}

TEST(VoiceToFile, ReleasedStreamIsWrittenToItsEnd)
{
    ScratchDir dir;
    SpeechVoice voice;
    ASSERT_EQ(voice.BindToFile(dir / "a.wav"), S_OK);
    ASSERT_EQ(voice->Speak(kFourSentences, SPF_ASYNC, nullptr), S_OK);
    voice.UnbindFile();
    ASSERT_TRUE(voice.WaitUntilDone());
    EXPECT_EQ(LoudStretches(Read(dir / "a.wav"), 0.15).size(), 4u);
}

TEST(VoiceToFile, EventsTellWhereTheTextIs)
{
    const std::wstring text = L"<sapi>Caf&eacute; first. <bookmark mark=\"42 here\"/>Second &amp; last.</sapi>";
    ScratchDir dir;
    SpeechVoice voice;
    voice.ListenToEverything();
    ASSERT_EQ(voice.SpeakToFile(dir / "a.wav", text), S_OK);
    const std::vector<SeenEvent> events = voice.TakeEvents();
    ASSERT_GE(events.size(), 4u);
    EXPECT_EQ(events.front().id, SPEI_START_INPUT_STREAM);
    EXPECT_EQ(events.back().id, SPEI_END_INPUT_STREAM);
    EXPECT_EQ(Count(events, SPEI_END_INPUT_STREAM), 1u);
    std::vector<std::wstring> words;
    std::vector<std::wstring> sentences;
    uint64_t lastOffset = 0;
    for (const SeenEvent& event : events) {
        EXPECT_GE(event.byteOffset, lastOffset);
        lastOffset = event.byteOffset;
        if (event.id == SPEI_WORD_BOUNDARY)
            words.push_back(text.substr(event.position, event.length));
        if (event.id == SPEI_SENTENCE_BOUNDARY)
            sentences.push_back(text.substr(event.position, event.length));
        if (event.id == SPEI_TTS_BOOKMARK) {
            EXPECT_EQ(event.name, L"42 here");
            EXPECT_EQ(event.length, 42u); // the number that its name begins with
        }
    }
    EXPECT_EQ(Count(events, SPEI_TTS_BOOKMARK), 1u);
    ASSERT_GE(words.size(), 4u);
    EXPECT_EQ(words[0], L"Caf&eacute;");
    EXPECT_EQ(words[1].substr(0, 5), L"first");
    ASSERT_EQ(sentences.size(), 2u);
    EXPECT_EQ(sentences[0].substr(0, 12), L"Caf&eacute; ");
    EXPECT_NE(sentences[1].find(L"Second"), std::wstring::npos);
    const Sound sound = Read(dir / "a.wav");
    EXPECT_NEAR(static_cast<double>(events.back().byteOffset), static_cast<double>(sound.samples.size() * 2), 32);
}

TEST(VoiceToFile, PurgeEndsWhatIsSpoken)
{
    ScratchDir dir;
    SpeechVoice voice;
    voice.ListenToEverything();
    ASSERT_EQ(voice.BindToFile(dir / "a.wav"), S_OK);
    voice->Speak(LongText(20000).c_str(), SPF_ASYNC, nullptr);
    EXPECT_EQ(voice->WaitUntilDone(0), S_FALSE);
    EXPECT_EQ(voice->Speak(nullptr, SPF_PURGEBEFORESPEAK, nullptr), S_OK);
    EXPECT_EQ(voice->WaitUntilDone(INFINITE), S_OK);
    EXPECT_EQ(Count(voice.TakeEvents(), SPEI_END_INPUT_STREAM), 1u);
    Read(dir / "a.wav");

    // A purge that brings new text takes the events of the old one with it.
    voice->Speak(LongText(20000).c_str(), SPF_ASYNC, nullptr);
    ULONG stream = 0;
    ASSERT_EQ(voice->Speak(L"New text.", SPF_ASYNC | SPF_PURGEBEFORESPEAK, &stream), S_OK);
    ASSERT_TRUE(voice.WaitUntilDone());
    for (const SeenEvent& event : voice.TakeEvents())
        EXPECT_EQ(event.stream, stream);
    EXPECT_EQ(voice->Speak(nullptr, 0, nullptr), E_POINTER);
}

TEST(VoiceToFile, PausesAreCountedAndEndWithTheSpeech)
{
    ScratchDir dir;
    SpeechVoice voice;
    ASSERT_EQ(voice.BindToFile(dir / "a.wav"), S_OK);
    voice->Pause(); // nothing is spoken: does not count
    ASSERT_EQ(voice->Speak(L"Not paused.", 0, nullptr), S_OK);

    voice->Speak(LongText(50).c_str(), SPF_ASYNC, nullptr);
    voice->Pause();
    voice->Pause();
    voice->Resume();
    EXPECT_EQ(voice->WaitUntilDone(50), S_FALSE);
    voice->Resume();
    EXPECT_TRUE(voice.WaitUntilDone());

    voice->Speak(LongText(50).c_str(), SPF_ASYNC, nullptr);
    voice->Pause();
    EXPECT_EQ(voice->Speak(L"A purge ends every pause.", SPF_PURGEBEFORESPEAK, nullptr), S_OK);
}

TEST(VoiceToFile, PausedVoiceKeepsNobodyWaiting)
{
    ScratchDir dir;
    SpeechVoice paused;
    SpeechVoice other;
    ASSERT_EQ(paused.BindToFile(dir / "paused.wav"), S_OK);
    paused->Speak(LongText(200).c_str(), SPF_ASYNC, nullptr);
    paused->Pause();
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(other.SpeakToFile(dir / "other.wav", kFourSentences), S_OK);
    EXPECT_EQ(paused->WaitUntilDone(0), S_FALSE);
    paused->Resume();
    EXPECT_TRUE(paused.WaitUntilDone());

    // Being broken off and taken up again loses nothing and says nothing twice.
    SpeechVoice alone;
    ASSERT_EQ(alone.SpeakToFile(dir / "alone.wav", LongText(200)), S_OK);
    const double expected = Read(dir / "alone.wav").Seconds();
    EXPECT_NEAR(Read(dir / "paused.wav").Seconds(), expected, 0.1 + expected * 0.005);
}

TEST(VoiceToFile, TwoVoicesTakeTurns)
{
    ScratchDir dir;
    SpeechVoice first;
    SpeechVoice second;
    ASSERT_EQ(first.BindToFile(dir / "first.wav"), S_OK);
    ASSERT_EQ(second.BindToFile(dir / "second.wav"), S_OK);
    first->Speak(LongText(300).c_str(), SPF_ASYNC, nullptr);
    second->Speak(LongText(300).c_str(), SPF_ASYNC, nullptr);
    ASSERT_TRUE(first.WaitUntilDone());
    ASSERT_TRUE(second.WaitUntilDone());
    const double a = Read(dir / "first.wav").Seconds();
    const double b = Read(dir / "second.wav").Seconds();
    EXPECT_NEAR(a, b, a * 0.01);
    EXPECT_GT(a, 300);
}

TEST(VoiceToFile, SkipMovesBySentencesFromTheOneThatIsHeard)
{
    struct Row {
        const char* label;
        LONG count;
    };
    const Row rows[] = {
        {"forward", 1}, {"far forward", 700}, {"restart", 0}, {"backward", -2}, {"not before the first", -100000}};
    const std::wstring text = LongText(5000);
    std::vector<size_t> starts;
    for (size_t at = 0; at != std::wstring::npos; at = text.find(L"Sentence", at + 1))
        starts.push_back(at);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.label);
        ScratchDir dir;
        SpeechVoice voice;
        voice.ListenToEverything();
        ASSERT_EQ(voice.BindToFile(dir / "a.wav"), S_OK);
        ASSERT_EQ(voice->Speak(text.c_str(), SPF_ASYNC, nullptr), S_OK);
        std::vector<SeenEvent> events;
        ASSERT_TRUE(Await([&] {
            for (const SeenEvent& event : voice.TakeEvents())
                events.push_back(event);
            return Count(events, SPEI_SENTENCE_BOUNDARY) >= 5;
        }));
        voice->Pause(); // from here on nothing is taken, so the events tell what is current
        for (const SeenEvent& event : voice.TakeEvents())
            events.push_back(event);
        const long current = static_cast<long>(Count(events, SPEI_SENTENCE_BOUNDARY));
        ASSERT_LT(current + row.count, 5000);
        ULONG skipped = 77777;
        EXPECT_EQ(voice->Skip(L"Sentence", row.count, &skipped), S_OK);
        const long target = std::max(1L, current + row.count);
        EXPECT_EQ(static_cast<long>(skipped), std::abs(target - current));
        EXPECT_EQ(voice->WaitUntilDone(20), S_FALSE) << "stays paused";
        EXPECT_TRUE(voice.TakeEvents().empty());
        voice->Resume();
        events.clear();
        ASSERT_TRUE(Await([&] {
            for (const SeenEvent& event : voice.TakeEvents())
                events.push_back(event);
            return Count(events, SPEI_SENTENCE_BOUNDARY) > 0;
        }));
        for (const SeenEvent& event : events) {
            if (event.id == SPEI_SENTENCE_BOUNDARY) {
                EXPECT_EQ(event.position, starts[static_cast<size_t>(target - 1)]);
                break;
            }
        }
    }
}

TEST(VoiceToFile, SkipPastTheEndEndsTheSpeech)
{
    ScratchDir dir;
    SpeechVoice voice;
    voice.ListenToEverything();
    ASSERT_EQ(voice.BindToFile(dir / "a.wav"), S_OK);
    ASSERT_EQ(voice->Speak(LongText(5000).c_str(), SPF_ASYNC, nullptr), S_OK);
    EXPECT_EQ(voice->Skip(L"Sentence", 1000000, nullptr), S_OK);
    ASSERT_TRUE(voice.WaitUntilDone());
    EXPECT_EQ(Count(voice.TakeEvents(), SPEI_END_INPUT_STREAM), 1u);
    EXPECT_LT(Read(dir / "a.wav").Seconds(), 4000); // the whole text is about three hours

    SpeechVoice idle;
    EXPECT_EQ(idle->Skip(L"Sentence", 1, nullptr), S_OK);
    EXPECT_EQ(idle->Skip(L"Word", 1, nullptr), E_INVALIDARG);
}

TEST(VoiceToFile, RefusalsHaveTheirCodesAndLeaveEarlierSpeechAlone)
{
    ScratchDir dir;
    std::ofstream(dir / "good.txt") << "Hello from a file.";
    std::ofstream(dir / "empty.txt");
    std::ofstream(dir / "bad.xml") << "<sapi><emph>never closed</sapi>";
    const std::wstring folder = wxString::FromUTF8(dir.Path()).ToStdWstring() + L"/";
    struct Row {
        const char* label;
        std::wstring text;
        DWORD flags;
        HRESULT expected;
    };
    const Row rows[] = {
        {"file", folder + L"good.txt", SPF_IS_FILENAME, S_OK},
        {"missing file", folder + L"none.txt", SPF_IS_FILENAME, static_cast<HRESULT>(0x80070002u)},
        {"directory", folder, SPF_IS_FILENAME, E_ACCESSDENIED},
        {"empty file", folder + L"empty.txt", SPF_IS_FILENAME, static_cast<HRESULT>(0x80045089u)},
        {"malformed file", folder + L"bad.xml", SPF_IS_FILENAME, SPERR_XML_BAD_SYNTAX},
        {"malformed text", L"<sapi><rate speed=\"3\">x</sapi>", 0, SPERR_XML_BAD_SYNTAX},
        {"empty text", L"", 0, static_cast<HRESULT>(0x80045089u)},
        {"no such voice", L"<voice required=\"Name=Nobody\">x</voice>", 0, static_cast<HRESULT>(0x80045093u)},
        {"female voice", L"<voice required=\"Gender=Female\">x</voice>", 0, S_OK},
        {"persisting state", L"x", SPF_PERSIST_XML, E_INVALIDARG},
        {"contradiction", L"x", SPF_IS_XML | SPF_IS_NOT_XML, E_INVALIDARG},
    };
    SpeechVoice voice;
    ASSERT_EQ(voice.BindToFile(dir / "a.wav"), S_OK);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.label);
        EXPECT_EQ(voice->Speak(row.text.c_str(), row.flags, nullptr), row.expected);
    }
    voice->Speak(LongText(2000).c_str(), SPF_ASYNC, nullptr);
    voice->Pause();
    EXPECT_EQ(voice->Speak(L"<sapi>", SPF_PURGEBEFORESPEAK, nullptr), SPERR_XML_BAD_SYNTAX);
    EXPECT_EQ(voice->WaitUntilDone(0), S_FALSE);
}

TEST(VoiceToFile, UnusableTargetsAreRefusedWhenBound)
{
    ScratchDir dir;
    std::ofstream(dir / "file") << "x";
    SpeechVoice voice;
    EXPECT_EQ(voice.BindToFile(dir / "no/such/folder.wav"), static_cast<HRESULT>(0x80070003u));
    EXPECT_EQ(voice.BindToFile(dir / "file/below.wav"), static_cast<HRESULT>(0x80070003u));
    EXPECT_EQ(voice.BindToFile(dir.Path()), E_ACCESSDENIED);
    void* object = nullptr;
    ASSERT_EQ(CoCreateInstance(CLSID_SpStream, nullptr, CLSCTX_ALL, IID_ISpStream, &object), S_OK);
    ISpStream* const stream = static_cast<ISpStream*>(object);
    const WAVEFORMATEX eightBit = {WAVE_FORMAT_PCM, 1, 16000, 16000, 1, 8, 0};
    EXPECT_EQ(stream->BindToFile(L"x.wav", SPFM_CREATE_ALWAYS, &SPDFID_WaveFormatEx, &eightBit, 0),
              SPERR_UNSUPPORTED_FORMAT);
    EXPECT_EQ(voice->SetOutput(stream, TRUE), SPERR_UNINITIALIZED);
    stream->Release();
}

TEST(VoiceToFile, FullDiskEmptiesTheFile)
{
    ScratchDir dir;
    const pid_t child = fork();
    if (child == 0) {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {200000, 200000};
        setrlimit(RLIMIT_FSIZE, &limit);
        // The player has logged and lives when the child ends; wxWidgets' record of that thread is no leak of interest.
        setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
        const std::string self = "/proc/self/exe";
        execl(self.c_str(), self.c_str(), "--speak-forever", (dir / "a.wav").c_str(), "400", nullptr);
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 3) << "the synchronous call reports the failure";
    EXPECT_EQ(std::ifstream(dir / "a.wav", std::ios::ate).tellg(), 0);
}

TEST(VoiceToFile, KilledProgramLeavesPlayableFile)
{
    ScratchDir dir;
    const std::string path = dir / "a.wav";
    const pid_t child = fork();
    if (child == 0) {
        execl("/proc/self/exe", "/proc/self/exe", "--speak-forever", path.c_str(), "1000000", nullptr);
        _exit(127);
    }
    const auto size = [&] { return static_cast<long>(std::ifstream(path, std::ios::ate | std::ios::binary).tellg()); };
    EXPECT_TRUE(Await([&] { return size() > 3000000; }));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    Sound sound;
    std::string why;
    ASSERT_TRUE(ReadWav(path, sound, why, true)) << why;
    EXPECT_GT(sound.Seconds(), 60);
    EXPECT_GT(sound.Rms(), 500);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // they keep freed memory
TEST(VoiceToFile, MemoryDoesNotGrowWithTheSpeech)
{
    const auto residentKiB = [] {
        std::ifstream status("/proc/self/statm");
        long total = 0;
        long resident = 0;
        status >> total >> resident;
        return resident * (sysconf(_SC_PAGESIZE) / 1024);
    };
    ScratchDir dir;
    SpeechVoice voice;
    ASSERT_EQ(voice.SpeakToFile(dir / "a.wav", LongText(200)), S_OK); // warm
    const long before = residentKiB();
    ASSERT_EQ(voice.SpeakToFile(dir / "a.wav", LongText(1500)), S_OK);
    const long grown = residentKiB() - before;
    EXPECT_GT(std::ifstream(dir / "a.wav", std::ios::ate).tellg(), 100 * 1000 * 1000);
    EXPECT_LT(grown, 20 * 1024);
}
#endif

namespace
{

int g_notices = 0;
ISpVoice* g_voice = nullptr;

void CountNotice(WPARAM, LPARAM lParam)
{
    g_notices += static_cast<int>(lParam);
    SPEVENT event = {};
    while (g_voice->GetEvents(1, &event, nullptr) == S_OK) {
    }
}

} // namespace

TEST(VoiceToFile, NoticesComeOnlyWhileMessagesAreTaken)
{
    ScratchDir dir;
    g_notices = 0;
    {
        SpeechVoice voice;
        g_voice = voice.Get();
        ASSERT_EQ(voice->SetNotifyCallbackFunction(CountNotice, 0, 1), S_OK);
        ASSERT_EQ(voice.SpeakToFile(dir / "a.wav", L"Hello."), S_OK);
        EXPECT_EQ(g_notices, 0);
        MSG message = {};
        while (PeekMessageW(&message, nullptr, WM_APP, WM_APP, PM_REMOVE)) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
        EXPECT_GE(g_notices, 1);
        g_notices = 0;
        ASSERT_EQ(voice.SpeakToFile(dir / "a.wav", L"Hello."), S_OK);
    }
    // The voice is gone and took its notices along.
    MSG message = {};
    while (PeekMessageW(&message, nullptr, WM_APP, WM_APP, PM_REMOVE))
        DispatchMessageW(&message);
    EXPECT_EQ(g_notices, 0);
}

// The program again, as a child that speaks into a file: --speak-forever FILE SENTENCES. Exit 3 if Speak failed.
int SpeakForever(const char* path, const char* sentences)
{
    SpeechVoice voice;
    if (FAILED(voice.BindToFile(path)))
        return 2;
    return FAILED(voice->Speak(LongText(std::stoul(sentences)).c_str(), 0, nullptr)) ? 3 : 0;
}

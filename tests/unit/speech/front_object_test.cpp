// The front object: its list of engines, its answers without one, its forwarding, its static helpers. MIT licence.
#include "speech/texttospeech.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <wx/ffile.h>
#include <wx/filefn.h>
#include <wx/filename.h>

#include "support/log_capture.h"
#include "support/recording_handler.h"

namespace
{

QXTTSVoiceInfo Voice(const wxString& name)
{
    QXTTSVoiceInfo voice;
    voice.SetName(name);
    return voice;
}

// A file with these bytes for the life of the object.
class ScratchFile
{
public:
    explicit ScratchFile(const std::string& bytes) : m_path(wxFileName::CreateTempFileName("qxfront"))
    {
        wxFFile(m_path, "wb").Write(bytes.data(), bytes.size());
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;
    ~ScratchFile() { wxRemoveFile(m_path); }
    const wxString& Path() const { return m_path; }

private:
    wxString m_path;
};

} // namespace

TEST(FrontObject, AnswersWithFixedValuesWithoutAHandler)
{
    wxTextToSpeech front;
    front.AddHandler(new RecordingHandler); // listed, not current
    EXPECT_FALSE(front.Speak("text", 0, ""));
    EXPECT_FALSE(front.SpeakFile("file", 0, ""));
    EXPECT_FALSE(front.IsSpeaking() || front.IsPaused() || front.IsPlaying());
    EXPECT_FALSE(front.Stop() || front.Pause() || front.Resume());
    EXPECT_FALSE(front.Skip(1, wxTTS_SKIP_SENTENCE) || front.CanSkip() || front.CanPause());
    EXPECT_FALSE(front.HasCapability(wxTTS_CAP_SPEAK));
    EXPECT_TRUE(front.ProcessInput());
    EXPECT_EQ(front.GetLastCommand() + front.GetLastErrorMessage() + front.GetEngine(), "");
    front.SetProperty(wxVariant(1L, "Priority"));
    front.SetProperty("Priority", true);
    front.SetProperty("Priority", 1);
    front.SetProperty("Priority", 1L);
    front.SetProperty("Priority", "1", wxArrayString());
    front.SetProperty("Priority", wxString("1"));
    front.SetProperty(wxTTSProperty("Priority", "1"));
    front.SetPriority(1);
    EXPECT_EQ(front.GetProperty(size_t(0)), wxTTSProperty());
    EXPECT_EQ(front.GetProperty("Priority").GetName(), "");
    EXPECT_TRUE(front.GetPropertyValue("Priority").IsNull());
    EXPECT_EQ(front.GetPropertyString("Priority"), "");
    EXPECT_EQ(front.GetPropertyLong("Priority") + front.GetPropertyBool("Priority") + front.GetPriority(), 0);
    EXPECT_EQ(front.GetPropertyDouble("Priority"), 0.0);
    EXPECT_FALSE(front.HasProperty("Priority"));
    EXPECT_TRUE(front.EnumerateProperties().empty());
    EXPECT_EQ(front.GetPropertyCount(), 0);
    front.SetProgramLocation("x");
    front.SetDataLocation("x");
    EXPECT_EQ(front.GetProgramLocation() + front.GetDataLocation(), "");
    front.SetVoice(Voice("x"));
    EXPECT_EQ(front.GetVoice(), QXTTSVoiceInfo());
    EXPECT_EQ(front.GetDefaultVoice(), QXTTSVoiceInfo());
    EXPECT_TRUE(front.GetAvailableVoiceVariants().empty());
    front.SetVoiceVariant("x");
    EXPECT_EQ(front.GetVoiceVariant() + front.GetDefaultVoiceVariant(), "");
    front.SetSpeed(1, wxTTS_QUANTITY_NATIVE);
    front.SetVolume(1, wxTTS_QUANTITY_NATIVE);
    front.SetPitch(1, wxTTS_QUANTITY_NATIVE);
    EXPECT_EQ(front.GetSpeed(wxTTS_QUANTITY_NATIVE) + front.GetVolume(wxTTS_QUANTITY_NATIVE) +
                  front.GetPitch(wxTTS_QUANTITY_NATIVE),
              0);
    EXPECT_EQ(front.GetErrorCode(), 0);
    EXPECT_EQ(front.GetTransformer(), nullptr);
}

TEST(FrontObject, ForwardsEachCallWithItsArgumentsAndItsAnswer)
{
    using F = wxTextToSpeech;
    struct Row {
        const char* call;
        std::function<wxString(F&)> act; // the answer as text
        const char* answer;
    };
    const auto yes = [](bool value) { return wxString(value ? "true" : "false"); };
    const auto number = [](long value) { return wxString::Format("%ld", value); };
    const Row rows[] = {
        {"Speak text 3 out", [&](F& f) { return yes(f.Speak("text", 3, "out")); }, "true"},
        {"SpeakFile file 4 out", [&](F& f) { return yes(f.SpeakFile("file", 4, "out")); }, "true"},
        {"IsSpeaking", [&](F& f) { return yes(f.IsSpeaking()); }, "true"},
        {"IsPaused", [&](F& f) { return yes(f.IsPaused()); }, "true"},
        {"Stop", [&](F& f) { return yes(f.Stop()); }, "true"},
        {"Pause", [&](F& f) { return yes(f.Pause()); }, "true"},
        {"Resume", [&](F& f) { return yes(f.Resume()); }, "true"},
        {"Skip -2 2", [&](F& f) { return yes(f.Skip(-2, wxTTS_SKIP_PARAGRAPH)); }, "true"},
        {"CanSkip", [&](F& f) { return yes(f.CanSkip()); }, "true"},
        {"HasCapability 11", [&](F& f) { return yes(f.HasCapability(wxTTS_CAP_PAUSE)); }, "true"},
        {"HasCapability 12", [&](F& f) { return yes(f.HasCapability(wxTTSCapability(12))); }, "false"},
        {"ProcessInput", [&](F& f) { return yes(f.ProcessInput()); }, "true"},
        {"GetLastCommand", [&](F& f) { return f.GetLastCommand(); }, "last command"},
        {"GetLastErrorMessage", [&](F& f) { return f.GetLastErrorMessage(); }, "last error"},
        {"SetProperty(variant) v 1.5", [&](F& f) { return f.SetProperty(wxVariant(1.5, "v")), wxString(); }, ""},
        {"GetPropertyDouble v", [&](F& f) { return wxString::FromCDouble(f.GetPropertyDouble("v")); }, "1.5"},
        {"SetProperty(bool) b true", [&](F& f) { return f.SetProperty("b", true), wxString(); }, ""},
        {"GetPropertyBool b", [&](F& f) { return number(f.GetPropertyBool("b")); }, "1"},
        {"SetProperty(int) i 2", [&](F& f) { return f.SetProperty("i", 2), wxString(); }, ""},
        {"SetProperty(long) l 3", [&](F& f) { return f.SetProperty("l", 3L), wxString(); }, ""},
        {"GetPropertyLong l", [&](F& f) { return number(f.GetPropertyLong("l")); }, "3"},
        {"SetProperty(choices) c x x",
         [&](F& f) { return f.SetProperty("c", "x", wxArrayString(1, wxString("x"))), wxString(); }, ""},
        {"SetProperty(string) s y", [&](F& f) { return f.SetProperty("s", wxString("y")), wxString(); }, ""},
        {"SetProperty(string) t z", [&](F& f) { return f.SetProperty("t", "z"), wxString(); }, ""},
        {"GetPropertyString t", [&](F& f) { return f.GetPropertyString("t"); }, "z"},
        {"GetPropertyValue s", [&](F& f) { return f.GetPropertyValue("s").GetString(); }, "y"},
        {"SetProperty(property) p q", [&](F& f) { return f.SetProperty(wxTTSProperty("p", "q")), wxString(); }, ""},
        {"GetProperty p", [&](F& f) { return f.GetProperty("p").GetValue(); }, "q"},
        {"GetProperty 9", [&](F& f) { return f.GetProperty(size_t(9)).GetName(); }, "Priority"},
        {"HasProperty p", [&](F& f) { return yes(f.HasProperty("p")); }, "true"},
        {"EnumerateProperties", [&](F& f) { return f.EnumerateProperties()[0]; }, "Speed"},
        {"GetPropertyCount", [&](F& f) { return number(f.GetPropertyCount()); }, "18"},
        {"SetProgramLocation /p", [&](F& f) { return f.SetProgramLocation("/p"), wxString(); }, ""},
        {"GetProgramLocation", [&](F& f) { return f.GetProgramLocation(); }, "/p"},
        {"SetDataLocation /d", [&](F& f) { return f.SetDataLocation("/d"), wxString(); }, ""},
        {"GetDataLocation", [&](F& f) { return f.GetDataLocation(); }, "/d"},
        {"SetVoice Ada", [&](F& f) { return f.SetVoice(Voice("Ada")), wxString(); }, ""},
        {"GetVoice", [&](F& f) { return f.GetVoice().GetName(); }, "Ada"},
        {"GetDefaultVoice", [&](F& f) { return f.GetDefaultVoice().GetName(); }, "Default"},
        {"GetAvailableVoiceVariants", [&](F& f) { return f.GetAvailableVoiceVariants()[0]; }, "whisper"},
        {"SetVoiceVariant soft", [&](F& f) { return f.SetVoiceVariant("soft"), wxString(); }, ""},
        {"GetVoiceVariant", [&](F& f) { return f.GetVoiceVariant(); }, "soft"},
        {"GetDefaultVoiceVariant", [&](F& f) { return f.GetDefaultVoiceVariant(); }, "None"},
        {"SetSpeed 100 1", [&](F& f) { return f.SetSpeed(100, wxTTS_QUANTITY_PERCENT), wxString(); }, ""},
        {"GetSpeed 0", [&](F& f) { return number(f.GetSpeed(wxTTS_QUANTITY_NATIVE)); }, "9"},
        {"SetVolume 3 0", [&](F& f) { return f.SetVolume(3, wxTTS_QUANTITY_NATIVE), wxString(); }, ""},
        {"GetVolume 1", [&](F& f) { return number(f.GetVolume(wxTTS_QUANTITY_PERCENT)); }, "33"},
        {"SetPitch 0 1", [&](F& f) { return f.SetPitch(0, wxTTS_QUANTITY_PERCENT), wxString(); }, ""},
        {"GetPitch 0", [&](F& f) { return number(f.GetPitch(wxTTS_QUANTITY_NATIVE)); }, "-20"},
        {"SetProperty(int) Priority 5", [&](F& f) { return f.SetPriority(5), wxString(); }, ""},
        {"GetPropertyLong Priority", [&](F& f) { return number(f.GetPriority()); }, "5"},
    };
    wxTextToSpeech front;
    RecordingHandler* const handler = new RecordingHandler;
    handler->speaking = handler->paused = true;
    handler->lastCommand = "last command";
    handler->SetLastError("last error");
    handler->voices = {Voice("Default")};
    handler->variants.Add("whisper");
    front.AddHandler(handler);
    front.SetCurrentHandler(handler);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.call);
        handler->calls->clear();
        EXPECT_EQ(row.act(front), row.answer);
        ASSERT_FALSE(handler->calls->empty());
        EXPECT_EQ(handler->calls->front(), row.call);
    }
    handler->answer = false;
    EXPECT_FALSE(front.Speak("", 0, "") || front.SpeakFile("", 0, "") || front.Stop() || front.Pause() ||
                 front.Resume() || front.Skip(0, wxTTS_SKIP_WORD) || front.CanSkip() || front.ProcessInput());
}

TEST(FrontObject, PlayingAndPausingFollowTheStateOfTheEngine)
{
    struct Row {
        bool speaking, paused, canPause;
        bool playing, pausable;
    };
    const Row rows[] = {
        {false, false, true, false, false}, {true, false, true, true, true},   {true, true, true, false, false},
        {true, false, false, true, false},  {false, true, true, false, false},
    };
    wxTextToSpeech front;
    RecordingHandler* const handler = new RecordingHandler;
    front.AddHandler(handler);
    front.SetCurrentHandler(handler);
    for (const Row& row : rows) {
        handler->speaking = row.speaking;
        handler->paused = row.paused;
        handler->capabilities.clear();
        if (row.canPause)
            handler->capabilities.push_back(wxTTS_CAP_PAUSE);
        EXPECT_EQ(front.IsPlaying(), row.playing);
        EXPECT_EQ(front.CanPause(), row.pausable);
    }
}

TEST(FrontObject, AddHandlerTakesEachIdOnceAndMakesNothingCurrent)
{
    wxTextToSpeech front;
    RecordingHandler* const first = new RecordingHandler("one");
    RecordingHandler twin("one");
    EXPECT_TRUE(front.AddHandler(first));
    EXPECT_FALSE(front.AddHandler(&twin));
    EXPECT_FALSE(front.AddHandler(nullptr));
    EXPECT_TRUE(front.AddHandler(new RecordingHandler("One"))) << "ids have case";
    EXPECT_EQ(front.GetHandlerCount(), 2);
    EXPECT_EQ(first->GetTextToSpeechObject(), &front);
    EXPECT_EQ(twin.GetTextToSpeechObject(), nullptr);
    EXPECT_EQ(front.GetCurrentHandler(), nullptr);
    EXPECT_EQ(front.GetHandler(0), first);
    EXPECT_EQ(front.FindHandler("one"), first);
    EXPECT_EQ(front.FindHandler("ONE"), nullptr);
    EXPECT_FALSE(front.Speak("", 0, ""));
    ASSERT_TRUE(front.SetEngine("one"));
    EXPECT_TRUE(front.Speak("", 0, ""));
}

TEST(FrontObject, ListsEnginesInOrder)
{
    wxTextToSpeech front;
    front.AddHandler(new RecordingHandler("b", "Second letter"));
    front.AddHandler(new RecordingHandler("a", "First letter"));
    front.GetHandler(1)->SetDescription("described");
    EXPECT_EQ(wxJoin(front.GetEngineIds(), ','), "b,a");
    EXPECT_EQ(wxJoin(front.GetEngineDisplayNames(), ','), "Second letter,First letter");
    EXPECT_EQ(wxJoin(front.GetEngineDescriptions(), ','), ",described");
}

TEST(FrontObject, SetEngineStartsTheEngineEveryTime)
{
    wxTextToSpeech front;
    RecordingHandler* const one = new RecordingHandler("one");
    RecordingHandler* const two = new RecordingHandler("two");
    front.AddHandler(one);
    front.AddHandler(two);
    EXPECT_TRUE(front.SetEngine("one"));
    EXPECT_TRUE(front.SetEngine("one"));
    EXPECT_EQ(one->CountOf("Initialize"), 2);
    one->calls->clear();

    LogCapture log;
    two->initializes = false;
    EXPECT_FALSE(front.SetEngine("two"));
    EXPECT_EQ(front.GetEngine(), "one");
    ASSERT_EQ(log.records.size(), 1u);
    EXPECT_EQ(log.records[0].text, "Could not initialize two.");
    EXPECT_EQ(log.records[0].level, static_cast<wxLogLevel>(wxLOG_Message));
    EXPECT_EQ(log.records[0].function, "wxTextToSpeech::SetEngine");

    EXPECT_FALSE(front.SetEngine("Two"));
    EXPECT_EQ(log.records.size(), 1u) << "an unknown id is no news";
    two->initializes = true;
    EXPECT_TRUE(front.SetEngine("two"));
    EXPECT_EQ(front.GetEngine(), "two");
    EXPECT_TRUE(one->calls->empty()) << "speech of the earlier engine goes on";
}

TEST(FrontObject, RemoveHandlerMakesFirstRemainingCurrent)
{
    wxTextToSpeech front;
    RecordingHandler* const one = new RecordingHandler("one");
    RecordingHandler* const two = new RecordingHandler("two");
    RecordingHandler* const three = new RecordingHandler("three");
    for (RecordingHandler* handler : {one, two, three})
        front.AddHandler(handler);
    front.SetCurrentHandler(two);
    one->initializes = false;

    EXPECT_TRUE(front.RemoveHandler(nullptr));
    RecordingHandler stranger("stranger");
    EXPECT_FALSE(front.RemoveHandler(&stranger));
    const std::unique_ptr<RecordingHandler> removedThree(three);
    EXPECT_TRUE(front.RemoveHandler(three));
    EXPECT_EQ(front.GetCurrentHandler(), two);
    EXPECT_EQ(one->CountOf("Initialize"), 0);

    const std::unique_ptr<RecordingHandler> removedTwo(two);
    EXPECT_TRUE(front.RemoveHandler(two));
    EXPECT_EQ(front.GetCurrentHandler(), one) << "whether it starts or not";
    EXPECT_EQ(one->CountOf("Initialize"), 1);
    EXPECT_EQ(two->CountOf("delete"), 0);
    EXPECT_EQ(two->GetTransformer(), nullptr) << "it has no owner any more";

    RecordingHandler twin("one");
    const std::unique_ptr<RecordingHandler> removedOne(one);
    EXPECT_TRUE(front.RemoveHandler(&twin)) << "found by id";
    EXPECT_EQ(front.GetCurrentHandler(), nullptr);
    EXPECT_EQ(front.GetHandlerCount(), 0);
}

TEST(FrontObject, ClearHandlersUninitialisesAllBeforeItDeletesAny)
{
    const auto calls = std::make_shared<RecordingHandler::Calls>();
    {
        wxTextToSpeech front;
        for (const char* id : {"one", "two"}) {
            RecordingHandler* const handler = new RecordingHandler(id);
            handler->calls = calls;
            front.AddHandler(handler);
        }
        front.SetCurrentHandler(front.GetHandler(1));
        front.ClearHandlers();
        EXPECT_EQ(front.GetHandlerCount(), 0);
        EXPECT_EQ(front.GetCurrentHandler(), nullptr);
        EXPECT_EQ(*calls, (RecordingHandler::Calls{"Uninitialize", "Uninitialize", "delete", "delete"}));

        RecordingHandler* const again = new RecordingHandler("three");
        again->calls = calls;
        calls->clear();
        front.AddHandler(again);
    }
    EXPECT_EQ(*calls, (RecordingHandler::Calls{"Uninitialize", "delete"})) << "by the destructor";
}

TEST(FrontObject, CollectsTheVoicesOfAllEngines)
{
    wxTextToSpeech front;
    RecordingHandler* const one = new RecordingHandler("one");
    RecordingHandler* const two = new RecordingHandler("two");
    one->voices = {Voice("a"), Voice("b")};
    two->voices = {Voice("a")};
    front.AddHandler(one);
    front.AddHandler(new RecordingHandler("none"));
    front.AddHandler(two);
    const std::vector<QXTTSVoiceInfo> expected = {Voice("a"), Voice("b"), Voice("a")};
    EXPECT_EQ(front.GetAvailableVoices(), expected);
}

TEST(FrontObject, InitKeepsTheListAndErrorCodeIsTheCallers)
{
    wxTextToSpeech front;
    RecordingHandler* const handler = new RecordingHandler;
    front.AddHandler(handler);
    front.SetCurrentHandler(handler);
    front.SetErrorCode(7);
    EXPECT_EQ(front.GetErrorCode(), 7);
    front.Init();
    EXPECT_EQ(front.GetErrorCode(), 0);
    EXPECT_EQ(front.GetCurrentHandler(), nullptr);
    EXPECT_EQ(front.GetHandlerCount(), 1);
    QXTTSVoiceInfo voice = Voice("x");
    EXPECT_TRUE(front.ValidateVoice(voice));
    EXPECT_EQ(voice, Voice("x"));
}

TEST(FrontObject, IsMadeByItsClassName)
{
    const std::unique_ptr<wxObject> made(wxCreateDynamicObject("wxTextToSpeech"));
    wxTextToSpeech* const front = wxDynamicCast(made.get(), wxTextToSpeech);
    ASSERT_NE(front, nullptr);
    EXPECT_EQ(front->GetHandlerCount(), 0);
    EXPECT_NE(wxDynamicCast(front, wxEvtHandler), nullptr);
}

TEST(FrontObject, AppendPathsLooksAtTheJointOnly)
{
    const wxString rows[][3] = {
        {"a", "b", "a/b"},    {"a/", "b", "a/b"},   {"a", "/b", "a/b"},     {"a/", "/b", "a//b"},
        {"a\\", "b", "a\\b"}, {"a", "\\b", "a\\b"}, {"a\\", "/b", "a\\/b"}, {"", "f", "/f"},
        {"a", "", "a/"},      {"a/", "", "a/"},     {"", "/f", "/f"},       {"", "", "/"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(wxTextToSpeech::AppendPaths(row[0], row[1], "/"), row[2]) << row[0] << " and " << row[1];
    EXPECT_EQ(wxTextToSpeech::AppendPaths("a", "b", "::"), "a::b");
}

TEST(FrontObject, StripExtensionCutsAnExtensionThatIsAsked)
{
    struct Row {
        const char* name;
        const char* extensions;
        bool result;
        const char* stripped;
    };
    const Row rows[] = {
        {"book.txt", "", true, "book"},
        {"book.txt", "htm txt", true, "book"},
        {"book.txt", "htmtxtxml", true, "book"},
        {"book.txt", "htm", false, "book.txt"},
        {"book.txt", "TXT", false, "book.txt"},
        {"book", "", false, "book"},
        {"book", "txt", false, "book"},
        {"dir.d/book", "", false, "dir.d/book"},
        {"dir.d/book.tar.gz", "", true, "dir.d/book.tar"},
        {"book.", "", false, "book."},
        {"", "", false, ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        wxString name = row.name;
        EXPECT_EQ(wxTextToSpeech::StripExtension(name, row.extensions), row.result);
        EXPECT_EQ(name, row.stripped);
    }
}

TEST(FrontObject, FindsTheEncodingInTheFirst400Bytes)
{
    const std::string pad(400, ' ');
    struct Row {
        const char* label;
        std::string bytes;
        const char* html;
        const char* xml;
        bool isXml;
    };
    const Row rows[] = {
        {"empty", "", "", "", false},
        {"meta", "<meta content=\"text/html; charset=utf-8\">", "utf-8", "", false},
        {"quote at once", "<meta charset=\"utf-8\">", "", "", false},
        {"semicolon", "charset=koi8-r;x", "koi8-r", "", false},
        {"to the end", "charset=koi8-r", "koi8-r", "", false},
        {"with case", "Charset=koi8-r Encoding=\"x\" <?XML", "", "", false},
        {"declaration", "<?xml version=\"1.0\" encoding=\"UTF-16\"?>", "", "UTF-16", true},
        {"single quotes run on", "<?xml encoding='x'?>\n<a b", "", "x'?>\n<a", true},
        {"nothing behind", "encoding=", "", "", false},
        {"only a quote behind", "encoding=\"", "", "", false},
        {"byte order mark and text in front", "\xef\xbb\xbf x <?xml?>", "", "", true},
        {"marker ends at byte 400", pad.substr(0, 391) + "charset=x" + "y", "x", "", false},
        {"marker crosses byte 400", pad.substr(0, 392) + "charset=utf-8", "", "", false},
        {"beyond", pad + "charset=utf-8 encoding=\"x\" <?xml", "", "", false},
        {"behind a zero byte", std::string("a\0charset=utf-8 encoding=\"x\" <?xml", 34), "", "", false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.label);
        const ScratchFile file(row.bytes);
        EXPECT_EQ(wxTextToSpeech::FindHtmlEncoding(file.Path()), row.html);
        EXPECT_EQ(wxTextToSpeech::FindXmlEncoding(file.Path()), row.xml);
        EXPECT_EQ(wxTextToSpeech::IsXmlFile(file.Path()), row.isXml);
    }
    const ScratchFile latin("charset=caf\xe9 ");
    EXPECT_EQ(wxTextToSpeech::FindHtmlEncoding(latin.Path()), wxString::FromUTF8("caf\xc3\xa9"));
}

TEST(FrontObject, ProbesAnswerEmptyForWhatCannotBeRead)
{
    LogCapture log;
    for (const wxString& name : {wxString("/no/such/file"), wxFileName::GetTempDir(), wxString()}) {
        EXPECT_EQ(wxTextToSpeech::FindHtmlEncoding(name), "");
        EXPECT_EQ(wxTextToSpeech::FindXmlEncoding(name), "");
        EXPECT_FALSE(wxTextToSpeech::IsXmlFile(name));
    }
    EXPECT_TRUE(log.records.empty());
}

TEST(FrontObject, IsXmlStringFindsTheDeclarationAnywhere)
{
    EXPECT_TRUE(wxTextToSpeech::IsXmlString(wxString::FromUTF8("\xc3\xa9 <?xml version")));
    EXPECT_FALSE(wxTextToSpeech::IsXmlString("<?XML version"));
    EXPECT_FALSE(wxTextToSpeech::IsXmlString(""));
}

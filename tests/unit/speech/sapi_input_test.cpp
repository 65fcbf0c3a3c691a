// What the local engine makes of its input forms with a transformer, on a scripted voice. MIT licence.
#include "speech/tts_sapi.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <wx/log.h>

#include "speech/qxtexttospeech.h"
#include "speech/texttospeech.h"
#include "speech/ttstransformer.h"
#include "support/filled_pipe.h"
#include "support/scratch_dir.h"
#include "support/scripted_voice.h"

namespace
{

namespace fs = std::filesystem;

const std::string kHead = "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<sapi>\n";
const std::string kTail = "\n</sapi>\n";
const std::string kQuoted = "\xE2\x80\x9C"
                            "cat\xE2\x80\x9D";

std::string g_folder;
int g_count = 0;

wxString MakeTempName(const wxString& prefix)
{
    return wxString::FromUTF8(g_folder.c_str()) + "/" + prefix + wxString::Format("%d", ++g_count);
}

// A started handler whose front object has a transformer that knows "cat".
struct SapiInput : testing::Test {
    void SetUp() override
    {
        fs::create_directory(dir / "temp");
        g_folder = dir / "temp";
        QXTextToSpeech::SetTempFileFunction(&MakeTempName);
        transformer.AddString("cat", "feline");
        handler = new wxTTSSapiHandler; // the front object takes it over
        ASSERT_TRUE(handler->Initialize());
        front.AddHandler(handler);
        front.SetCurrentHandler(handler);
        front.SetTransformer(&transformer);
    }
    void TearDown() override
    {
        front.ClearHandlers();
        QXTextToSpeech::SetTempFileFunction(nullptr);
        EXPECT_TRUE(fs::is_empty(dir / "temp"));
    }
    // The text and the flags of the voice's one speak call.
    std::string Spoken()
    {
        const std::vector<std::string> calls = speech.TakeCalls();
        const std::string call = calls.empty() ? std::string() : calls.back();
        return call.compare(0, 6, "Speak ") == 0 ? call.substr(6) : "(nothing)";
    }
    // Speaks a file that holds this; what the voice would find in the file it is told, and the flags.
    std::string SpokenFile(const std::string& bytes, int options = 0)
    {
        std::ofstream(dir / "in", std::ios::binary) << bytes;
        return SpokenFileNamed(wxString::FromUTF8(dir / "in"), options);
    }
    std::string SpokenFileNamed(const wxString& name, int options = 0)
    {
        EXPECT_TRUE(front.SpeakFile(name, options, ""));
        const std::string call = Spoken();
        const size_t blank = call.rfind(' ');
        EXPECT_EQ(fs::path(call.substr(0, blank)).parent_path(), dir / "temp");
        std::ifstream file(call.substr(0, blank), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {}) + call.substr(blank);
    }
    size_t TempFiles() const
    {
        return static_cast<size_t>(std::distance(fs::directory_iterator(g_folder), fs::directory_iterator()));
    }

    ScratchDir dir;
    ScriptedSpeech speech;
    wxTTSTransformer transformer;
    wxTextToSpeech front;
    wxTTSSapiHandler* handler = nullptr; // owned by the front object
};

} // namespace

TEST_F(SapiInput, FilesAreConvertedByTheirForm)
{
    const struct {
        const char* format;
        std::string given;
        std::string spoken;
    } rows[] = {
        {"HTML", "<title>T</title><h1>Cat</h1><ol><li>x</li></ol>", kHead + "\nfeline.\n\n1. x" + kTail + " 6"},
        {"HTML", "<?xml ?><p>x", kHead + "\nx" + kTail + " 6"},
        {"SSML", "<speak>cat &amp; <p>x</p></speak>", kHead + "feline &amp; \nx\n" + kTail + " 6"},
        {"Native", "<?xml ?><sapi>cat</sapi>", "<?xml ?><sapi>feline</sapi>\n 14"},
        {"Native", "<sapi>cat</sapi>", "<sapi>feline</sapi>\n 6"},
        {"Native", "<?xml ?>dog", "<?xml ?>dog 14"},
        {"Text", "cat & <b>\n", kHead + "feline & <b>\n" + kTail + " 6"},
        {"Text", "<?xml ?>dog\n", kHead + "<?xml ?>dog\n" + kTail + " 6"},
        {"html", "<p>cat</p>\n", kHead + "<p>feline</p>\n" + kTail + " 6"},
        {"", "dog\n", kHead + "dog\n" + kTail + " 6"},
    };
    for (const auto& row : rows) {
        handler->SetProperty("Input format", row.format);
        EXPECT_EQ(SpokenFile(row.given), row.spoken) << row.format << ": " << row.given;
    }
}

TEST_F(SapiInput, APipeOfTheEnginesOwnFormIsReadOnce)
{
    handler->SetProperty("Input format", "Native");
    EXPECT_EQ(SpokenFileNamed(FilledPipe("<?xml ?><sapi>cat</sapi>").Name()), "<?xml ?><sapi>feline</sapi>\n 14");
    front.SetTransformer(nullptr);
    EXPECT_TRUE(front.SpeakFile(FilledPipe("<?xml ?><sapi>cat</sapi>").Name(), 0, ""));
    EXPECT_EQ(Spoken(), "<?xml ?><sapi>cat</sapi> 10");
}

TEST_F(SapiInput, StringsGoThroughTheDictionaryAlone)
{
    const std::string head = "<speak version=\"1.0\" xmlns:ssml=\"http://www.w3.org/2001/10/synthesis\" xml:lang=\"";
    const struct {
        const char* format;
        const char* given;
        std::string spoken;
    } rows[] = {
        {"HTML", "<h1>Cat</h1>", "<h1>feline</h1> 2"},
        {"SSML", " cat", head + "en-US\">feline</speak> 2"},
        {"SSML", "<speak>cat</speak>", "<speak>feline</speak> 2"},
        {"Native", "<?xml ?><sapi>cat</sapi>", "<?xml ?><sapi>feline</sapi> 10"},
        {"Native", "cat", "feline 2"},
        {"Text", "<b>cat & dog", "<b>feline & dog 2"},
    };
    for (const auto& row : rows) {
        handler->SetProperty("Input format", row.format);
        EXPECT_TRUE(front.Speak(row.given, 0, ""));
        EXPECT_EQ(Spoken(), row.spoken) << row.format << ": " << row.given;
        EXPECT_EQ(TempFiles(), 0u);
    }
}

TEST_F(SapiInput, OnlyFilesObeyTheTwoPropertiesOfPreparation)
{
    handler->SetProperty("No pronunciation substitutions", true);
    handler->SetProperty("Simplify punctuation", true);
    EXPECT_EQ(SpokenFile(kQuoted), kHead + "\"cat\"\n" + kTail + " 6");
    EXPECT_TRUE(front.Speak(wxString::FromUTF8(kQuoted), 0, ""));
    EXPECT_EQ(Spoken(), "\xE2\x80\x9C"
                        "feline\xE2\x80\x9D 2");
    handler->SetProperty("Input format", "HTML");
    EXPECT_EQ(SpokenFile("<b>" + kQuoted + "</b>"), kHead + "\"cat\"" + kTail + " 6");
    handler->SetProperty("Input format", "Native");
    EXPECT_EQ(SpokenFile(kQuoted), kQuoted + " 6") << "the engine's own form is left alone";
}

TEST_F(SapiInput, SpeakOptionsReachTheVoiceWithTheFile)
{
    handler->SetProperty("Input format", "Native");
    const struct {
        int options;
        const char* flags;
    } rows[] = {{0, " 14"},
                {wxTTS_SPEAK_ASYNC, " 15"},
                {wxTTS_SPEAK_WAIT, " 15"},
                {wxTTS_SPEAK_CLOSE_OUTPUT, " 14"},
                {wxTTS_SPEAK_ASYNC | wxTTS_SPEAK_CLOSE_OUTPUT, " 15"}};
    for (const auto& row : rows)
        EXPECT_EQ(SpokenFile("<?xml ?>x", row.options), std::string("<?xml ?>x") + row.flags) << row.options;
}

TEST_F(SapiInput, TemporaryFileLivesUntilTheNextSpeakCall)
{
    SpokenFile("one");
    EXPECT_EQ(TempFiles(), 1u);
    front.Stop();
    EXPECT_EQ(TempFiles(), 1u) << "a voice may still read it";
    SpokenFile("two");
    EXPECT_EQ(TempFiles(), 1u);
    EXPECT_TRUE(front.Speak("three", 0, ""));
    EXPECT_EQ(TempFiles(), 0u);
}

TEST_F(SapiInput, FailedSpeechKeepsItsFileUntilTheNextCall)
{
    speech.Answer("Speak", {E_FAIL});
    std::ofstream(dir / "in") << "one";
    const wxLogNull quiet;
    EXPECT_FALSE(front.SpeakFile(wxString::FromUTF8(dir / "in"), 0, ""));
    EXPECT_EQ(TempFiles(), 1u);
    EXPECT_TRUE(front.Speak("two", 0, ""));
    EXPECT_EQ(TempFiles(), 0u);
}

TEST_F(SapiInput, UninitializeRemovesTheTemporaryFile)
{
    SpokenFile("one");
    EXPECT_TRUE(handler->Uninitialize());
    EXPECT_EQ(TempFiles(), 0u);
    EXPECT_TRUE(fs::exists(dir / "in")) << "the host's own file stays";
}

TEST_F(SapiInput, WithoutATransformerTheHostsFileIsSpokenAndStays)
{
    front.SetTransformer(nullptr);
    handler->SetProperty("Input format", "HTML");
    std::ofstream(dir / "in") << "<p>cat";
    EXPECT_TRUE(front.SpeakFile(wxString::FromUTF8(dir / "in"), 0, ""));
    EXPECT_EQ(Spoken(), (dir / "in") + " 6");
    EXPECT_TRUE(handler->Uninitialize());
    EXPECT_TRUE(fs::exists(dir / "in"));
}

TEST_F(SapiInput, WithoutAMakerOfTemporaryFilesTheVoiceGetsNoName)
{
    QXTextToSpeech::SetTempFileFunction(nullptr);
    std::ofstream(dir / "in") << "cat";
    EXPECT_TRUE(front.SpeakFile(wxString::FromUTF8(dir / "in"), 0, ""));
    EXPECT_EQ(Spoken(), " 6");
    EXPECT_TRUE(fs::exists(dir / "in"));
}

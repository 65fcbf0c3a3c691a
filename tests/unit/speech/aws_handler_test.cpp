// The Polly engine up to its requests: contract, bodies, error texts, the way of a speak call. MIT licence.
#include "speech/tts_awsapi.h"

#include <fstream>
#include <wx/app.h>

#include "core/qxtempfile.h"
#include "support/handler_contract.h"
#include "support/scoped_translation.h"
#include "support/scratch_dir.h"
#include "json/jsondocument.h"

namespace
{

HandlerContract PollyContract()
{
    HandlerContract contract;
    contract.name = "Polly";
    contract.make = [] { return new wxTTSAWSHandler; };
    contract.id = "Amazon Polly";
    contract.className = "wxTTSAWSHandler";
    contract.speed = {0, 9, 4};
    contract.volume = {0, 9, 7};
    contract.pitch = {0, 9, 4};
    contract.capabilities = {3, 5, 10, 11};
    contract.fetchesVoices = true;
    return contract;
}

// Keeps what it is asked for in place of asking the service.
class Recorder : public wxTTSAWSHandler
{
public:
    bool GetSpeech(const AWSSpeechParams& params, const wxString& path) override
    {
        asked.push_back({params, path});
        return succeeds;
    }
    bool Stop() override
    {
        ++stops;
        return wxTTSAWSHandler::Stop();
    }

    struct Asked {
        AWSSpeechParams params;
        wxString path;
    };
    std::vector<Asked> asked;
    int stops = 0;
    bool succeeds = true;
};

wxString Member(const wxString& json, const wxString& key)
{
    wxJSONDocument document;
    wxJSONValue& body = document.Parse(json);
    return body.HasMember(key) ? body[key].AsString() : "(none)";
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Engines, HandlerContractTest, testing::Values(PollyContract()), HandlerContractName);

TEST(PollyHandler, RatesReadBackTruncated)
{
    const wxTTSAWSHandler handler;
    EXPECT_EQ(handler.GetSpeed(wxTTS_QUANTITY_PERCENT), 44);
    EXPECT_EQ(handler.GetVolume(wxTTS_QUANTITY_PERCENT), 77);
}

TEST(PollyHandler, BodyHoldsTheCleanedText)
{
    const struct {
        const char* label;
        const char* type;
        const wchar_t* text;
        const wchar_t* sent;
    } rows[] = {
        {"plain", "text", L"hello", L"hello"},
        {"white space round it", "text", L" \t\r\nhel lo\n ", L"hel lo"},
        {"no-break spaces", "text",
         L"\x00a0"
         L"a\x00a0"
         L"b\x00a0",
         L"a b"},
        {"group separators", "text",
         L"a\x1d"
         L"b\x1d",
         L"ab"},
        {"markup as text", "text", L"<b>a</b>", L"<b>a</b>"},
        {"markup without its root", "ssml", L" a <break/> b ", L"<speak>a <break/> b</speak>"},
        {"markup with its root", "ssml", L"<speak>a</speak>", L"<speak>a</speak>"},
        {"root anywhere", "ssml", L"a <speak", L"a <speak"},
        {"root in upper case", "ssml", L"<SPEAK>a</SPEAK>", L"<speak><SPEAK>a</SPEAK></speak>"},
        {"quotes and beyond ASCII", "text", L"\"\x00e9\\\x20ac", L"\"\x00e9\\\x20ac"},
        {"empty", "text", L"", L""},
    };
    for (const auto& row : rows) {
        AWSSpeechParams params;
        params.Text = row.text;
        params.TextType = row.type;
        const wxString body = wxTTSAWSHandler::CreateRequestBody(params);
        EXPECT_EQ(Member(body, "Text"), row.sent) << row.label;
        EXPECT_EQ(Member(body, "TextType"), row.type) << row.label;
    }
}

TEST(PollyHandler, BodyHasAllMembersAndTheSampleRateIfThereIsOne)
{
    AWSSpeechParams params = {"neural", "en-US", "mp3", "", "a", "text", "Joanna"};
    wxJSONDocument document;
    EXPECT_EQ(document.Parse(wxTTSAWSHandler::CreateRequestBody(params)).Size(), 6);
    params.SampleRate = "22050";
    const wxString body = wxTTSAWSHandler::CreateRequestBody(params);
    EXPECT_NE(body.find("\"SampleRate\":\"22050\""), wxString::npos) << "a string";
    EXPECT_EQ(Member(body, "Engine"), "neural");
    EXPECT_EQ(Member(body, "LanguageCode"), "en-US");
    EXPECT_EQ(Member(body, "OutputFormat"), "mp3");
    EXPECT_EQ(Member(body, "VoiceId"), "Joanna");
}

TEST(PollyHandler, KnownErrorsHaveATextAndOthersTheirName)
{
    const std::map<std::string, std::string> texts = {
        {"The Secret Key is invalid.", "Der geheime Schl\xc3\xbcssel gilt nicht."}};
    const ScopedTranslation german(texts);
    EXPECT_EQ(wxTTSAWSHandler::ErrorTypeToMessage("UnrecognizedClientException"), "The Access Key is invalid.");
    EXPECT_EQ(wxTTSAWSHandler::ErrorTypeToMessage("InvalidSignatureException"),
              wxString::FromUTF8("Der geheime Schl\xc3\xbcssel gilt nicht."));
    for (const char* type : {"invalidsignatureexception", "ThrottlingException", ":x", ""})
        EXPECT_EQ(wxTTSAWSHandler::ErrorTypeToMessage(type), type);
}

TEST(PollyHandler, SpeakCallAsksForWhatVoiceAndPropertiesSay)
{
    Recorder handler;
    QXTTSVoiceInfo voice;
    voice.SetId("Joanna");
    voice.SetLangCode("en-US");
    voice.SetEngine("neural");
    handler.SetVoice(voice);
    for (const char* format : {"Text", "SSML", "HTML", "ssml"}) {
        handler.SetProperty("Input format", wxString(format));
        EXPECT_TRUE(handler.Speak("text", 5, "/some/file.mp3"));
    }
    ASSERT_EQ(handler.asked.size(), 4u);
    EXPECT_EQ(handler.stops, 4);
    EXPECT_EQ(handler.GetOptions(), 5);
    const AWSSpeechParams& params = handler.asked[0].params;
    EXPECT_EQ(params.Engine + "," + params.LanguageCode + "," + params.OutputFormat + "," + params.SampleRate + "," +
                  params.Text + "," + params.TextType + "," + params.VoiceId,
              "neural,en-US,mp3,,text,text,Joanna");
    EXPECT_EQ(handler.asked[0].path, "/some/file.mp3");
    EXPECT_EQ(handler.asked[1].params.TextType, "ssml");
    EXPECT_EQ(handler.asked[2].params.TextType, "text");
    EXPECT_EQ(handler.asked[3].params.TextType, "text");
}

TEST(PollyHandler, FileIsReadBeforeAnythingIsAskedFor)
{
    const ScratchDir folder;
    std::ofstream(folder / "in.txt") << "\xef\xbb\xbf"
                                        "caf\xc3\xa9\n";
    Recorder handler;
    EXPECT_TRUE(handler.SpeakFile(wxString::FromUTF8(folder / "in.txt"), 0, "out.mp3"));
    ASSERT_EQ(handler.asked.size(), 1u);
    EXPECT_EQ(handler.asked[0].params.Text, wxString::FromUTF8("caf\xc3\xa9"));
    EXPECT_FALSE(handler.SpeakFile(wxString::FromUTF8(folder / "missing.txt"), 0, "out.mp3"));
    EXPECT_EQ(handler.asked.size(), 1u);
    EXPECT_EQ(handler.stops, 2);
    EXPECT_EQ(handler.GetLastErrorMessage(), "Could not read file.");
}

TEST(PollyHandler, EachSpokenCallHasATemporaryFileOfItsOwn)
{
    const ScratchDir folder;
    QXSingleton<QXTempFileMan>::Get()->SetTempDir(wxString::FromUTF8(folder / "temp"));
    Recorder handler;
    handler.succeeds = false;
    EXPECT_FALSE(handler.Speak("a", 0, ""));
    EXPECT_FALSE(handler.Speak("b", 0, ""));
    QXTempFileMan::DestroyInstance();
    ASSERT_EQ(handler.asked.size(), 2u);
    EXPECT_TRUE(handler.asked[0].path.StartsWith(wxString::FromUTF8(folder / "temp/qx_")));
    EXPECT_TRUE(handler.asked[0].path.EndsWith(".mp3"));
    EXPECT_NE(handler.asked[0].path, handler.asked[1].path);

    wxAppConsole* const app = wxAppConsole::GetInstance();
    wxAppConsole::SetInstance(nullptr); // nobody tells the folder
    EXPECT_FALSE(handler.Speak("c", 0, ""));
    wxAppConsole::SetInstance(app);
    EXPECT_EQ(handler.GetLastErrorMessage(), "No temporary file can be made.");
    EXPECT_EQ(handler.asked.size(), 2u);
}

TEST(PollyHandler, UninitializeStopsOnlyWhatWasInitialized)
{
    Recorder handler;
    handler.Uninitialize();
    EXPECT_EQ(handler.stops, 0);
    handler.Initialize();
    handler.Uninitialize();
    EXPECT_EQ(handler.stops, 1);
    EXPECT_TRUE(handler.Stop());
    EXPECT_TRUE(handler.Skip(1, wxTTS_SKIP_WORD));
    EXPECT_FALSE(handler.CanSkip());
}

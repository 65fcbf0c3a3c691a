// What the handler base keeps and computes. MIT licence.
#include <climits>
#include <gtest/gtest.h>
#include <wx/ffile.h>
#include <wx/filefn.h>
#include <wx/filename.h>

#include "support/handler_contract.h"
#include "support/log_capture.h"
#include "support/recording_handler.h"

INSTANTIATE_TEST_SUITE_P(OwnEngine, HandlerContractTest,
                         testing::Values(HandlerContract{"Recorder",
                                                         [] { return new RecordingHandler; },
                                                         "Recorder",
                                                         "RecordingHandler",
                                                         {0, 9, 4},
                                                         {0, 9, 7},
                                                         {-20, 20, 0},
                                                         {3, 11},
                                                         "",
                                                         false,
                                                         true}),
                         HandlerContractName);

TEST(Handler, PercentIsLinearTruncatedAndNotClamped)
{
    struct Row {
        int value, min, max, result;
    };
    const Row toNative[] = {
        {80, 0, 9, 7},
        {50, 0, 9, 4},
        {33, -10, 10, -3},
        {50, -10, 10, 0},
        {100, 25, 400, 400},
        {0, 25, 400, 25},
        {50, 25, 400, 212},
        {200, 0, 9, 18},
        {-50, -20, 20, -40},
        {1, 0, 9, 0},
        {99, 0, 4, 3},
        {42, 7, 7, 7},
        {-5, -10, 10, -11},
        {INT_MAX, 0, INT_MAX, INT_MAX},
        {100, INT_MIN, INT_MAX, INT_MAX},
    };
    for (const Row& row : toNative) {
        EXPECT_EQ(wxTTSHandler::PercentToNativeValue(row.value, row.min, row.max), row.result)
            << row.value << " percent of " << row.min << " to " << row.max;
    }
    const Row toPercent[] = {
        {7, 0, 9, 77},
        {4, 0, 9, 44},
        {0, -10, 10, 50},
        {100, 25, 400, 20},
        {18, 0, 9, 200},
        {-11, -10, 10, -5},
        {5, 5, 5, 0},
        {9, 5, 5, 0},
        {-1, 0, 400, 0},
        {INT_MAX, 0, 1, INT_MAX},
        {INT_MIN, 0, 1, INT_MIN},
        {INT_MAX, INT_MIN, INT_MAX, 100},
    };
    for (const Row& row : toPercent) {
        EXPECT_EQ(wxTTSHandler::NativeValueToPercent(row.value, row.min, row.max), row.result)
            << row.value << " in " << row.min << " to " << row.max;
    }
}

TEST(Handler, RatesAreStoredThroughTheVirtualIntegerCall)
{
    RecordingHandler handler;
    handler.SetSpeed(50, wxTTS_QUANTITY_PERCENT);
    handler.SetVolume(-3, wxTTS_QUANTITY_NATIVE);
    handler.SetPitch(90, static_cast<wxTTSQuantityType>(7));
    EXPECT_EQ(handler.CountOf("SetProperty(int) Speed 4"), 1);
    EXPECT_EQ(handler.CountOf("SetProperty(int) Volume -3"), 1);
    EXPECT_EQ(handler.CountOf("SetProperty(int) Pitch 90"), 1) << "an unknown unit is native";
    EXPECT_EQ(handler.GetVolume(wxTTS_QUANTITY_PERCENT), -33);
    EXPECT_EQ(handler.GetPitch(static_cast<wxTTSQuantityType>(7)), 90);
}

TEST(Handler, PropertyCallsStoreTheTypeTheyAreGiven)
{
    RecordingHandler handler;
    handler.SetProperty(wxVariant(2.5, "own name"));
    handler.SetProperty("int", 3);
    handler.SetProperty("long", 4L);
    handler.SetProperty("bool", true);
    handler.SetProperty("text", wxString("abc"));
    handler.SetProperty("literal", "abc");
    EXPECT_EQ(handler.GetPropertyDouble("own name"), 2.5);
    EXPECT_EQ(handler.GetPropertyLong("int") + handler.GetPropertyLong("long"), 7);
    EXPECT_EQ(handler.GetPropertyBool("bool"), 1);
    EXPECT_EQ(handler.GetPropertyString("text"), "abc");
    EXPECT_EQ(handler.GetPropertyString("literal"), "abc");
    EXPECT_TRUE(handler.HasProperty("own name"));
    EXPECT_EQ(handler.GetProperty(10).GetName(), "own name") << "appended behind the common ones";
    handler.SetDataLocation("/data");
    EXPECT_EQ(handler.GetPropertyString("Data location"), "/data");
    handler.SetProgramLocation("/program");
    EXPECT_EQ(handler.GetPropertyString("Program location"), "/program");
    handler.SetVoiceVariant("whisper");
    EXPECT_EQ(handler.GetPropertyString("Voice variant"), "whisper");
}

TEST(Handler, ChoicesAreReplacedAndSurviveAPlainSet)
{
    RecordingHandler handler;
    const wxString first[] = {"a", "b"};
    handler.SetProperty("choice", "a", wxArrayString(2, first));
    handler.SetProperty("choice", "c", wxArrayString(1, wxString("c")));
    handler.SetProperty("choice", wxString("d"));
    const wxTTSProperty property = handler.GetProperty("choice");
    EXPECT_EQ(property.GetValue(), "d");
    ASSERT_EQ(property.GetChoices().size(), 1u);
    EXPECT_EQ(property.GetChoices()[0], "c");
}

TEST(Handler, InitForgetsOptionsOwnerAndStartAlone)
{
    wxTextToSpeech front;
    RecordingHandler handler;
    handler.SetTextToSpeechObject(&front);
    handler.SetOptions(5);
    handler.SetErrorCode(6);
    handler.SetInitialized(true);
    handler.SetDescription("kept");
    handler.SetLastError("kept too");
    handler.Init();
    EXPECT_EQ(handler.GetOptions(), 0);
    EXPECT_EQ(handler.GetTextToSpeechObject(), nullptr);
    EXPECT_FALSE(handler.GetInitialized());
    EXPECT_EQ(handler.GetErrorCode(), 6);
    EXPECT_EQ(handler.GetDescription(), "kept");
    EXPECT_EQ(handler.GetLastErrorMessage(), "kept too");
    EXPECT_EQ(handler.GetId(), "Recorder");
}

TEST(Handler, TransformerIsThatOfTheOwner)
{
    wxTextToSpeech front;
    RecordingHandler handler;
    int marker = 0;
    front.SetTransformer(reinterpret_cast<wxTTSTransformer*>(&marker));
    EXPECT_EQ(handler.GetTransformer(), nullptr);
    handler.SetTextToSpeechObject(&front);
    EXPECT_EQ(handler.GetTransformer(), front.GetTransformer());
    EXPECT_EQ(handler.DoTransformation("name", 0), "name") << "no options, no transformation";
}

TEST(Handler, TemporaryInputFileGoesWithTheCallOrTheHandler)
{
    LogCapture log;
    const wxString path = wxFileName::CreateTempFileName("qxfront");
    ASSERT_TRUE(wxFileExists(path));
    {
        RecordingHandler handler;
        handler.DeleteTempFile();
        handler.SetTempInputFile(path);
        handler.DeleteTempFile();
        EXPECT_FALSE(wxFileExists(path));
        EXPECT_EQ(handler.GetTempInputFile(), "");
        handler.SetTempInputFile(path);
        handler.DeleteTempFile();
        EXPECT_EQ(handler.GetTempInputFile(), "") << "also when the file is gone";

        wxFFile(path, "w").Write("x");
        handler.SetTempInputFile(path);
    }
    EXPECT_FALSE(wxFileExists(path));
    EXPECT_TRUE(log.records.empty());
}

TEST(Handler, IsAnAbstractDynamicClass)
{
    EXPECT_FALSE(wxCLASSINFO(wxTTSHandler)->IsDynamic());
    EXPECT_TRUE(wxCLASSINFO(wxTTSHandler)->IsKindOf(wxCLASSINFO(wxEvtHandler)));
}

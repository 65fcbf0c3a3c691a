// The singleton, the process-wide instance and its statics. MIT licence.
#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "speech/qxtexttospeech.h"
#include "support/recording_handler.h"

namespace
{

class Counted : public QXSingleton<Counted>
{
public:
    static std::atomic<int> made;
    static std::atomic<int> deleted;

private:
    friend class QXSingleton<Counted>;
    Counted() { ++made; }
    ~Counted() override { ++deleted; }
};

std::atomic<int> Counted::made{0};
std::atomic<int> Counted::deleted{0};

// The statics outlive the cases, so each case starts with an empty history and no instance.
class Instance : public testing::Test
{
protected:
    void SetUp() override { Reset(); }
    void TearDown() override { Reset(); }
    static void Reset()
    {
        QXSingleton<QXTextToSpeech>::DestroyInstance();
        QXTextToSpeech::SetPrevRequestTime(std::list<wxLongLong>());
        QXTextToSpeech::SetAuthInfo(QXTTSAuthInfo());
        QXTextToSpeech::SetTempFileFunction(nullptr);
    }
};

wxString PathFor(const wxString& prefix)
{
    return "/tmp/" + prefix;
}

} // namespace

TEST(Singleton, IsBuiltOnceByManyThreadsAndAgainAfterItsEnd)
{
    Counted::DestroyInstance();
    const int before = Counted::made;
    std::atomic<bool> go{false};
    std::vector<Counted*> seen(8);
    std::vector<std::thread> threads;
    threads.reserve(seen.size());
    for (Counted*& instance : seen) {
        threads.emplace_back([&instance, &go] {
            while (!go)
                std::this_thread::yield();
            instance = Counted::Get();
        });
    }
    go = true;
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(Counted::made, before + 1);
    for (const Counted* instance : seen)
        EXPECT_EQ(instance, Counted::Get());

    Counted::DestroyInstance();
    Counted::DestroyInstance();
    EXPECT_EQ(Counted::deleted, Counted::made);
    EXPECT_NE(Counted::Get(), nullptr);
    EXPECT_EQ(Counted::made, before + 2);
    Counted::DestroyInstance();
}

TEST_F(Instance, IsOneUntilItIsDestroyed)
{
    QXTextToSpeech* const instance = QXSingleton<QXTextToSpeech>::Get();
    EXPECT_EQ(QXTextToSpeech::Get(), instance);
    instance->GetEngine().SetErrorCode(5);
    QXTextToSpeech::DestroyInstance();
    EXPECT_EQ(QXTextToSpeech::Get()->GetEngine().GetErrorCode(), 0) << "a new one";
}

TEST_F(Instance, StartsWithTheEnginesInOrderTheLocalOneCurrentAndInItsDefaults)
{
    wxTextToSpeech& front = QXTextToSpeech::Get()->GetEngine();
    EXPECT_EQ(wxJoin(front.GetEngineIds(), ','), "Microsoft SAPI,Amazon Polly,Google Cloud,Microsoft Azure");
    EXPECT_EQ(front.GetEngine(), "Microsoft SAPI");
    EXPECT_EQ(front.GetPropertyString("Input format"), "Text");
    EXPECT_EQ(front.GetPropertyBool("Simplify punctuation"), 0);
    front.SetPriority(4);
    QXTextToSpeech::DestroyInstance();
    EXPECT_EQ(QXTextToSpeech::Get()->GetEngine().GetPriority(), 0) << "new handlers";
}

TEST_F(Instance, TakesAHostsOwnEngine)
{
    wxTextToSpeech& front = QXTextToSpeech::Get()->GetEngine();
    RecordingHandler* const handler = new RecordingHandler;
    const auto calls = handler->calls;
    ASSERT_TRUE(front.AddHandler(handler));
    ASSERT_TRUE(front.SetEngine("Recorder"));
    EXPECT_TRUE(front.Speak("text", 0, ""));
    QXTextToSpeech::DestroyInstance();
    EXPECT_EQ(calls->back(), "delete");
}

TEST_F(Instance, KeepsTheRequestHistoryOfTheLimitedEngine)
{
    {
        wxTextToSpeech front;
        RecordingHandler* const azure = new RecordingHandler("Microsoft Azure");
        RecordingHandler* const other = new RecordingHandler("Amazon Polly");
        azure->requestTimes = {10, 20};
        other->requestTimes = {30};
        const auto calls = azure->calls;
        front.AddHandler(azure);
        front.AddHandler(other);
        front.ClearHandlers();
        EXPECT_EQ(*calls, (RecordingHandler::Calls{"GetPrevRequestTime", "Uninitialize", "delete"}));
    }
    EXPECT_EQ(QXTextToSpeech::GetPrevRequestTime(), "10;20");
}

TEST_F(Instance, HandsTheHistoryToItsLimitedEngineAndTakesItBack)
{
    QXTextToSpeech::SetPrevRequestTime(wxString("5;6"));
    wxTextToSpeech& front = QXTextToSpeech::Get()->GetEngine();
    wxTTSHandler* const azure = front.FindHandler("Microsoft Azure");
    ASSERT_NE(azure, nullptr);
    EXPECT_EQ(azure->GetPrevRequestTime(), (std::list<wxLongLong>{5, 6}));
    QXTextToSpeech::SetPrevRequestTime(wxString("7"));
    EXPECT_EQ(azure->GetPrevRequestTime().size(), 2u) << "for the next instance";
    azure->SetPrevRequestTime({6, 8});
    QXTextToSpeech::DestroyInstance();
    EXPECT_EQ(QXTextToSpeech::GetPrevRequestTime(), "6;8");
}

TEST_F(Instance, RequestTimesAreDecimalNumbersJoinedBySemicolons)
{
    struct Row {
        std::vector<const char*> given;
        const char* result;
    };
    const Row rows[] = {
        {{}, ""},
        {{""}, ""},
        {{"1;2;3"}, "1;2;3"},
        {{"1;x;3"}, "1;3"},
        {{"1", "1"}, "1;1"},
        {{"5", ""}, "5"},
        {{";;7;"}, "7"},
        {{"1795000000123;-4"}, "1795000000123;-4"},
        {{"1,2;3.5;4 5;0x10;6"}, "6"},
        {{"99999999999999999999;8"}, "8"},
    };
    for (const Row& row : rows) {
        QXTextToSpeech::SetPrevRequestTime(std::list<wxLongLong>());
        for (const char* text : row.given)
            QXTextToSpeech::SetPrevRequestTime(wxString(text));
        EXPECT_EQ(QXTextToSpeech::GetPrevRequestTime(), row.result);
    }
    QXTextToSpeech::SetPrevRequestTime(std::list<wxLongLong>{9, 8});
    EXPECT_EQ(QXTextToSpeech::GetPrevRequestTime(), "9;8") << "a list replaces";
}

TEST_F(Instance, RegionsAreStoredPercentEncodedAndKeysAsTheyAre)
{
    QXTTSAuthInfo info;
    info.awsAccessKey = "a key/+=";
    info.awsSecretKey = "secret key";
    info.awsRegion = "eu west/1?x=1&y%z";
    info.googleApiKey = "google key";
    info.azureKey = "azure key";
    info.azureRegion = wxString::FromUTF8("s\xc3\xbc"
                                          "d#1");
    QXTextToSpeech::SetAuthInfo(info);
    const QXTTSAuthInfo& stored = QXTextToSpeech::GetAuthInfo();
    EXPECT_EQ(stored.awsAccessKey, "a key/+=");
    EXPECT_EQ(stored.awsSecretKey, "secret key");
    EXPECT_EQ(stored.googleApiKey, "google key");
    EXPECT_EQ(stored.azureKey, "azure key");
    EXPECT_EQ(stored.awsRegion, "eu%20west/1?x=1&y%25z");
    EXPECT_EQ(stored.azureRegion, "s%C3%BCd%231");
    info.awsRegion = "eu-west-1";
    QXTextToSpeech::SetAuthInfo(info);
    EXPECT_EQ(stored.awsRegion, "eu-west-1") << "a plain region stays";
}

TEST_F(Instance, TemporaryTextFilesComeFromTheHostAlone)
{
    EXPECT_EQ(QXTextToSpeech::CreateTempFile("speech"), "");
    QXTextToSpeech::SetTempFileFunction(&PathFor);
    EXPECT_EQ(QXTextToSpeech::CreateTempFile("speech"), "/tmp/speech");
}

// What the program behind ./speak makes of accounts, proxies, voice lists and request times. MIT licence.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <optional>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "account.h"
#include "exitstatus.h"
#include "proxychoice.h"
#include "requesthistory.h"
#include "support/scratch_dir.h"
#include "userfiles.h"
#include "values.h"
#include "voicecache.h"
#include "voices.h"

namespace
{

using say::AccountValues;
using say::ProxyChoice;
using say::RequestTimes;
using say::VoiceCache;
using Voices = std::vector<QXTTSVoiceInfo>;

constexpr std::int64_t kNowMs = 1700000000000;

// For as long as it lives.
class Variable
{
public:
    Variable(const char* name, const char* value) : m_name(name)
    {
        if (const char* const former = std::getenv(name))
            m_former = former;
        Set(value);
    }
    ~Variable() { Set(m_former ? m_former->c_str() : nullptr); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    void Set(const char* value) const
    {
        if (value)
            setenv(m_name, value, 1);
        else
            unsetenv(m_name);
    }

    const char* m_name;
    std::optional<std::string> m_former;
};

std::string WritePrivate(const ScratchDir& folder, const std::string& text, mode_t mode = 0600)
{
    const std::string path = folder / "account";
    std::ofstream(path) << text;
    chmod(path.c_str(), mode);
    return path;
}

QXTTSVoiceInfo Voice(const char* id, const char* name, const char* language)
{
    QXTTSVoiceInfo voice;
    voice.SetHandlerId("Amazon Polly");
    voice.SetId(wxString::FromUTF8(id));
    voice.SetName(wxString::FromUTF8(name));
    voice.SetLangCode(language);
    voice.SetEngine("neural");
    return voice;
}

TEST(SayAccount, LinesAreNamesAndValuesAndComments)
{
    AccountValues values;
    wxString reason;
    ASSERT_TRUE(say::ParseAccount("# mine\r\n\n  AWS_REGION = eu-central-1 \r\nAWS_SECRET_ACCESS_KEY=a=b#c+/ \n"
                                  "PROXY=http://me:pw@host:1\nGOOGLE_API_KEY=\nAWS_REGION=us-east-1\n"
                                  "AZURE_SPEECH_KEY= \"quoted 'key' \" \nAZURE_SPEECH_REGION='\nAWS_SESSION_TOKEN='t'",
                                  values, reason))
        << reason;
    EXPECT_EQ(values["AWS_REGION"], "us-east-1"); // the last one counts
    EXPECT_EQ(values["AWS_SECRET_ACCESS_KEY"], "a=b#c+/");
    EXPECT_EQ(values["PROXY"], "http://me:pw@host:1");
    EXPECT_EQ(values["AZURE_SPEECH_KEY"], "quoted 'key'");
    EXPECT_EQ(values["AZURE_SPEECH_REGION"], "'");
    EXPECT_EQ(say::DescribeUnused("Amazon Polly", values).BeforeFirst(' '), "AWS_SESSION_TOKEN");
    EXPECT_EQ(say::DescribeUnused("Google Cloud", values), "");
    EXPECT_EQ(values.size(), 7u);
}

TEST(SayAccount, WhatIsNoLineIsRefusedByItsNumberAndNeverShown)
{
    for (const char* line :
         {"SECRET", "AWS_SECRETS=SECRET", "aws_region=SECRET", "=SECRET", "export AWS_REGION=SECRET"}) {
        SCOPED_TRACE(line);
        AccountValues values;
        wxString reason;
        EXPECT_FALSE(say::ParseAccount(wxString("# one\nAWS_REGION=x\n") + line, values, reason));
        EXPECT_TRUE(reason.StartsWith("line 3: ")) << reason;
        EXPECT_EQ(reason.find("SECRET"), wxString::npos);
    }
}

TEST(SayAccount, FileCountsBeforeTheEnvironmentValueByValue)
{
    const ScratchDir folder;
    const Variable key("AZURE_SPEECH_KEY", "from-environment");
    const Variable region("AZURE_SPEECH_REGION", " environment-region\r\n");
    const Variable google("GOOGLE_API_KEY", nullptr);
    const AccountValues values = say::LoadAccount(WritePrivate(folder, "AZURE_SPEECH_KEY=from-file\n"));
    const QXTTSAuthInfo info = say::AuthInfoOf(values);
    EXPECT_EQ(info.azureKey, "from-file");
    EXPECT_EQ(info.azureRegion, "environment-region");
    EXPECT_EQ(info.googleApiKey, "");
    EXPECT_EQ(say::RegionOf("Microsoft Azure", values), "environment-region");
    EXPECT_EQ(say::RegionOf("Google Cloud", values), "");
    EXPECT_EQ(say::AuthInfoOf(say::LoadAccount("")).azureKey, "from-environment");
}

TEST(SayAccount, FileThatOthersCanUseIsRefusedWithTheRemedy)
{
    const struct {
        mode_t mode;
        bool accepted;
    } rows[] = {{0600, true}, {0400, true}, {0640, false}, {0604, false}, {0620, false}, {0601, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.mode);
        const ScratchDir folder;
        const std::string path = WritePrivate(folder, "GOOGLE_API_KEY=SECRET\n", row.mode);
        try {
            EXPECT_EQ(say::LoadAccount(path)["GOOGLE_API_KEY"], "SECRET");
            EXPECT_TRUE(row.accepted);
        } catch (const say::Failure& failure) {
            EXPECT_FALSE(row.accepted);
            EXPECT_EQ(failure.status, say::kExitFile);
            EXPECT_NE(failure.text.find("chmod 600"), wxString::npos) << failure.text;
            EXPECT_EQ(failure.text.find("SECRET"), wxString::npos) << failure.text;
        }
    }
    EXPECT_THROW(say::LoadAccount("/nonexistent/account"), say::Failure);
}

TEST(SayAccount, MissingNamesAreToldForTheEngine)
{
    EXPECT_EQ(say::DescribeMissing("Microsoft SAPI", {}), "");
    EXPECT_EQ(say::DescribeMissing("Google Cloud", {{"GOOGLE_API_KEY", "k"}}), "");
    EXPECT_EQ(say::DescribeMissing("Google Cloud", {}),
              "Google Cloud needs GOOGLE_API_KEY in the environment or in --config FILE");
    EXPECT_EQ(say::DescribeMissing("Amazon Polly", {{"AWS_REGION", "r"}, {"AWS_ACCESS_KEY_ID", ""}}),
              "Amazon Polly needs AWS_ACCESS_KEY_ID, AWS_SECRET_ACCESS_KEY, AWS_REGION (missing: AWS_ACCESS_KEY_ID, "
              "AWS_SECRET_ACCESS_KEY) in the environment or in --config FILE");
}

TEST(SayProxy, AddressesAreTakenApart)
{
    const struct {
        const char* text;
        bool valid;
        const char* host;
        int port;
        const char* user;
        const char* password;
    } rows[] = {
        {"http://host:8080", true, "host", 8080, "", ""},
        {"HTTP://host:8080/", true, "host", 8080, "", ""},
        {"host:1", true, "host", 1, "", ""},
        {"http://me:pw@host:80", true, "host", 80, "me", "pw"},
        {"http://me@host:80", true, "host", 80, "me", ""},
        {"http://me:p%40w%3Ax:y@host:80", true, "host", 80, "me", "p@w:x:y"},
        {"http://me:p@w@host:80", true, "host", 80, "me", "p@w"},
        {"http://[::1]:3128", true, "[::1]", 3128, "", ""},
        {"http://host", false, "", 0, "", ""},
        {"http://host:", false, "", 0, "", ""},
        {"http://host:0", false, "", 0, "", ""},
        {"http://host:65536", false, "", 0, "", ""},
        {"http://host:80x", false, "", 0, "", ""},
        {"http://:80", false, "", 0, "", ""},
        {"http://::1:80", false, "", 0, "", ""},
        {"http://@host:80", false, "", 0, "", ""},
        {"https://host:80", false, "", 0, "", ""},
        {"socks5://host:80", false, "", 0, "", ""},
        {"http://host:80/path", false, "", 0, "", ""},
        {"http://a b:80", false, "", 0, "", ""},
        {"", false, "", 0, "", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        ProxyChoice choice;
        ASSERT_EQ(say::ParseProxy(row.text, choice), row.valid);
        if (!row.valid)
            continue;
        EXPECT_EQ(choice.kind, ProxyChoice::Kind::kGiven);
        EXPECT_EQ(choice.host, row.host);
        EXPECT_EQ(choice.port, row.port);
        EXPECT_EQ(choice.user, row.user);
        EXPECT_EQ(choice.password, row.password);
    }
}

TEST(SayProxy, BothSchemesGetTheChoice)
{
    for (const char* text : {"none", "system", "http://me:pw@host:81"}) {
        SCOPED_TRACE(text);
        ProxyChoice choice;
        ASSERT_TRUE(say::ParseProxy(text, choice));
        QXProxySettings settings;
        say::SetProxy(choice, settings);
        for (const bool https : {false, true}) {
            wxJSONValue& configuration = settings.GetConfiguration(https);
            const int type = text[0] == 'n' ? 0 : text[0] == 's' ? 1 : 2;
            EXPECT_EQ(configuration["proxytype"].AsInt(), type);
            if (type != 2)
                continue;
            EXPECT_EQ(configuration["proxyhost"].AsString(), "host");
            EXPECT_EQ(configuration["proxyport"].AsInt(), 81);
            EXPECT_EQ(configuration["proxyusername"].AsString(), "me");
            EXPECT_EQ(configuration["proxypassword"].AsString(), "pw");
        }
    }
}

TEST(SayHistory, OnlyWholeTextsOfTheLastMinuteCount)
{
    const std::string now = std::to_string(kNowMs);
    const std::string old = std::to_string(kNowMs - 60001);
    const std::string future = std::to_string(kNowMs + 1);
    const struct {
        std::string text;
        RequestTimes times;
    } rows[] = {
        {now + "\n", {kNowMs}},
        {now + ";" + std::to_string(kNowMs - 60000) + "\n", {kNowMs - 60000, kNowMs}},
        {old + ";" + now + ";" + future + "\n", {kNowMs}},
        {"\n", {}},
        {"", {}},
        {now, {}}, // broken off
        {now + ";\n", {}},
        {now + ";x\n", {}},
        {now + ";-5\n", {}},
        {now + ";99999999999999999999999\n", {}},
        {now + "\n" + now + "\n", {}},
        {std::string(5, '\0') + "\n", {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(say::ParseRequests(row.text, kNowMs), row.times);
    }
    EXPECT_EQ(say::ParseRequests(say::RequestText({kNowMs - 5, kNowMs}), kNowMs), (RequestTimes{kNowMs - 5, kNowMs}));
}

TEST(SayHistory, MergeAddsWhatThisRunMadeToWhatOthersStored)
{
    // Another run stored 40 meanwhile; this one knew 10 and 20, dropped 10 and made 30.
    const auto at = [](std::int64_t second) { return kNowMs - 60000 + second * 1000; };
    EXPECT_EQ(say::MergeRequests({at(10), at(20), at(40)}, {at(10), at(20)}, {at(20), at(30)}, kNowMs),
              (RequestTimes{at(10), at(20), at(30), at(40)}));
    EXPECT_EQ(say::MergeRequests({at(-1)}, {}, {at(5), at(5), at(61)}, kNowMs), (RequestTimes{at(5), at(5)}));
}

TEST(SayHistory, TheTwentiethRequestWaitsForTheNineteenthBeforeIt)
{
    RequestTimes times;
    for (std::int64_t i = 0; i < 18; ++i)
        times.push_back(kNowMs - 30000 + i);
    EXPECT_EQ(say::NextFreeRequest(times, kNowMs), 0);
    times.push_back(kNowMs);
    EXPECT_EQ(say::NextFreeRequest(times, kNowMs), kNowMs - 30000 + 60001);
    EXPECT_EQ(say::NextFreeRequest(times, kNowMs + 30001), 0);
    times.push_back(kNowMs); // twenty: the second is the one
    EXPECT_EQ(say::NextFreeRequest(times, kNowMs), kNowMs - 30000 + 60002);
}

TEST(SayHistory, RunsAtOnceLoseNoEntry)
{
    const ScratchDir folder;
    const Variable state("XDG_STATE_HOME", folder.Path().c_str());
    std::ofstream(folder / "unrelated") << "";
    ASSERT_TRUE(say::ReplaceUserFile(folder / "qxspeech/requests", "rubbish"));
    constexpr int kProcesses = 8;
    constexpr int kEntries = 5;
    const std::int64_t now = say::NowMs();
    for (int process = 0; process < kProcesses; ++process) {
        if (fork() == 0) {
            for (int entry = 0; entry < kEntries; ++entry)
                say::StoreRequests({}, {now - 1 - process * kEntries - entry});
            _exit(0);
        }
    }
    for (int process = 0; process < kProcesses; ++process) {
        int status = -1;
        ASSERT_GT(wait(&status), 0);
        EXPECT_EQ(status, 0);
    }
    const RequestTimes times = say::LoadRequests();
    ASSERT_EQ(times.size(), static_cast<size_t>(kProcesses * kEntries));
    EXPECT_EQ(times.front(), now - kProcesses * kEntries);
    EXPECT_EQ(times.back(), now - 1);
}

TEST(SayUserFiles, FoldersFollowTheEnvironment)
{
    const Variable home("HOME", "/home/me");
    {
        const Variable cache("XDG_CACHE_HOME", "/c");
        const Variable state("XDG_STATE_HOME", "relative");
        EXPECT_EQ(say::CacheFolder(), "/c/qxspeech");
        EXPECT_EQ(say::StateFolder(), "/home/me/.local/state/qxspeech");
    }
    const Variable cache("XDG_CACHE_HOME", nullptr);
    EXPECT_EQ(say::CacheFolder(), "/home/me/.cache/qxspeech");
    const Variable noHome("HOME", nullptr);
    EXPECT_EQ(say::CacheFolder(), "");
}

TEST(SayUserFiles, ReplacingMakesTheFolderAndLeavesNothingElse)
{
    const ScratchDir folder;
    const std::string path = folder / "a/b/file";
    ASSERT_TRUE(say::ReplaceUserFile(path, "one"));
    ASSERT_TRUE(say::ReplaceUserFile(path, std::string("t\0o", 3)));
    EXPECT_EQ(say::ReadUserFile(path), std::string("t\0o", 3));
    struct stat info = {};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
    EXPECT_FALSE(say::ReplaceUserFile(path + "/below", "x"));
    EXPECT_EQ(say::ReadUserFile(folder / "a"), ""); // a folder
    size_t files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder / "a/b"))
        files += entry.path() == path ? 1 : 100;
    EXPECT_EQ(files, 1u);
}

TEST(SayVoiceCache, ComesBackAsItWasStored)
{
    const ScratchDir folder;
    const Variable cacheHome("XDG_CACHE_HOME", folder.Path().c_str());
    const Voices voices = {Voice("Joanna", "Joanna - US English - Neural", "en-US"),
                           Voice("C\xC3\xA9line", "\xE6\x99\x93 \"x\"\\", "fr-FR")};
    say::StoreVoiceCache({"Amazon Polly", "eu-central-1", "direct", kNowMs, voices});
    const VoiceCache cache = say::LoadVoiceCache("Amazon Polly", "eu-central-1", "direct");
    EXPECT_EQ(cache.fetchedMs, kNowMs);
    EXPECT_TRUE(cache.voices == voices);
    EXPECT_EQ(say::DayOf(cache), "2023-11-14");
    EXPECT_FALSE(say::IsStale(cache, kNowMs + 1000));
    EXPECT_TRUE(say::IsStale(cache, kNowMs - 1));
    EXPECT_TRUE(say::IsStale(cache, kNowMs + std::int64_t{31} * 24 * 3600 * 1000));
    EXPECT_TRUE(say::LoadVoiceCache("Amazon Polly", "us-east-1", "direct").voices.empty());
    EXPECT_TRUE(say::LoadVoiceCache("Amazon Polly", "eu-central-1", "127.0.0.1:8080").voices.empty());
    EXPECT_TRUE(say::LoadVoiceCache("Google Cloud", "", "direct").voices.empty());
}

TEST(SayVoiceCache, BrokenTextHoldsNoVoices)
{
    const wxString whole =
        say::WriteVoiceCache({"Amazon Polly", "r", "direct", kNowMs, {Voice("a", "a", "en"), Voice("b", "b", "en")}});
    ASSERT_EQ(say::ParseVoiceCache(whole, "Amazon Polly", "r", "direct").voices.size(), 2u);
    for (size_t length = 0; length < whole.length(); ++length)
        ASSERT_TRUE(say::ParseVoiceCache(whole.substr(0, length), "Amazon Polly", "r", "direct").voices.empty())
            << length;
    const struct {
        const char* from;
        const char* to;
    } rows[] = {{"Amazon Polly", "Google Cloud"},
                {"\"date\":\"2023", "\"date\":\"yesterday"},
                {"\"voices\":[", "\"voices\":[3,"}};
    for (const auto& row : rows) {
        wxString damaged = whole;
        ASSERT_GT(damaged.Replace(row.from, row.to, false), 0u) << row.from;
        EXPECT_TRUE(say::ParseVoiceCache(damaged, "Amazon Polly", "r", "direct").voices.empty()) << row.from;
    }
    EXPECT_TRUE(say::ParseVoiceCache("[]}\n", "Amazon Polly", "r", "direct").voices.empty());
}

TEST(SayVoices, FirstOneFollowsTheLanguageAndANameIsFoundByItsCase)
{
    const Voices voices = {Voice("z", "Z", "cmn-CN"), Voice("Ann", "A", "en-GB"), Voice("ann", "B", "en-US")};
    const struct {
        const char* language;
        const char* id;
    } rows[] = {{"en-US", "ann"}, {"en-AU", "Ann"}, {"en", "Ann"}, {"de-DE", "z"}, {"cmn", "z"}};
    for (const auto& row : rows)
        EXPECT_EQ(say::FirstVoice(voices, row.language)->GetId(), row.id) << row.language;
    EXPECT_EQ(say::FirstVoice({}, "en"), nullptr);
    EXPECT_EQ(say::FindVoice(voices, "ann")->GetName(), "B");
    EXPECT_EQ(say::FindVoice(voices, "ANN")->GetName(), "A");
    EXPECT_EQ(say::FindVoice(voices, "Z")->GetId(), "z");
    EXPECT_EQ(say::FindVoice(voices, "EN")->GetId(), "Ann") << "a language";
    EXPECT_EQ(say::FindVoice(voices, "An"), nullptr);
}

TEST(SayLanguage, ComesFromTheNameOfTheLocale)
{
    const struct {
        const char* locale;
        const char* language;
    } rows[] = {{"de_DE.UTF-8", "de-DE"}, {"fr_CH@euro", "fr-CH"}, {"pt", "pt"}, {"C", "en-US"},
                {"C.UTF-8", "en-US"},     {"POSIX", "en-US"},      {"", "en-US"}};
    for (const auto& row : rows)
        EXPECT_EQ(say::LanguageOfLocale(row.locale), row.language) << row.locale;
}

} // namespace

// The local engine's rules that need no voice. MIT licence.
#include "speech/sapilogic.h"

#include <gtest/gtest.h>

#include "speech/tts_sapi.h"
#include "support/log_capture.h"
#include "support/scoped_translation.h"

TEST(SapiLogic, InputFormatDecidesTheTransformation)
{
    const struct {
        const char* format;
        int options;
    } rows[] = {{"HTML", 0x840}, {"SSML", 0x840}, {"Native", 0x10}, {"Text", 0x100}, {"html", 0x100}, {"", 0x100}};
    for (const auto& row : rows)
        EXPECT_EQ(qxSapiTransformerOptions(row.format), row.options) << row.format;
}

TEST(SapiLogic, SpeakFlagsFollowOptionsAndInput)
{
    const struct {
        int options;
        bool isFile;
        bool isXml;
        DWORD flags;
    } rows[] = {{0, false, false, 2},
                {wxTTS_SPEAK_ASYNC, false, false, 3},
                {wxTTS_SPEAK_CLOSE_OUTPUT, false, false, 2},
                {wxTTS_SPEAK_WAIT, true, false, 7},
                {0, true, true, 14},
                {~0, true, true, 15}};
    for (const auto& row : rows)
        EXPECT_EQ(qxSapiSpeakFlags(row.options, row.isFile, row.isXml), row.flags) << row.options;
}

TEST(SapiLogic, OnlyTwoPrioritiesAreNotNormal)
{
    const std::pair<long, SPVPRIORITY> rows[] = {
        {0, SPVPRI_NORMAL}, {1, SPVPRI_ALERT}, {2, SPVPRI_OVER}, {3, SPVPRI_NORMAL}, {-1, SPVPRI_NORMAL}};
    for (const auto& row : rows)
        EXPECT_EQ(qxSapiPriority(row.first), row.second) << row.first;
}

TEST(SapiLogic, SsmlIsWrappedUnlessItHasItsElement)
{
    const wxString head = "<speak version=\"1.0\" xmlns:ssml=\"http://www.w3.org/2001/10/synthesis\" xml:lang=\"";
    EXPECT_EQ(qxWrapSsml("hello", "de-DE"), head + "de-DE\">hello</speak>");
    EXPECT_EQ(qxWrapSsml(" \t\nhello \n", "en-US"), head + "en-US\">hello \n</speak>");
    EXPECT_EQ(qxWrapSsml("", ""), head + "\"></speak>");
    EXPECT_EQ(qxWrapSsml("50 %s <b>", "en-US"), head + "en-US\">50 %s <b></speak>");
    EXPECT_EQ(qxWrapSsml("  <?xml?> <speaker/> ", "en-US"), "<?xml?> <speaker/> ");
}

TEST(SapiLogic, LanguageIsTheFirstHexadecimalItem)
{
    constexpr DWORD kNone = 0xDEADu;
    const struct {
        const char* value;
        DWORD language;
    } rows[] = {
        {"409", 0x409},
        {"409;9", 0x409},
        {"0C0a", 0x0C0A},
        {"0407;0007;409", 0x407},
        {"12345678", 0x12345678},
        {"00409;9", kNone}, // a first item of five characters: the whole value is read, and
                            // is no number
        {"123456789", kNone},
        {"40 9", kNone},
        {"0x409", kNone},
        {"en-US", kNone},
        {";409", kNone},
        {"", kNone},
    };
    for (const auto& row : rows) {
        DWORD language = kNone;
        const HRESULT hr = qxParseSapiLanguage(row.value, language);
        EXPECT_EQ(language, row.language) << row.value;
        EXPECT_EQ(hr, row.language == kNone ? SPERR_INVALID_TOKEN_ID : S_OK) << row.value;
    }
}

TEST(SapiLogic, TokenIdSplitsAtItsFirstBackslash)
{
    HKEY root = nullptr;
    wxString key;
    ASSERT_TRUE(qxSplitTokenId("HKEY_LOCAL_MACHINE\\SOFTWARE\\Tokens\\One", root, key));
    EXPECT_EQ(root, HKEY_LOCAL_MACHINE);
    EXPECT_EQ(key, "SOFTWARE\\Tokens\\One");
    ASSERT_TRUE(qxSplitTokenId("HKEY_CURRENT_USER\\A", root, key));
    EXPECT_EQ(root, HKEY_CURRENT_USER);
    for (const char* id : {"", "HKEY_LOCAL_MACHINE", "HKEY_USERS\\A", "hkey_local_machine\\A", "\\A"})
        EXPECT_FALSE(qxSplitTokenId(id, root, key)) << id;
}

TEST(SapiLogic, EveryFailureHasATextAndALogLine)
{
    const struct {
        DWORD code;
        const char* text;
        const char* number;
    } rows[] = {
        {0x80045003, "The caller has specified an unsupported format.", "-2147201021"},
        {0x80045006, "The wave device is busy.", "-2147201018"},
        {0x80045007, "The wave device is not supported.", "-2147201017"},
        {0x80045042, "The xml parser failed due to bad syntax.", "-2147200958"},
        {0x80045059, "The requested language is not supported.", "-2147200935"},
        {0x80045088, "The string is too long.", "-2147200888"},
        {0x80045089, "The string cannot be empty.", "-2147200887"},
        {0x80045093, "No given voice is found", "-2147200877"},
        {0x80004005, "Cannot generate SAPI voice. Error Code: -2147467259", "-2147467259"},
    };
    for (const auto& row : rows) {
        LogCapture log;
        EXPECT_EQ(qxGetSAPIErrorDesc(static_cast<HRESULT>(row.code)), row.text);
        ASSERT_EQ(log.records.size(), 1u) << row.text;
        EXPECT_EQ(log.records[0].text, wxString("Cannot generate SAPI voice. Error Code: ") + row.number);
        EXPECT_EQ(log.records[0].level, static_cast<wxLogLevel>(wxLOG_Message));
        EXPECT_EQ(log.records[0].function, "qxGetSAPIErrorDesc");
    }
    LogCapture log;
    EXPECT_EQ(qxGetSAPIErrorDesc(S_OK), "");
    EXPECT_EQ(qxGetSAPIErrorDesc(S_FALSE), "");
    EXPECT_TRUE(log.records.empty());
}

TEST(SapiLogic, ErrorTextsAreTranslated)
{
    const wxLogNull quiet;
    const ScopedTranslation german({{"The wave device is busy.", "Das Ger\xc3\xa4t ist belegt."},
                                    {"Cannot generate SAPI voice. Error Code: %ld", "Fehler %ld"}});
    EXPECT_EQ(qxGetSAPIErrorDesc(static_cast<HRESULT>(0x80045006)), wxString::FromUTF8("Das Ger\xc3\xa4t ist belegt."));
    EXPECT_EQ(qxGetSAPIErrorDesc(E_FAIL), "Fehler -2147467259");
}

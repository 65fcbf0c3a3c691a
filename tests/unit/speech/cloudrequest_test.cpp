// Requests to services and what becomes of their answers, over plain HTTP on this machine. MIT licence.
#include "speech/cloudrequest.h"

#include <cpprest/http_msg.h>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

#include "common/utils.h"
#include "core/qxproxysettings.h"
#include "speech/arrivingbody.h"
#include "speech/cloudtext.h"
#include "speech/qxtexttospeech.h"
#include "support/http_answers.h"
#include "support/log_capture.h"
#include "support/scratch_dir.h"
#include "support/stepped_time.h"

using qxspeech::CloudRequest;
using qxspeech::CloudResponse;
using qxspeech::FileAccess;
using qxspeech::SendCloudRequest;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace
{

const char* const kText = "Content-Type: text/plain; charset=utf-8\r\n";

CloudRequest Get(const std::string& url)
{
    CloudRequest request;
    request.url = wxString::FromUTF8(url);
    return request;
}

std::string ReadAll(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

void WriteAll(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

// The text of what it throws; "" if it throws nothing.
template <class Call>
std::string Thrown(Call call)
{
    try {
        call();
    } catch (const std::exception& failure) {
        return failure.what();
    }
    return std::string();
}

} // namespace

TEST(CloudRequest, GoesOutAsGivenAndBringsTheAnswer)
{
    HttpAnswers server({HttpAnswers::Make("418 I'm a t\xc3\xa9"
                                          "apot",
                                          std::string(kText) + "X-Amzn-ErrorType: Some:thing\r\n", "caf\xc3\xa9")});
    CloudRequest request;
    request.method = CloudRequest::Method::kPost;
    request.url = server.Url("/v1/a:b?c=d");
    request.headers = {{"Content-Type", "application/json"}, {"X-Key", "k1"}};
    request.body = "{\"\xc3\xa9\":1}";
    CloudResponse response = SendCloudRequest(request);
    EXPECT_EQ(response.GetStatus(), 418);
    EXPECT_FALSE(response.IsOk());
    EXPECT_EQ(response.GetReason(), wxString::FromUTF8("I'm a t\xc3\xa9"
                                                       "apot"));
    EXPECT_EQ(response.GetHeader("x-amzn-errortype"), "Some:thing");
    EXPECT_EQ(response.GetHeader("absent"), "");
    EXPECT_EQ(response.ReadText(qxspeech::kShortTextLimit), wxString::FromUTF8("caf\xc3\xa9"));

    const std::string& sent = server.Requests().at(0);
    EXPECT_THAT(sent, StartsWith("POST /v1/a:b?c=d HTTP/1.1\r\n"));
    EXPECT_THAT(sent, HasSubstr("\r\nContent-Type:application/json\r\n"));
    EXPECT_THAT(sent, HasSubstr("\r\nX-Key:k1\r\n"));
    EXPECT_THAT(sent, HasSubstr("\r\nContent-Length:8\r\n"));
    EXPECT_THAT(sent, EndsWith("\r\n\r\n{\"\xc3\xa9\":1}"));
}

TEST(CloudRequest, PostWithoutBodyNamesNoType)
{
    HttpAnswers server({HttpAnswers::Make("200 OK", kText, "")});
    CloudRequest request = Get(server.Url("/t"));
    request.method = CloudRequest::Method::kPost;
    EXPECT_TRUE(SendCloudRequest(request).IsOk());
    EXPECT_THAT(server.Requests().at(0), HasSubstr("\r\nContent-Length: 0\r\n"));
    EXPECT_THAT(server.Requests().at(0), Not(HasSubstr("Content-Type")));
}

TEST(CloudRequest, GoesThroughTheProcessWideProxy)
{
    HttpAnswers proxy({HttpAnswers::Make("200 OK", kText, "by proxy")});
    QXProxySettings settings;
    wxJSONValue& http = settings.GetConfiguration(false);
    http["proxytype"] = 2;
    http["proxyhost"] = "127.0.0.1";
    http["proxyport"] = proxy.Port();
    http["proxyusername"] = "user";
    http["proxypassword"] = "secret";
    QXTextToSpeech::SetProxySettings(&settings);
    CloudResponse response = SendCloudRequest(Get("http://service.invalid/v1"));
    QXTextToSpeech::SetProxySettings(nullptr);
    EXPECT_EQ(response.ReadText(qxspeech::kShortTextLimit), "by proxy");
    EXPECT_THAT(proxy.Requests().at(0), StartsWith("GET http://service.invalid/v1 HTTP/1.1\r\n"));
    EXPECT_THAT(proxy.Requests().at(0), HasSubstr("Proxy-Authorization: Basic dXNlcjpzZWNyZXQ=\r\n"));
}

TEST(CloudRequest, WhatPreventsAnAnswerIsThrown)
{
    int closedPort = 0;
    {
        const HttpAnswers gone({});
        closedPort = gone.Port();
    }
    EXPECT_EQ(Thrown([] { SendCloudRequest(Get("https://")); }), "URI must contain a hostname.");
    EXPECT_THAT(Thrown([] { SendCloudRequest(Get("https://a b/")); }), StartsWith("provided uri is invalid"));
    EXPECT_THAT(Thrown([&] { SendCloudRequest(Get("http://127.0.0.1:" + std::to_string(closedPort))); }),
                Not(IsEmpty()));
    HttpAnswers server({"HTTP/1.1 200 O"});
    EXPECT_EQ(Thrown([&] { SendCloudRequest(Get(server.Url("/"))); }), "Failed to read HTTP status line");
}

TEST(CloudRequest, LineBreakInAHeaderIsRefusedWithoutItsValue)
{
    for (const wxString& key : {wxString("secret\n"), wxString("secret\r\nX-Other: 1"), wxString(L"secret\0", 7)}) {
        CloudRequest request = Get("http://127.0.0.1:9/");
        request.headers = {{"X-Key", key}};
        EXPECT_EQ(Thrown([&] { SendCloudRequest(request); }), "line break in header X-Key");
    }
}

TEST(CloudResponse, BodyReplacesTheFile)
{
    const ScratchDir folder;
    const std::string path = folder / "sp\xc3\xa9"
                                      "ech.mp3";
    WriteAll(path, std::string(300, 'x'));
    const std::string audio = std::string(200'000, 'a') + std::string("\0\r\n\xff", 4);
    HttpAnswers server({HttpAnswers::Make("200 OK", "Content-Type: audio/mpeg\r\n", audio),
                        HttpAnswers::Make("200 OK", "Content-Type: audio/mpeg\r\n", "short")});
    SendCloudRequest(Get(server.Url("/"))).SaveToFile(wxString::FromUTF8(path), FileAccess::kUsual);
    EXPECT_TRUE(ReadAll(path) == audio);
    SendCloudRequest(Get(server.Url("/"))).SaveToFile(wxString::FromUTF8(path), FileAccess::kUsual);
    EXPECT_TRUE(ReadAll(path) == "short");
}

TEST(CloudResponse, BodyThatBreaksOffThrowsAndLeavesItsStart)
{
    const ScratchDir folder;
    const std::string path = folder / "cut.wav";
    HttpAnswers server({"HTTP/1.1 200 OK\r\nContent-Length: 150000\r\n\r\n" + std::string(100'000, 'a')});
    CloudResponse response = SendCloudRequest(Get(server.Url("/")));
    EXPECT_EQ(Thrown([&] { response.SaveToFile(wxString::FromUTF8(path), FileAccess::kUsual); }),
              "Failed to read response body");
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_LT(std::filesystem::file_size(path), 150'000u);
}

TEST(CloudResponse, FileThatTakesNothingThrows)
{
    const ScratchDir folder;
    HttpAnswers server({HttpAnswers::Make("200 OK", "", "audio"), HttpAnswers::Make("200 OK", "", "audio"),
                        HttpAnswers::Make("200 OK", "", std::string(200'000, 'a'))});
    for (const std::string& path : {folder / "missing/a.wav", std::string("/dev/full"), std::string("/dev/full")}) {
        CloudResponse response = SendCloudRequest(Get(server.Url("/")));
        EXPECT_THAT(Thrown([&] { response.SaveToFile(wxString::FromUTF8(path), FileAccess::kUsual); }), Not(IsEmpty()))
            << path;
    }
}

TEST(TransferPace, OnlyWaitingCounts)
{
    using qxspeech::TransferPace;
    SteppedTime time;
    TransferPace pace;
    pace.BeginWait();
    time.Step(30000);
    EXPECT_EQ(pace.Look(0), TransferPace::Verdict::kGood);
    time.Step(1000);
    EXPECT_EQ(pace.Look(0), TransferPace::Verdict::kSilent);
    for (const std::uint64_t bytes : {342, 341}) { // three times: 1 KB or a little less
        pace = TransferPace();
        TransferPace::Verdict last = TransferPace::Verdict::kSilent;
        for (std::uint64_t i = 1; i <= 3; ++i) {
            time.Step(1000000); // at work on what it has
            pace.BeginWait();
            time.Step(20000);
            last = pace.Look(i * bytes);
        }
        EXPECT_EQ(last, bytes == 342 ? TransferPace::Verdict::kGood : TransferPace::Verdict::kTooSlow);
    }
}

TEST(HttpResponse, TextDependsOnTheLabel)
{
    const struct {
        const char* type; // null: none
        const char* body;
        const char* text;
        bool logged;
        const char* ignored; // the same with the type left alone
    } rows[] = {
        {"text/plain; charset=utf-8", "\xc3\xa9", "\xc3\xa9", false, "\xc3\xa9"},
        {"application/json", "\xc3\xa9", "\xc3\xa9", false, "\xc3\xa9"},
        {"text/plain", "\xe9", "\xc3\xa9", false, "\xc3\xa9"},
        {"application/jwt; charset=us-ascii", "token", "", true, "token"},
        {"audio/mpeg", "x", "", true, "x"},
        {"text/plain; charset=windows-1252", "x", "", true, nullptr},
        {nullptr, "x", "", false, nullptr},
    };
    for (const auto& row : rows) {
        web::http::http_response response(200);
        response.set_body(std::string(row.body), row.type ? row.type : "text/plain");
        if (!row.type)
            response.headers().remove("Content-Type");
        LogCapture log;
        EXPECT_EQ(qxHttpResponseToString(response, false), wxString::FromUTF8(row.text)) << row.type;
        EXPECT_EQ(log.records.size(), row.logged ? 1u : 0u) << row.type;
        if (row.logged && row.ignored) {
            EXPECT_EQ(qxHttpResponseToString(response, true), wxString::FromUTF8(row.ignored)) << row.type;
        }
    }
}

TEST(CloudText, ErrorMessageComesOutOfTheBody)
{
    const struct {
        const char* body;
        const char* message;
    } rows[] = {
        {R"({"error":{"code":3,"message":"caf\u00e9"}})", "caf\xc3\xa9"},
        {R"({"error":{"message":5}})", ""},
        {R"({"error":"message"})", ""},
        {R"({"Error":{"Message":"x"}})", ""},
        {R"([{"error":{"message":"x"}}])", ""},
        {"<html>no</html>", ""},
        {"", ""},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ParseErrorMessage(wxString::FromUTF8(row.body)), wxString::FromUTF8(row.message)) << row.body;
}

TEST(CloudText, FileIsReadByItsMark)
{
    const ScratchDir folder;
    const std::string path = folder / "text.txt";
    const struct {
        const char* label;
        std::string bytes;
        const char* text;
    } rows[] = {
        {"UTF-8", "a\r\n\xc3\xa9\n", "a\n\xc3\xa9"},
        {"UTF-8 with mark", "\xef\xbb\xbf\xc3\xa9", "\xc3\xa9"},
        {"UTF-16", std::string("\xff\xfe\xe9\0", 4), "\xc3\xa9"},
        {"UTF-16, other end first", std::string("\xfe\xff\0\xe9", 4), "\xc3\xa9"},
        {"UTF-32", std::string("\xff\xfe\0\0\xe9\0\0\0", 8), "\xc3\xa9"},
        {"8 bit", "\xe9t\xe9", "\xc3\xa9t\xc3\xa9"},
        {"empty", "", ""},
    };
    for (const auto& row : rows) {
        WriteAll(path, row.bytes);
        wxString text = "before";
        EXPECT_TRUE(qxspeech::ReadSpeechFile(wxString::FromUTF8(path), text)) << row.label;
        EXPECT_EQ(text, wxString::FromUTF8(row.text)) << row.label;
    }
}

TEST(CloudText, FileThatCannotBeReadLeavesTheTextAndLogsNothing)
{
    const ScratchDir folder;
    WriteAll(folder / "broken.txt", std::string("\xff\xfe\x00\xd8\x61", 5));
    LogCapture log;
    wxString text = "before";
    for (const std::string& path : {folder / "missing", folder.Path(), folder / "broken.txt", std::string()})
        EXPECT_FALSE(qxspeech::ReadSpeechFile(wxString::FromUTF8(path), text)) << path;
    EXPECT_EQ(text, "before");
    EXPECT_THAT(log.records, IsEmpty());
}

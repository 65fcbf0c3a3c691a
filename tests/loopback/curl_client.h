// The curl command as a client that shares no code with the services. MIT licence.
#ifndef QXSPEECH_TESTS_LOOPBACK_CURL_CLIENT_H
#define QXSPEECH_TESTS_LOOPBACK_CURL_CLIENT_H

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "childprocess.h"
#include "support/scratch_dir.h"
#include "support/services/services.h"

using Arguments = std::vector<std::string>;

struct Reply {
    int exit = -1; // of curl
    int status = 0;
    std::string headers; // of the service, not of the proxy
    std::string body;
    std::string info; // what -w printed behind the status
};

inline std::string ReadWhole(const std::string& path)
{
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    std::string bytes(file ? static_cast<std::size_t>(file.tellg()) : 0, '\0');
    file.seekg(0);
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

// Services and a client for them. Skips where there is no curl command.
class LoopbackTest : public testing::Test
{
protected:
    void SetUp() override
    {
        if (std::string(QX_CURL_PROGRAM).empty())
            GTEST_SKIP() << "there is no curl command";
    }

    // Whatever the environment says, nothing goes past the proxy.
    Reply Run(const Arguments& arguments, const std::function<void(pid_t)>& whileRunning = {}) const
    {
        ChildProcess curl;
        curl.arguments = {QX_CURL_PROGRAM,
                          "-q",
                          "-sS",
                          "--noproxy",
                          "",
                          "--proxy",
                          m_services->ProxyUrl(),
                          "--cacert",
                          m_services->CertificateFile(),
                          "--suppress-connect-headers",
                          "-D",
                          m_folder / "head",
                          "-o",
                          m_folder / "body",
                          "-w",
                          "%{http_code} %{size_download}"};
        curl.arguments.insert(curl.arguments.end(), arguments.begin(), arguments.end());
        curl.whileRunning = whileRunning;
        for (const char* name : {"head", "body"})
            std::ofstream(m_folder / name, std::ios::trunc);
        const ChildProcess::Result result = curl.Run();
        return {result.status, std::atoi(result.out.c_str()), ReadWhole(m_folder / "head"),
                ReadWhole(m_folder / "body"), result.out.substr(result.out.find(' ') + 1)};
    }

    Reply Polly(const std::string& path, Arguments more = {}, const std::string& secret = {}) const
    {
        const loopback::Credentials keys = m_services->GetCredentials();
        const Arguments signing{"--aws-sigv4", "aws:amz:" + keys.awsRegion + ":polly", "-u",
                                keys.awsAccessKey + ":" + (secret.empty() ? keys.awsSecretKey : secret)};
        more.insert(more.end(), signing.begin(), signing.end());
        more.push_back("https://polly." + keys.awsRegion + ".amazonaws.com" + path);
        return Run(more);
    }
    static std::string PollySpeech(const std::string& text, const std::string& voice = "Joanna",
                                   const std::string& type = "text")
    {
        return R"({"Engine":"standard","LanguageCode":"en-US","OutputFormat":"mp3","Text":")" + text +
               R"(","TextType":")" + type + R"(","VoiceId":")" + voice + "\"}";
    }
    Reply PollySpeak(const std::string& body) const
    {
        return Polly("/v1/speech", {"-H", "Content-Type: application/json", "--data-binary", body});
    }

    Reply AzureToken(const std::string& key, const std::string& region = "westeurope") const
    {
        return Run({"-X", "POST", "-H", "Ocp-Apim-Subscription-Key: " + key, "-d", "",
                    "https://" + region + ".api.cognitive.microsoft.com/sts/v1.0/issueToken"});
    }
    Reply AzureSpeak(const std::string& token, const std::string& ssml,
                     const std::string& host = "westeurope.tts.speech.microsoft.com") const
    {
        return Run({"-H", "Authorization: Bearer " + token, "-H", "Content-Type: application/ssml+xml", "-H",
                    "X-Microsoft-OutputFormat: riff-48khz-16bit-mono-pcm", "--data-binary", ssml,
                    "https://" + host + "/cognitiveservices/v1"});
    }
    static std::string Ssml(const std::string& text, const std::string& voice = "en-US-JennyNeural")
    {
        return "<speak version='1.0' xml:lang='en-US'><voice xml:lang='en-US' xml:gender='Female' name='" + voice +
               "'>" + text + "</voice></speak>";
    }
    std::string NewToken() const { return AzureToken(m_services->GetCredentials().azureKey).body; }

    Arguments GoogleKey() const { return {"-H", "X-Goog-Api-Key: " + m_services->GetCredentials().googleKey}; }
    Reply GoogleVoices(Arguments more = {}, const std::function<void(pid_t)>& whileRunning = {}) const
    {
        const Arguments key = GoogleKey();
        more.insert(more.end(), key.begin(), key.end());
        more.emplace_back("https://texttospeech.googleapis.com/v1/voices");
        return Run(more, whileRunning);
    }
    Reply GoogleSpeak(const std::string& body) const
    {
        Arguments arguments = GoogleKey();
        const Arguments more{"-H", "Content-Type: application/json", "--data-binary", body,
                             "https://texttospeech.googleapis.com/v1/text:synthesize"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return Run(arguments);
    }

    ScratchDir m_folder;
    std::unique_ptr<loopback::Services> m_services = std::make_unique<loopback::Services>();
};

#endif

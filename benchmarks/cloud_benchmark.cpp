// The web engines against loopback services, beside bare OpenSSL and curl. MIT licence.
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <portaudio.h>
#include <unistd.h>
#include <wx/init.h>

#include "childrun.h"
#include "core/qxproxysettings.h"
#include "listener.h"
#include "speech/awssigner.h"
#include "speech/qxtexttospeech.h"
#include "support/pulse_sink.h"
#include "support/scratch_dir.h"
#include "support/services/services.h"
#include "json/jsonvalue.h"

namespace
{

using Clock = Listener::Clock;

loopback::Services* g_services = nullptr;
QXProxySettings* g_proxy = nullptr;
PulseSink* g_sink = nullptr;

const char kAzureId[] = "Microsoft Azure";
const char kGoogleId[] = "Google Cloud";
const char kPollyId[] = "Amazon Polly";

// ---- signatures ----

std::string Payload()
{
    return "{\"Text\":\"" + std::string(3000, 'x') + "\"}";
}

void SignThreeKilobytes(benchmark::State& state)
{
    const wxString payload = wxString::FromUTF8(Payload().c_str());
    for (auto _ : state) {
        AWSRequestInfo info;
        info.accessKey = "AKIALOOPBACKEXAMPLE0";
        info.secretKey = "loopback/secret+key/EXAMPLE0123456789abc";
        info.region = "eu-central-1";
        info.method = "POST";
        info.canonicalUri = "/v1/speech";
        info.contentType = "application/json";
        info.payload = payload;
        benchmark::DoNotOptimize(CreateAuthorization(info));
    }
    state.SetItemsProcessed(state.iterations());
}

std::string Hex(const unsigned char* bytes, size_t count)
{
    static const char digits[] = "0123456789abcdef";
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 15];
    }
    return text;
}

std::string Sha256Hex(const std::string& text)
{
    unsigned char digest[32];
    EVP_Digest(text.data(), text.size(), digest, nullptr, EVP_sha256(), nullptr);
    return Hex(digest, sizeof digest);
}

std::string Hmac(const std::string& key, const std::string& data)
{
    unsigned char digest[32];
    unsigned size = 0;
    HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()), reinterpret_cast<const unsigned char*>(data.data()),
         data.size(), digest, &size);
    return std::string(reinterpret_cast<char*>(digest), size);
}

// The same signature from strings that need no conversion.
void OpenSslThreeKilobytes(benchmark::State& state)
{
    const std::string payload = Payload();
    for (auto _ : state) {
        const std::string hash = Sha256Hex(payload);
        const std::string request =
            "POST\n/v1/speech\n\ncontent-type:application/json\nhost:polly.eu-central-1.amazonaws.com\n"
            "x-amz-content-sha256:" +
            hash + "\nx-amz-date:20261123T020000Z\n\ncontent-type;host;x-amz-content-sha256;x-amz-date\n" + hash;
        const std::string toSign =
            "AWS4-HMAC-SHA256\n20261123T020000Z\n20261123/eu-central-1/polly/aws4_request\n" + Sha256Hex(request);
        std::string key = Hmac("AWS4loopback/secret+key/EXAMPLE0123456789abc", "20261123");
        for (const char* part : {"eu-central-1", "polly", "aws4_request"})
            key = Hmac(key, part);
        const std::string signature = Hmac(key, toSign);
        benchmark::DoNotOptimize(Hex(reinterpret_cast<const unsigned char*>(signature.data()), signature.size()));
    }
    state.SetItemsProcessed(state.iterations());
}

// ---- requests ----

wxTextToSpeech& Engine(const char* id)
{
    wxTextToSpeech& engine = QXSingleton<QXTextToSpeech>::Get()->GetEngine();
    engine.SetEngine(id);
    return engine;
}

void ChooseVoice(wxTextToSpeech& engine, const char* id, const char* language)
{
    QXTTSVoiceInfo voice;
    voice.SetHandlerId(engine.GetEngine());
    voice.SetId(id);
    voice.SetName(id);
    voice.SetLangCode(language);
    voice.SetEngine("standard"); // Polly asks for one
    engine.SetVoice(voice);
}

void SynthesisToFile(benchmark::State& state)
{
    const ScratchDir dir;
    wxTextToSpeech& engine = Engine(kGoogleId);
    ChooseVoice(engine, "en-US-Standard-C", "en-US");
    for (auto _ : state) {
        if (!engine.Speak("Hello, world.", 0, wxString::FromUTF8((dir / "out.wav").c_str()))) {
            state.SkipWithError(engine.GetLastErrorMessage().utf8_str());
            return;
        }
    }
}

void CurlToFile(benchmark::State& state)
{
    const ScratchDir dir;
    const std::string key = "X-Goog-Api-Key: " + g_services->GetCredentials().googleKey;
    const std::string body =
        R"({"audioConfig":{"audioEncoding":"LINEAR16","pitch":0,"speakingRate":1},)"
        R"("input":{"text":"Hello, world."},"voice":{"languageCode":"en-US","name":"en-US-Standard-C"}})";
    for (auto _ : state) {
        const ChildUsage usage = AwaitProgram(StartProgram(
            {"curl", "-s", "-f", "--proxy", g_services->ProxyUrl(), "--cacert", g_services->CertificateFile(), "-H",
             key, "-H", "Content-Type: application/json;charset=utf-8", "-d", body, "-o", dir / "out.json",
             "https://texttospeech.googleapis.com/v1/text:synthesize"}));
        if (!usage.ok) {
            state.SkipWithError("curl failed");
            return;
        }
    }
}

double ResidentMegabytes()
{
    std::ifstream status("/proc/self/statm");
    double pages = 0;
    status >> pages >> pages;
    return pages * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1024 * 1024);
}

// The services live in this process, too, but stream the body from a short piece.
void HundredMegabytesToFile(benchmark::State& state)
{
    const ScratchDir dir;
    wxTextToSpeech& engine = Engine(kPollyId);
    ChooseVoice(engine, "Joanna", "en-US");
    for (auto _ : state) {
        g_services->Inject("", "/v1/speech", 1, loopback::Fault::LargeBody(100 * 1024 * 1024));
        malloc_trim(0);
        const double idle = ResidentMegabytes();
        std::atomic<bool> done{false};
        std::atomic<double> peak{idle};
        std::thread watch([&] {
            while (!done) {
                peak = std::max(peak.load(), ResidentMegabytes());
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
            }
        });
        if (!engine.Speak("Hello, world.", 0, wxString::FromUTF8((dir / "out.mp3").c_str())))
            state.SkipWithError(engine.GetLastErrorMessage().utf8_str());
        done = true;
        watch.join();
        state.counters["megabytes_above_idle"] = peak - idle;
    }
}

// From Speak to the first sound at the sink's monitor, and the stage in it that ends with the return of Speak: the
// request is answered then, the file stands and is being played.
void SpeakToSound(benchmark::State& state, const char* id, const char* voice)
{
    Pa_Initialize();
    Listener listener(*g_sink);
    wxTextToSpeech& engine = Engine(id);
    ChooseVoice(engine, voice, "en-US");
    double returned = 0;
    for (auto _ : state) {
        listener.Forget();
        const Clock::time_point begin = Clock::now();
        if (!engine.Speak("Hello, world.", 0, wxString())) {
            state.SkipWithError(engine.GetLastErrorMessage().utf8_str());
            break;
        }
        returned += std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
        if (!listener.AwaitSound()) {
            state.SkipWithError("nothing was heard");
            break;
        }
        state.SetIterationTime(std::chrono::duration<double>(listener.FirstSound() - begin).count());
        engine.Stop();
        std::this_thread::sleep_for(std::chrono::milliseconds(300)); // the sink falls silent
    }
    state.counters["returned_ms"] = benchmark::Counter(returned, benchmark::Counter::kAvgIterations);
    QXSingleton<QXTextToSpeech>::DestroyInstance();
    Pa_Terminate();
}

void SetUp()
{
    for (const auto& [name, value] : g_services->Environment())
        setenv(name.c_str(), value.c_str(), 1);
    const loopback::Credentials credentials = g_services->GetCredentials();
    QXTTSAuthInfo info;
    info.awsAccessKey = credentials.awsAccessKey;
    info.awsSecretKey = credentials.awsSecretKey;
    info.awsRegion = credentials.awsRegion;
    info.azureKey = credentials.azureKey;
    info.azureRegion = credentials.azureRegion;
    info.googleApiKey = credentials.googleKey;
    QXTextToSpeech::SetAuthInfo(info);
    wxJSONValue& https = g_proxy->GetConfiguration(true);
    https["proxytype"] = 2;
    https["proxyhost"] = wxString("127.0.0.1");
    https["proxyport"] = static_cast<int>(g_services->Port());
    QXTextToSpeech::SetProxySettings(g_proxy);
}

BENCHMARK(SignThreeKilobytes);
BENCHMARK(OpenSslThreeKilobytes);
BENCHMARK(SynthesisToFile)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(CurlToFile)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(HundredMegabytesToFile)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK_CAPTURE(SpeakToSound, polly, kPollyId, "Joanna")
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(10);
BENCHMARK_CAPTURE(SpeakToSound, google, kGoogleId, "en-US-Standard-C")
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(10);
BENCHMARK_CAPTURE(SpeakToSound, azure, kAzureId, "en-US-JennyNeural")
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(5);

} // namespace

int main(int argc, char** argv)
{
    PulseSink sink;
    g_sink = &sink;
    loopback::Services services;
    QXProxySettings proxy;
    g_services = &services;
    g_proxy = &proxy;
    wxInitializer wx;
    SetUp();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    QXSingleton<QXTextToSpeech>::DestroyInstance();
    return 0;
}

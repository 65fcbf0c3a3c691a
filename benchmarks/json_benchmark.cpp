// Reading and writing a voice list, beside two other JSON libraries in the same run. MIT licence.
#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <wx/init.h>

#include "json/jsondocument.h"
#include "json/jsonwriter.h"

namespace
{

// One voice as a cloud service describes it, about 580 bytes.
std::string Voice(size_t number)
{
    const std::string index = std::to_string(number);
    return "{\n    \"Name\": \"Neural Text to Speech Voice (de-DE, Speaker" + index +
           "Neural)\",\n    \"DisplayName\": \"Speaker " + index + "\",\n    \"LocalName\": \"Sprecherin f\xc3\xbcr " +
           index + " \xe8\xaf\xad\xe9\x9f\xb3\",\n    \"ShortName\": \"de-DE-Speaker" + index +
           "Neural\",\n    \"Gender\": \"Female\",\n    \"Locale\": \"de-DE\",\n    \"LocaleName\": \"German "
           "(Germany)\",\n"
           "    \"StyleList\": [\"cheerful\", \"newscast\", \"customer service\"],\n    \"SampleRateHertz\": "
           "\"24000\",\n"
           "    \"VoiceType\": \"Neural\",\n    \"Status\": \"GA\",\n    \"Rate\": 1.25,\n    \"Preview\": false,\n"
           "    \"WordsPerMinute\": " +
           std::to_string(100 + number % 90) + "\n  }";
}

std::string VoiceList(size_t bytes)
{
    std::string text = "[\n  ";
    for (size_t number = 0; text.size() < bytes; ++number)
        text += (number > 0 ? ",\n  " : "") + Voice(number);
    return text + "\n]";
}

// The last list asked for, so that the runs on one size share it.
const std::string& Input(const benchmark::State& state)
{
    static std::string text;
    static std::int64_t size = 0;
    if (size != state.range(0)) {
        size = state.range(0);
        text = VoiceList(static_cast<size_t>(size));
    }
    return text;
}

void SetBytes(benchmark::State& state, size_t bytes)
{
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(bytes));
}

void Read(benchmark::State& state)
{
    const wxString text = wxString::FromUTF8(Input(state));
    while (state.KeepRunning()) {
        wxJSONDocument document;
        benchmark::DoNotOptimize(document.Parse(text).Size());
    }
    SetBytes(state, Input(state).size());
}

// As a handler gets an answer: bytes first.
void ReadFromUtf8(benchmark::State& state)
{
    while (state.KeepRunning()) {
        wxJSONDocument document;
        benchmark::DoNotOptimize(document.Parse(wxString::FromUTF8(Input(state))).Size());
    }
    SetBytes(state, Input(state).size());
}

void ReadNlohmann(benchmark::State& state)
{
    while (state.KeepRunning()) {
        const nlohmann::json document = nlohmann::json::parse(Input(state));
        benchmark::DoNotOptimize(document.size());
    }
    SetBytes(state, Input(state).size());
}

void ReadRapidJson(benchmark::State& state)
{
    while (state.KeepRunning()) {
        rapidjson::Document document;
        document.Parse(Input(state).c_str());
        benchmark::DoNotOptimize(document.Size());
    }
    SetBytes(state, Input(state).size());
}

// Written bytes are counted as UTF-8 for all three.
void Write(benchmark::State& state)
{
    wxJSONDocument document;
    document.Parse(wxString::FromUTF8(Input(state)));
    wxString text;
    while (state.KeepRunning())
        wxJSONWriter(0, 0, 3).Write(document, text);
    SetBytes(state, text.utf8_str().length());
}

void WriteNlohmann(benchmark::State& state)
{
    const nlohmann::json document = nlohmann::json::parse(Input(state));
    std::string text;
    while (state.KeepRunning())
        text = document.dump();
    SetBytes(state, text.size());
}

void WriteRapidJson(benchmark::State& state)
{
    rapidjson::Document document;
    document.Parse(Input(state).c_str());
    size_t bytes = 0;
    while (state.KeepRunning()) {
        rapidjson::StringBuffer buffer;
        rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
        document.Accept(writer);
        bytes = buffer.GetSize();
    }
    SetBytes(state, bytes);
}

const std::int64_t kListBytes = 200'000;
const std::int64_t kLargeBytes = 20'000'000;

void Sizes(benchmark::internal::Benchmark* run)
{
    run->Arg(kListBytes)->Arg(kLargeBytes)->Unit(benchmark::kMillisecond);
}

void Doubling(benchmark::internal::Benchmark* run)
{
    run->Arg(5'000'000)->Arg(10'000'000)->Unit(benchmark::kMillisecond); // the 20 MB row closes the series
}

BENCHMARK(Read)->Apply(Sizes)->Apply(Doubling);
BENCHMARK(ReadFromUtf8)->Apply(Sizes);
BENCHMARK(ReadNlohmann)->Apply(Sizes);
BENCHMARK(ReadRapidJson)->Apply(Sizes);
BENCHMARK(Write)->Apply(Sizes)->Apply(Doubling);
BENCHMARK(WriteNlohmann)->Apply(Sizes);
BENCHMARK(WriteRapidJson)->Apply(Sizes);

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    wxInitializer wx;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

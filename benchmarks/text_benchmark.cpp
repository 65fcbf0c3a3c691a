// Substitution, TransformFile and HTML to SAPI XML beside plain passes over the same input. MIT licence.
#include <benchmark/benchmark.h>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <fstream>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>
#include <wx/init.h>
#include <wx/txtstrm.h>
#include <wx/wfstream.h>

#include "common/letters.h"
#include "speech/ttshtmlparser.h"
#include "speech/ttstransformer.h"
#include "support/book_html.h"
#include "support/scratch_dir.h"

namespace
{

constexpr size_t kTextBytes = 5000000;
constexpr size_t kVocabulary = 60000; // words a text draws from

std::string Word(size_t number)
{
    std::string word;
    for (size_t n = number * 7919 + 26; n > 0; n /= 26)
        word += static_cast<char>('a' + n % 26);
    return word;
}

// Lines of running text, the common words far more often than the rare ones.
const std::string& Text()
{
    static const std::string text = [] {
        std::mt19937 random(7);
        std::exponential_distribution<double> rank(1.0 / 2500);
        std::string made;
        for (size_t i = 0; made.size() < kTextBytes; ++i) {
            made += Word(static_cast<size_t>(rank(random)) % kVocabulary);
            made += i % 14 == 13 ? ".\n" : i % 7 == 6 ? ", " : " ";
        }
        return made;
    }();
    return text;
}

std::string Key(size_t number)
{
    return Word(number * 31 % kVocabulary);
}

void Fill(wxTTSTransformer& transformer, size_t keys)
{
    for (size_t i = 0; i < keys; ++i)
        transformer.AddString(wxString::FromUTF8(Key(i)), wxString::FromUTF8(Key(i) + "s"));
}

void SetBytes(benchmark::State& state)
{
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(Text().size()));
}

void Substitute(benchmark::State& state)
{
    wxTTSTransformer transformer;
    Fill(transformer, static_cast<size_t>(state.range(0)));
    if (state.range(1))
        transformer.Index();
    const wxString text = wxString::FromUTF8(Text());
    wxString output;
    for (auto _ : state)
        benchmark::DoNotOptimize(transformer.TransformString(text, output, 0));
    SetBytes(state);
}

// The peer: every word lower-cased into one scratch key and looked up, with what is found appended to one output.
void PlainHashPass(benchmark::State& state)
{
    std::unordered_map<std::wstring, std::wstring> words;
    for (size_t i = 0; i < static_cast<size_t>(state.range(0)); ++i) {
        const std::string key = Key(i);
        words[std::wstring(key.begin(), key.end())] = std::wstring(key.begin(), key.end()) + L"s";
    }
    const std::wstring text = wxString::FromUTF8(Text()).ToStdWstring();
    for (auto _ : state) {
        std::wstring output;
        std::wstring key;
        for (size_t at = 0; at < text.size();) {
            if (!qxIsAlnum(text[at])) {
                output += text[at++];
                continue;
            }
            const size_t start = at;
            key.clear();
            for (; at < text.size() && qxIsAlnum(text[at]); ++at)
                key += qxToLower(text[at]);
            const auto found = words.find(key);
            if (found == words.end())
                output.append(text, start, at - start);
            else
                output += found->second;
        }
        benchmark::DoNotOptimize(output.data());
    }
    SetBytes(state);
}

BENCHMARK(Substitute)
    ->ArgNames({"keys", "indexed"})
    ->ArgsProduct({{1000, 50000}, {1, 0}})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(PlainHashPass)->ArgName("keys")->Arg(1000)->Arg(50000)->Unit(benchmark::kMillisecond);

void IndexDictionary(benchmark::State& state)
{
    wxTTSTransformer transformer;
    Fill(transformer, static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        transformer.SetDirty(true);
        transformer.Index();
    }
}
BENCHMARK(IndexDictionary)->ArgName("keys")->Arg(50000)->Unit(benchmark::kMillisecond);

const std::string& Html()
{
    static const std::string html = MakeBookHtml({kTextBytes, 1, true, false});
    return html;
}

struct HtmlFiles {
    ScratchDir dir;
    wxString in = wxString::FromUTF8(dir / "in.html");
    wxString out = wxString::FromUTF8(dir / "out.xml");
    HtmlFiles() { std::ofstream(dir / "in.html", std::ios::binary) << Html(); }
};

void HtmlFileToSapiFile(benchmark::State& state)
{
    const HtmlFiles files;
    wxTTSTransformer transformer;
    for (auto _ : state)
        benchmark::DoNotOptimize(transformer.TransformFile(files.in, files.out, wxTTS_TRANSFORM_HTML_TO_SAPI));
}

void HtmlReadAndParse(benchmark::State& state)
{
    const HtmlFiles files;
    for (auto _ : state) {
        wxTTSSimpleHtmlParser parser;
        benchmark::DoNotOptimize(parser.ParseFile(files.in, wxString()));
    }
}

// The same output, in one piece through a text stream to a file.
void SapiWrite(benchmark::State& state)
{
    const HtmlFiles files;
    wxTTSTransformer().TransformFile(files.in, files.out, wxTTS_TRANSFORM_HTML_TO_SAPI);
    std::ifstream file(files.dir / "out.xml", std::ios::binary);
    const wxString text = wxString::FromUTF8(std::string(std::istreambuf_iterator<char>(file), {}));
    for (auto _ : state) {
        wxFileOutputStream stream(files.out);
        wxTextOutputStream out(stream, wxEOL_NATIVE, wxConvAuto());
        out.WriteString(text);
    }
}

BENCHMARK(HtmlFileToSapiFile)->Unit(benchmark::kMillisecond);
BENCHMARK(HtmlReadAndParse)->Unit(benchmark::kMillisecond);
BENCHMARK(SapiWrite)->Unit(benchmark::kMillisecond);

struct ProcessCost {
    double seconds = 0;
    bool good = false;
};

ProcessCost Run(const std::vector<std::string>& command)
{
    std::vector<char*> arguments;
    for (const std::string& word : command)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child == 0) {
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
    int status = 1;
    waitpid(child, &status, 0);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return {seconds, status == 0};
}

// Files of a whole process: text, dictionary, and a script of the same substitution.
struct ProcessFiles {
    ScratchDir dir;
    std::string script = "BEGIN { open(F, '<:utf8', '" + (dir / "dict") +
                         "'); while (<F>) { chomp; my ($k, $v) = split /,/, $_, 2; $h{$k} = $v } "
                         "open(STDOUT, '>:utf8', '" +
                         (dir / "perl.out") + "') } use open ':std', ':utf8'; s/(\\w+)/$h{lc $1} \\/\\/ $1/ge";
    ProcessFiles()
    {
        std::ofstream text(dir / "text", std::ios::binary);
        text << Text() << Text();
        std::ofstream dictionary(dir / "dict", std::ios::binary);
        for (size_t i = 0; i < 1000; ++i)
            dictionary << Key(i) << ',' << Key(i) << "s\n";
    }
};

std::string programName;

void MeasureProcess(benchmark::State& state, const std::vector<std::string>& command)
{
    for (auto _ : state) {
        const ProcessCost cost = Run(command);
        if (!cost.good)
            state.SkipWithError("the process failed");
        state.SetIterationTime(cost.seconds);
    }
}

// The peak of this process's own memory; what its parent held when it was made does not count.
double PeakBytes()
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("VmHWM:", 0) == 0)
            return std::stod(line.substr(6)) * 1024;
    return 0;
}

void TransformFileProcess(benchmark::State& state)
{
    const ProcessFiles files;
    MeasureProcess(state, {programName, "--transform", files.dir / "dict", files.dir / "text", files.dir / "out"});
    double peak = 0;
    std::ifstream(files.dir / "out.peak") >> peak;
    state.counters["peak/file"] = peak / (2.0 * static_cast<double>(Text().size()));
}

void PerlProcess(benchmark::State& state)
{
    const ProcessFiles files;
    MeasureProcess(state, {"perl", "-pe", files.script, files.dir / "text"});
}
BENCHMARK(TransformFileProcess)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);
BENCHMARK(PerlProcess)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);

int TransformOnly(char** names)
{
    wxTTSTransformer transformer;
    const bool done = transformer.LoadFile(wxString::FromUTF8(names[0])) &&
                      transformer.TransformFile(wxString::FromUTF8(names[1]), wxString::FromUTF8(names[2]), 1);
    std::ofstream(std::string(names[2]) + ".peak") << PeakBytes();
    return done ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    const wxInitializer wx;
    if (argc == 5 && std::strcmp(argv[1], "--transform") == 0)
        return TransformOnly(argv + 2);
    programName = argv[0];
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

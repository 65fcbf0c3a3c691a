// Parsing and freeing a book beside libxml2 in the same run; memory by --make and --memory. MIT licence.
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sys/resource.h>

#include <libxml/HTMLparser.h>
#include <wx/init.h>
#include <wx/stream.h>

#include "speech/ttshtmlparser.h"
#include "support/book_html.h"

namespace
{

constexpr int kXmlOptions = HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_NONET;

// The last document asked for, so that the runs on one size share it.
const std::string& Input(const benchmark::State& state)
{
    static std::string text;
    static std::int64_t size = 0;
    if (size != state.range(0)) {
        size = state.range(0);
        BookHtml book;
        book.bytes = static_cast<size_t>(size);
        text = MakeBookHtml(book);
    }
    return text;
}

void SetBytes(benchmark::State& state, size_t bytes)
{
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(bytes));
}

void ParseAndFree(benchmark::State& state)
{
    const wxString text = wxString::FromUTF8(Input(state));
    for (auto _ : state) {
        wxTTSSimpleHtmlParser parser;
        benchmark::DoNotOptimize(parser.ParseString(text));
    }
    SetBytes(state, Input(state).size());
}

void ParseAndFreeLibxml2(benchmark::State& state)
{
    const std::string& text = Input(state);
    for (auto _ : state) {
        const htmlDocPtr document =
            htmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, "UTF-8", kXmlOptions);
        benchmark::DoNotOptimize(document);
        xmlFreeDoc(document);
    }
    SetBytes(state, text.size());
}

// Takes what is written and keeps nothing.
class NullStream : public wxOutputStream
{
protected:
    size_t OnSysWrite(const void*, size_t size) override { return size; }
};

void Write(benchmark::State& state)
{
    wxTTSSimpleHtmlParser parser;
    parser.ParseString(wxString::FromUTF8(Input(state)));
    NullStream stream;
    for (auto _ : state)
        parser.Write(stream);
    SetBytes(state, Input(state).size());
}

constexpr std::int64_t kMegabyte = 1000000;

BENCHMARK(ParseAndFree)->Arg(5 * kMegabyte)->Arg(10 * kMegabyte)->Unit(benchmark::kMillisecond);
BENCHMARK(ParseAndFreeLibxml2)->Arg(5 * kMegabyte)->Arg(10 * kMegabyte)->Unit(benchmark::kMillisecond);
BENCHMARK(Write)->Arg(5 * kMegabyte)->Arg(10 * kMegabyte)->Unit(benchmark::kMillisecond);

long PeakKilobytes()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

// A process of its own for each side: a peak never goes down again. The file is made beforehand by another process.
int MeasureMemory(const char* side, const char* file)
{
    const long before = PeakKilobytes();
    size_t found = 0;
    if (std::strcmp(side, "own") == 0) {
        wxTTSSimpleHtmlParser parser;
        found = parser.ParseFile(wxString::FromUTF8(file), wxString()) && parser.GetTopLevelTag()->GetChildren();
    } else {
        const htmlDocPtr document = htmlReadFile(file, "UTF-8", kXmlOptions);
        found = document && document->children;
        xmlFreeDoc(document);
    }
    std::printf("%s: peak %ld KB above the start's %ld KB%s\n", side, PeakKilobytes() - before, before,
                found ? "" : ", NOTHING PARSED");
    return found ? 0 : 1;
}

int MakeFile(const char* file, const char* megabytes)
{
    BookHtml book;
    book.bytes = static_cast<size_t>(std::atof(megabytes) * static_cast<double>(kMegabyte));
    std::ofstream stream(file, std::ios::binary);
    stream << MakeBookHtml(book);
    return stream.flush() ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    wxInitializer wx;
    if (argc == 4 && std::strcmp(argv[1], "--make") == 0)
        return MakeFile(argv[2], argv[3]);
    if (argc == 4 && std::strcmp(argv[1], "--memory") == 0)
        return MeasureMemory(argv[2], argv[3]);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        std::fprintf(stderr, "or: --make FILE MEGABYTES, --memory own|libxml2 FILE\n");
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

// Entries, flags, index and file of the substitution dictionary. MIT licence.
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <wx/log.h>

#include "speech/ttstransformer.h"
#include "support/scratch_dir.h"

namespace
{

wxString Utf8(const std::string& text)
{
    return wxString::FromUTF8(text.data(), text.size());
}

void Put(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string Get(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

std::vector<std::string> Entries(wxTTSTransformer& transformer)
{
    EXPECT_EQ(transformer.GetStrings().size(), transformer.GetReplacements().size());
    std::vector<std::string> entries;
    for (size_t i = 0; i < transformer.GetStrings().size(); ++i)
        entries.push_back((transformer.GetStrings()[i] + "=" + transformer.GetReplacements()[i]).utf8_string());
    return entries;
}

using Strings = std::vector<std::string>;

std::string Answer(wxTTSTransformer& transformer, const std::string& word)
{
    return transformer.GetString(Utf8(word)).utf8_string();
}

// dirty and modified
std::string Flags(const wxTTSTransformer& transformer)
{
    return std::string(transformer.GetDirty() ? "dirty" : "clean") + (transformer.GetModified() ? " modified" : "");
}

// Counts the virtual calls of a load.
class CountingTransformer : public wxTTSTransformer
{
public:
    void Clear() override
    {
        calls += "Clear ";
        wxTTSTransformer::Clear();
    }
    void Index() override
    {
        calls += "Index ";
        wxTTSTransformer::Index();
    }
    std::string calls;
};

} // namespace

TEST(Dictionary, KeysAreStoredInLowerCaseAndReplacementsAsTheyStand)
{
    wxTTSTransformer transformer;
    transformer.AddString("Hello", " Hullo, You ");
    EXPECT_TRUE(transformer.HasString("HELLO"));
    EXPECT_EQ(Entries(transformer), Strings{"hello= Hullo, You "});
    EXPECT_EQ(Answer(transformer, "hELLO"), " Hullo, You ");
    EXPECT_FALSE(transformer.HasString("hell"));
    EXPECT_EQ(Answer(transformer, "hell"), "");
}

TEST(Dictionary, LettersOfAllScriptsHaveOneCaseUnderEveryLocale)
{
    const struct {
        const char* label;
        const char* key;
        const char* stored;
        const char* asked;
    } rows[] = {
        {"German", "ÜBER", "über", "Über"},
        {"German sharp s", "STRAßE", "straße", "Straße"},
        {"French", "ÉCOLE", "école", "École"},
        {"Greek", "ΛΌΓΟΣ", "λόγοσ", "Λόγοσ"},
        {"Cyrillic", "ЁЖИК", "ёжик", "Ёжик"},
        {"Turkish dotted I", "İstanbul", "istanbul", "ISTANBUL"},
        {"Turkish dotless i", "ısı", "ısı", "ısı"},
        {"Chinese", "中文", "中文", "中文"},
        {"combining mark", "E\u0301T", "e\u0301t", "e\u0301T"},
        {"emoji", "😀A", "😀a", "😀A"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        wxTTSTransformer transformer;
        transformer.AddString(Utf8(row.key), "x");
        EXPECT_EQ(transformer.GetStrings()[0].utf8_string(), row.stored);
        EXPECT_TRUE(transformer.HasString(Utf8(row.asked)));
        transformer.Index();
        EXPECT_TRUE(transformer.HasString(Utf8(row.asked)));
    }
}

TEST(Dictionary, FirstEqualKeyAnswersWhileDirtyAndTheLastOnceIndexed)
{
    wxTTSTransformer transformer;
    transformer.AddString("dr", "doctor");
    transformer.AddString("DR", "drive");
    EXPECT_EQ(Answer(transformer, "dr"), "doctor");
    transformer.Index();
    EXPECT_EQ(Answer(transformer, "dr"), "drive");
    transformer.AddString("other", "x");
    EXPECT_EQ(Answer(transformer, "dr"), "doctor");
    transformer.RemoveString("Dr");
    EXPECT_EQ(Entries(transformer), (Strings{"dr=drive", "other=x"}));
    transformer.InsertString("Dr", "inserted", 0);
    EXPECT_EQ(Answer(transformer, "dr"), "inserted");
    EXPECT_EQ(Entries(transformer), (Strings{"dr=inserted", "dr=drive", "other=x"}));
    transformer.RemoveString(size_t{1});
    transformer.Index();
    EXPECT_EQ(Answer(transformer, "dr"), "inserted");
}

TEST(Dictionary, EachChangeSetsBothFlagsAndNothingElseDoes)
{
    ScratchDir dir;
    const wxString missing = Utf8(dir / "none/none");
    Put(dir / "one", "a,b\n");
    const wxLogNull noLog;
    using Step = void (*)(wxTTSTransformer&, const wxString&, const wxString&);
    const struct {
        const char* label;
        Step step;
        const char* fromClean;
        const char* fromCleanModified;
    } rows[] = {
        {"add", [](auto& t, auto&, auto&) { t.AddString("k", "v"); }, "dirty modified", "dirty modified"},
        {"insert", [](auto& t, auto&, auto&) { t.InsertString("k", "v", 1); }, "dirty modified", "dirty modified"},
        {"remove", [](auto& t, auto&, auto&) { t.RemoveString("WORD"); }, "dirty modified", "dirty modified"},
        {"remove absent", [](auto& t, auto&, auto&) { t.RemoveString("absent"); }, "clean", "clean modified"},
        {"remove at", [](auto& t, auto&, auto&) { t.RemoveString(size_t{0}); }, "dirty modified", "dirty modified"},
        {"clear", [](auto& t, auto&, auto&) { t.Clear(); }, "dirty modified", "dirty modified"},
        {"index", [](auto& t, auto&, auto&) { t.SetDirty(true), t.Index(); }, "clean", "clean modified"},
        {"look-ups", [](auto& t, auto&, auto&) { t.GetString("word"), t.HasString("x"); }, "clean", "clean modified"},
        {"arrays", [](auto& t, auto&, auto&) { t.GetReplacements()[0] = "w"; }, "clean", "clean modified"},
        {"load", [](auto& t, auto& file, auto&) { t.LoadFile(file); }, "clean modified", "clean modified"},
        {"load none", [](auto& t, auto&, auto& none) { t.LoadFile(none); }, "dirty modified", "dirty modified"},
        {"save", [](auto& t, auto& file, auto&) { t.SaveFile(file + "x"); }, "clean", "clean"},
        {"save to a full disk", [](auto& t, auto&, auto&) { EXPECT_FALSE(t.SaveFile("/dev/full")); }, "clean",
         "clean modified"},
        {"save nowhere", [](auto& t, auto&, auto& none) { t.SaveFile(none); }, "clean", "clean modified"},
    };
    EXPECT_EQ(Flags(wxTTSTransformer()), "dirty");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        for (const bool modified : {false, true}) {
            wxTTSTransformer transformer;
            transformer.AddString("word", "w");
            transformer.Index();
            transformer.SetModified(modified);
            row.step(transformer, Utf8(dir / "one"), missing);
            EXPECT_EQ(Flags(transformer), modified ? row.fromCleanModified : row.fromClean);
        }
    }
}

TEST(Dictionary, HostMayChangeTheArraysOnceItSaysSo)
{
    wxTTSTransformer transformer;
    transformer.AddString("a", "1");
    transformer.Index();
    transformer.GetReplacements()[0] = "2";
    EXPECT_EQ(Answer(transformer, "a"), "2");
    transformer.GetStrings().Add("b");
    transformer.GetReplacements().Add("3");
    EXPECT_FALSE(transformer.HasString("b"));
    transformer.SetDirty(true);
    EXPECT_EQ(Answer(transformer, "b"), "3");
    // Entries that went without a word are gone, not read.
    transformer.Index();
    transformer.GetStrings().Clear();
    transformer.GetReplacements().Clear();
    EXPECT_FALSE(transformer.HasString("b"));
}

TEST(Dictionary, CopyAnswersFromItsOwnTexts)
{
    auto* const original = new wxTTSTransformer;
    original->AddString("a", "first");
    original->SetUsageDescription("names");
    original->Index();
    wxTTSTransformer copy(*original);
    wxTTSTransformer assigned;
    assigned.AddString("gone", "x");
    assigned = *original;
    original->GetReplacements()[0] = "changed";
    original->Clear();
    delete original;
    for (wxTTSTransformer* const each : {&copy, &assigned}) {
        EXPECT_EQ(Answer(*each, "a"), "first");
        EXPECT_FALSE(each->HasString("gone"));
        EXPECT_EQ(Flags(*each), "clean modified");
        EXPECT_EQ(each->GetUsageDescription(), "names");
    }
    wxTTSTransformer& self = copy;
    copy = self;
    EXPECT_EQ(Answer(copy, "a"), "first");
}

TEST(Dictionary, LoadReadsEveryEncodingAndLineEnd)
{
    const std::string cafe = "caf\u00e9=Kaff\u00e9e";
    const struct {
        const char* label;
        std::string bytes;
        Strings entries;
    } rows[] = {
        {"empty", "", {}},
        {"line ends of all kinds", "A,b\r\nC,d\re,F\n\ng,h", {"a=b", "c=d", "e=F", "g=h"}},
        {"incomplete lines", "word\nword,\n,word\n,\nk,v\n", {"k=v"}},
        {"blanks and commas stay", " a , b \na,b,c\nx,,\n", {" a = b ", "a=b,c", "x=,"}},
        {"duplicates stay", "a,1\nA,2\n", {"a=1", "a=2"}},
        {"UTF-8", "CAF\u00c9,Kaff\u00e9e\n", {cafe}},
        {"UTF-8 with mark",
         "\xEF\xBB\xBF"
         "caf\u00e9,Kaff\u00e9e",
         {cafe}},
        {"Latin-1",
         "caf\xe9,Kaff\xe9"
         "e\n",
         {cafe}},
        {"UTF-16LE", std::string("\xFF\xFE\xe9\0,\0b\0\n\0", 10), {"\u00e9=b"}},
        {"UTF-16BE", std::string("\xFE\xFF\0\xe9\0,\0b\0\r\0\n", 12), {"\u00e9=b"}},
        {"NUL inside", std::string("a,b\0c\n", 6), {std::string("a=b\0c", 5)}},
    };
    ScratchDir dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.label);
        Put(dir / "words", row.bytes);
        wxTTSTransformer transformer;
        transformer.AddString("old", "x");
        EXPECT_TRUE(transformer.LoadFile(Utf8(dir / "words")));
        EXPECT_EQ(Entries(transformer), row.entries);
        EXPECT_EQ(Flags(transformer), "clean modified");
    }
}

TEST(Dictionary, LoadOfWhatCannotBeReadLeavesItEmpty)
{
    ScratchDir dir;
    const wxLogNull noLog;
    Put(dir / "half", std::string("\xFF\xFE"
                                  "a\0,\0b",
                                  7));
    for (const std::string& path : {dir / "missing", dir / "half", dir.Path(), std::string()}) {
        SCOPED_TRACE(path);
        wxTTSTransformer transformer;
        transformer.AddString("old", "x");
        transformer.Index();
        EXPECT_FALSE(transformer.LoadFile(Utf8(path)));
        EXPECT_FALSE(transformer.HasStrings());
        EXPECT_FALSE(transformer.HasString("old"));
        EXPECT_EQ(Flags(transformer), "dirty modified");
    }
}

TEST(Dictionary, LoadGoesThroughOverriddenClearAndIndex)
{
    ScratchDir dir;
    Put(dir / "words", "a,b\n");
    CountingTransformer transformer;
    EXPECT_TRUE(transformer.LoadFile(Utf8(dir / "words")));
    EXPECT_EQ(transformer.calls, "Clear Index ");
}

TEST(Dictionary, SaveWritesEntriesInOrderAndLoadsBack)
{
    ScratchDir dir;
    wxTTSTransformer transformer;
    const wxString path = Utf8(dir / "wörter");
    EXPECT_TRUE(transformer.SaveFile(path));
    EXPECT_EQ(Get(dir / "wörter"), "");
    transformer.AddString("SQL", "sequel");
    transformer.AddString("dr", "doctor");
    transformer.AddString("dr", Utf8("Дóктор"));
    EXPECT_TRUE(transformer.SaveFile(path));
#if defined(_WIN32)
    EXPECT_EQ(Get(dir / "wörter"), "sql,sequel\r\ndr,doctor\r\ndr,Дóктор\r\n");
#else
    EXPECT_EQ(Get(dir / "wörter"), "sql,sequel\ndr,doctor\ndr,Дóктор\n");
#endif
    wxTTSTransformer loaded;
    EXPECT_TRUE(loaded.LoadFile(path));
    EXPECT_EQ(Entries(loaded), Entries(transformer));
}

TEST(Dictionary, WhatTheFileCannotHoldComesBackCut)
{
    ScratchDir dir;
    const wxString path = Utf8(dir / "words");
    wxTTSTransformer transformer;
    transformer.AddString("a,b", "c");
    transformer.AddString("line", "first\nsecond");
    transformer.AddString("silent", "");
    EXPECT_TRUE(transformer.HasString("silent"));
    EXPECT_TRUE(transformer.SaveFile(path));
    EXPECT_TRUE(transformer.LoadFile(path));
    EXPECT_EQ(Entries(transformer), (Strings{"a=b,c", "line=first"}));
}

TEST(Dictionary, ReplaceCharTellsWhetherItFoundAny)
{
    wxString text = Utf8("a…b…");
    EXPECT_FALSE(wxTTSTransformer::ReplaceChar(text, L'x', L'y'));
    EXPECT_EQ(text.utf8_string(), "a…b…");
    EXPECT_TRUE(wxTTSTransformer::ReplaceChar(text, L'\u2026', L'.'));
    EXPECT_EQ(text.utf8_string(), "a.b.");
}

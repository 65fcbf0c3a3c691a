// Scripts through the real synthesizer: tags must be heard, must end, and must not be read out. MIT licence.
#include "platform/posix/speechscript.h"
#include "script_context.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include <espeak-ng/speak_lib.h>
#include <gtest/gtest.h>

using namespace qxvoice;

namespace
{

constexpr double kSampleRate = 22050;
const std::wstring kWords = L"one two three four five six seven eight nine ten eleven twelve";

struct Speech {
    std::vector<short> samples;
    struct Word {
        size_t position, length; // as the synthesizer counts, from 1
    };
    std::vector<Word> words;
    std::vector<std::string> marks;

    double Seconds() const { return static_cast<double>(samples.size()) / kSampleRate; }
    double Loudness(double fromSeconds, double toSeconds) const
    {
        const size_t from = std::min(samples.size(), static_cast<size_t>(fromSeconds * kSampleRate));
        const size_t to = std::min(samples.size(), static_cast<size_t>(toSeconds * kSampleRate));
        double sum = 0;
        for (size_t i = from; i < to; ++i)
            sum += static_cast<double>(samples[i]) * samples[i];
        return std::sqrt(sum / static_cast<double>(to - from + 1));
    }
    double Loudness() const { return Loudness(0, Seconds()); }
};

int Collect(short* samples, int count, espeak_EVENT* events)
{
    auto& speech = *static_cast<Speech*>(events->user_data);
    if (samples && count > 0)
        speech.samples.insert(speech.samples.end(), samples, samples + count);
    for (; events->type != espeakEVENT_LIST_TERMINATED; ++events) {
        if (events->type == espeakEVENT_WORD)
            speech.words.push_back({static_cast<size_t>(events->text_position), static_cast<size_t>(events->length)});
        if (events->type == espeakEVENT_MARK)
            speech.marks.emplace_back(events->id.name);
    }
    return 0;
}

Speech Speak(const SpeechScript& script, const ScriptContext& context, int volume = 100)
{
    static const int rate = espeak_Initialize(AUDIO_OUTPUT_SYNCHRONOUS, 0, nullptr, espeakINITIALIZE_DONT_EXIT);
    EXPECT_EQ(rate, kSampleRate);
    espeak_SetSynthCallback(Collect);
    EXPECT_EQ(espeak_SetVoiceByName(context.voice.c_str()), EE_OK);
    espeak_SetParameter(espeakRATE, WordsPerMinute(context.rate), 0);
    espeak_SetParameter(espeakVOLUME, volume, 0);
    espeak_SetParameter(espeakPITCH, 50, 0);
    espeak_SetParameter(espeakRANGE, 50, 0);
    Speech speech;
    const unsigned flags = espeakCHARS_UTF8 | espeakENDPAUSE | (script.ssml ? espeakSSML : 0U);
    EXPECT_EQ(espeak_Synth(script.text.c_str(), script.text.size() + 1, 0, POS_CHARACTER, 0, flags, nullptr, &speech),
              EE_OK);
    return speech;
}

SpeechScript Script(const std::wstring& source, const ScriptContext& context)
{
    SpeechScript script;
    EXPECT_EQ(MakeSpeechScript(source, ScriptForm::Auto, context, script), ScriptError::None);
    return script;
}

Speech Speak(const std::wstring& source, int rate = 0, int volume = 100)
{
    const ScriptContext context = EnglishContext(rate);
    return Speak(Script(source, context), context, volume);
}

std::wstring Joined(const std::vector<std::wstring>& parts)
{
    std::wstring text;
    for (const std::wstring& part : parts)
        text += part;
    return text;
}

// Frequency of the voice: the median over stretches in which the sound repeats itself.
double Pitch(const Speech& speech)
{
    const size_t window = 1024;
    const size_t longest = 450;
    std::vector<double> found;
    for (size_t start = 0; start + window + longest < speech.samples.size(); start += 2 * window) {
        const auto product = [&](size_t a, size_t b) {
            double sum = 0;
            for (size_t i = 0; i < window; ++i)
                sum += static_cast<double>(speech.samples[a + i]) * speech.samples[b + i];
            return sum;
        };
        const double own = product(start, start);
        double best = 0.8; // less is no voice
        size_t bestLag = 0;
        for (size_t lag = 60; lag < longest && own > 1e9; ++lag) {
            const double alike = product(start, start + lag) / std::sqrt(own * product(start + lag, start + lag) + 1);
            if (alike > best + 0.02) {
                best = alike;
                bestLag = lag;
            }
        }
        if (bestLag)
            found.push_back(kSampleRate / static_cast<double>(bestLag));
    }
    std::sort(found.begin(), found.end());
    return found.empty() ? 0 : found[found.size() / 2];
}

} // namespace

TEST(SpeechScriptSynth, RateActsSumsAndEnds)
{
    const double normal = Speak(kWords).Seconds();
    const double fast = Speak(L"<rate speed='6'>" + kWords + L"</rate>").Seconds(); // 1.93 times
    const double slow = Speak(L"<rate speed='-5'>" + kWords + L"</rate>").Seconds();
    EXPECT_NEAR(normal / fast, 1.93, 0.2);
    EXPECT_NEAR(normal / slow, 0.577, 0.06);
    EXPECT_NEAR(Speak(L"<rate speed='4'><rate speed='2'>" + kWords + L"</rate></rate>").Seconds(), fast, 0.02 * fast);
    EXPECT_NEAR(Speak(L"<rate speed='2'>" + kWords + L"</rate>", 4).Seconds(), fast, 0.1 * fast);
    EXPECT_NEAR(Speak(L"<rate absspeed='-6'>" + kWords + L"</rate>", 6).Seconds(), normal, 0.08 * normal);
    EXPECT_NEAR(Speak(L"<rate speed='6'>" + kWords + L"</rate> " + kWords).Seconds(), normal + fast, 0.1 * normal);
    EXPECT_NEAR(Speak(L"<rate speed='6'/>" + kWords).Seconds(), fast, 0.02 * fast);
    EXPECT_NEAR(Speak(L"<speak><prosody rate='200%'>" + kWords + L"</prosody></speak>").Seconds(), normal / 2,
                0.06 * normal);
}

TEST(SpeechScriptSynth, VolumeActsAndEnds)
{
    const double normal = Speak(kWords).Loudness();
    EXPECT_NEAR(Speak(L"<volume level='50'>" + kWords + L"</volume>").Loudness() / normal, 0.5, 0.05);
    EXPECT_NEAR(Speak(L"<volume level='50'>" + kWords + L"</volume>", 0, 60).Loudness() / normal, 0.3, 0.05);
    EXPECT_EQ(Speak(L"<volume level='0'>" + kWords + L"</volume>").Loudness(), 0);
    const Speech both = Speak(L"<volume level='25'>" + kWords + L"</volume> " + kWords);
    const double half = both.Seconds() / 2;
    EXPECT_NEAR(both.Loudness(half + 0.3, 2 * half) / both.Loudness(0, half - 0.3), 4, 0.8);
}

TEST(SpeechScriptSynth, PitchFollowsTheTwentyFourthRootOfTwo)
{
    const double normal = Pitch(Speak(kWords));
    for (const int steps : {-10, -5, 5, 10, 15}) {
        const std::wstring tag = L"<pitch middle='" + std::to_wstring(steps) + L"'>";
        EXPECT_NEAR(Pitch(Speak(tag + kWords + L"</pitch>")) / normal, std::exp2(steps / 24.0), 0.05) << steps;
    }
    EXPECT_NEAR(Pitch(Speak(L"<pitch middle='10'>hm</pitch> " + kWords)) / normal, 1, 0.03);
}

TEST(SpeechScriptSynth, SilenceAddsItsTime)
{
    const struct {
        const char* label;
        std::wstring before, after;
        int rate;
        double seconds;
    } rows[] = {{"between", L"<b>one ", L" two</b>", 0, 3},
                {"first", L"<b>", L" one two</b>", 0, 3},
                {"first in a voice", L"<lang langid='407'>", L" one two</lang>", 0, 3},
                {"last", L"<b>one two", L"</b>", 0, 3},
                {"behind a stop", L"<b>one. ", L" Two</b>", 0, 3},
                {"alone", L"<b>", L"</b>", 0, 3},
                {"within a rate", L"<rate speed='6'>one ", L" two</rate>", 0, 3},
                {"within a voice", L"<lang langid='407'>one ", L" two</lang>", 0, 3},
                {"by a slow voice", L"<b>one ", L" two</b>", -10, 3},
                {"by a fast voice", L"<b>one ", L" two</b>", 10, 3},
                {"by a fast voice, slowed down", L"<rate speed='-9'>one ", L" two</rate>", 10, 3},
                {"long", L"<b>one ", L" two</b>", 0, 60}};
    for (const auto& row : rows) {
        const std::wstring tag = L"<silence msec='" + std::to_wstring(static_cast<int>(row.seconds * 1000)) + L"'/>";
        const double without = Speak(Joined({row.before, row.after}), row.rate).Seconds();
        const double with = Speak(Joined({row.before, tag, row.after}), row.rate).Seconds();
        // A pause takes the place of the one that the end of a sentence would have.
        EXPECT_NEAR(with - without, row.seconds, 0.45) << row.label;
        const double twice = Speak(Joined({row.before, tag, tag, row.after}), row.rate).Seconds();
        EXPECT_NEAR(twice - without, 2 * row.seconds, 0.45) << row.label << ", twice";
    }
}

TEST(SpeechScriptSynth, VoiceAndLanguageEndWithTheirElement)
{
    // Letters that are silent in one language and spoken in the other.
    const std::wstring words = L"the knight thought that the daughter laughed although she was right enough, "
                               L"though she fought through the night";
    const double english = Speak(L"hm, " + words).Seconds();
    const double german = Speak(L"<lang langid='407'>hm, " + words + L"</lang>").Seconds();
    ASSERT_GT(german, 1.15 * english);
    for (const wchar_t* const start : {L"<sapi><lang langid='407'>hm,</lang> ", L"<speak><s xml:lang='de-DE'>hm</s> ",
                                       L"<speak><voice name='German'>hm,</voice> "}) {
        const std::wstring end = start[2] == L'a' ? L"</sapi>" : L"</speak>";
        EXPECT_LT(Speak(Joined({start, words, end})).Seconds(), (english + german) / 2) << start;
    }

    const double male = Pitch(Speak(kWords));
    EXPECT_GT(Pitch(Speak(L"<voice required='Gender=Female'>" + kWords + L"</voice>")), 1.5 * male);
    EXPECT_NEAR(Pitch(Speak(L"<voice required='Gender=Female'>hm</voice> " + kWords)), male, 0.05 * male);
    EXPECT_NEAR(Pitch(Speak(L"<speak><voice gender='female'>hm</voice> " + kWords + L"</speak>")), male, 0.05 * male);
}

TEST(SpeechScriptSynth, SpellAndEmphasisAct)
{
    EXPECT_GT(Speak(L"<spell>" + kWords + L"</spell>").Seconds(), 1.5 * Speak(kWords).Seconds());
    EXPECT_NEAR(Speak(L"<spell>a</spell> " + kWords).Seconds(), Speak(L"a " + kWords).Seconds(), 0.5);
    EXPECT_GT(Speak(L"<emph>" + kWords + L"</emph>").Loudness(), 1.3 * Speak(kWords).Loudness());
    EXPECT_GT(Speak(L"<speak><p>one</p><p>two</p></speak>").Seconds(), Speak(L"one two").Seconds() + 0.3);
}

TEST(SpeechScriptSynth, MarkupIsNeverReadOut)
{
    const struct {
        const char* label;
        std::wstring marked, plain;
    } rows[] = {
        {"tags", L"<sapi>one <b>two</b> <context id='date_mdy'>three</context></sapi>", L"one two three"},
        {"comment", L"<b>one <!-- four five --> two</b>", L"one two"},
        {"entities", L"<b>caf&eacute; &#116;wo AT&amp;T</b>", L"caf\xE9 two AT&T"},
        {"bare signs", L"<b>AT&T is 1 < 2</b>", L"AT&T is 1 < 2"},
        {"alias", L"<speak>the <sub alias='world wide web'>WWW</sub></speak>", L"the world wide web"},
        {"head", L"<?xml version='1.0'?><!DOCTYPE speak [<!ENTITY a 'b'>]><speak version='1.0'>one two</speak>",
         L"one two"},
        {"section", L"<speak><![CDATA[one two]]></speak>", L"one two"},
        {"foreign tags", L"<speak xmlns:x='y'><x:style degree='2'>one</x:style> two</speak>", L"one two"},
        {"mark", L"<b>one <bookmark mark='four'/>two</b>", L"one two"},
    };
    for (const auto& row : rows) {
        const double plain = Speak(row.plain).Seconds();
        EXPECT_NEAR(Speak(row.marked).Seconds(), plain, 0.06) << row.label;
    }
}

TEST(SpeechScriptSynth, MarksArriveWithTheirNames)
{
    const ScriptContext context = EnglishContext();
    const std::wstring name(3000, L'\x416');
    const SpeechScript script = Script(
        L"<b><bookmark mark='a'/>one<bookmark mark='" + name + L"'/> two<bookmark mark='&lt;\"&gt;'/></b>", context);
    std::vector<std::wstring> names;
    for (const std::string& mark : Speak(script, context).marks)
        names.push_back(MarkName(script, mark.c_str()));
    EXPECT_EQ(names, (std::vector<std::wstring>{L"a", name, L"<\">"}));
}

TEST(SpeechScriptSynth, WordEventsLeadBackToTheSource)
{
    const ScriptContext context = EnglishContext();
    const std::wstring cafe = L"caf\xE9";
    const std::wstring zhe = L"\x416";
    const struct {
        std::wstring source;
        std::vector<std::wstring> words;
    } rows[] = {
        {L"caf\xE9 \x416 one two", {cafe, zhe, L"one", L"two"}},
        {L"one. two three. four, five! Six", {L"one", L"two", L"three", L"four", L"five", L"Six"}},
        {L"<b>one.  <emph>two</emph> three</b>", {L"one", L"two", L"three"}},
        {L"<b>one <silence msec='9'/>two <lang langid='407'>drei, vier</lang>. five</b>",
         {L"one", L"two", L"drei", L"vier", L"five"}},
        {L"<sapi>caf&eacute; <rate speed='5'>&#x416; <!-- no -->one</rate> <lang langid='407'>two</lang></sapi>",
         {L"caf&eacute;", L"&#x416;", L"one", L"two"}},
        {L"<speak>caf\xE9 <emphasis>\x416</emphasis><mark name='x'/> <prosody pitch='high'>one</prosody></speak>",
         {cafe, zhe, L"one"}},
    };
    for (const auto& row : rows) {
        const SpeechScript script = Script(row.source, context);
        std::vector<std::wstring> words;
        for (const Speech::Word& word : Speak(script, context).words) {
            size_t start = 0;
            size_t count = 0;
            if (FindWord(script, row.source, word.position, word.length, start, count))
                words.push_back(row.source.substr(start, count));
        }
        EXPECT_EQ(words, row.words) << script.text;
    }
}

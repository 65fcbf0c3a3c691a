// Words, numbers and units of the prosody element. MIT licence.
#include "platform/posix/ssmlprosody.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "platform/posix/scriptbuilder.h"
#include "platform/posix/scripttext.h"

namespace qxvoice
{
namespace
{

constexpr double kNormalHz = 105; // of the synthesizer's male voices
constexpr double kLeastFactor = 0.01;
constexpr double kGreatestFactor = 100;

struct Word {
    std::wstring_view word;
    double factor;
};

struct Quantity {
    double number = 0;
    bool hasSign = false;
    std::wstring_view unit;
};

bool ReadQuantity(std::wstring_view text, Quantity& quantity)
{
    text = TrimBlanks(text);
    const bool read = TakeNumber(text, quantity.number, quantity.hasSign);
    quantity.unit = TrimBlanks(text);
    return read;
}

template <size_t N>
const Word* FindWord(const Word (&words)[N], std::wstring_view text)
{
    text = TrimBlanks(text);
    const auto found =
        std::find_if(std::begin(words), std::end(words), [text](const Word& w) { return w.word == text; });
    return found == std::end(words) ? nullptr : found;
}

double Limited(double factor)
{
    return std::min(std::max(factor, kLeastFactor), kGreatestFactor);
}

double RateSteps(double factor)
{
    return 10 * std::log(Limited(factor)) / std::log(3.0);
}

// Factor that a percentage or a number of hertz or semitones means. False for any other unit.
bool FrequencyFactor(const Quantity& quantity, double& factor, bool& replaces)
{
    replaces = !quantity.hasSign;
    if (quantity.unit == L"%") {
        factor = quantity.hasSign ? 1 + quantity.number / 100 : quantity.number / 100;
    } else if (quantity.unit == L"Hz") {
        factor = quantity.hasSign ? 1 + quantity.number / kNormalHz : quantity.number / kNormalHz;
    } else if (quantity.unit == L"st") {
        factor = std::exp2(std::min(std::max(quantity.number, -96.0), 96.0) / 12);
        replaces = false;
    } else {
        return false;
    }
    factor = Limited(factor);
    return true;
}

} // namespace

double ProsodyRate(std::wstring_view text, double rate)
{
    static const Word words[] = {{L"x-slow", 0.6}, {L"slow", 0.8},   {L"medium", 1},
                                 {L"fast", 1.25},  {L"x-fast", 1.6}, {L"default", 1}};
    if (const Word* const word = FindWord(words, text))
        return RateSteps(word->factor);
    Quantity quantity;
    if (!ReadQuantity(text, quantity) || !(quantity.unit.empty() || quantity.unit == L"%"))
        return rate;
    const double factor = quantity.unit.empty() ? quantity.number : quantity.number / 100;
    return quantity.hasSign ? rate + RateSteps(1 + factor) : RateSteps(factor);
}

double ProsodyPitch(std::wstring_view text, double pitch)
{
    static const Word words[] = {{L"x-low", 0.7}, {L"low", 0.85},   {L"medium", 1},
                                 {L"high", 1.2},  {L"x-high", 1.4}, {L"default", 1}};
    if (const Word* const word = FindWord(words, text))
        return std::log2(word->factor);
    Quantity quantity;
    double factor = 1;
    bool replaces = false;
    if (!ReadQuantity(text, quantity) || !FrequencyFactor(quantity, factor, replaces))
        return pitch;
    return std::log2(factor) + (replaces ? 0 : pitch);
}

double ProsodyRange(std::wstring_view text, double range)
{
    static const Word words[] = {{L"x-low", 0.2}, {L"low", 0.5},    {L"medium", 1},
                                 {L"high", 1.4},  {L"x-high", 1.8}, {L"default", 1}};
    if (const Word* const word = FindWord(words, text))
        return word->factor;
    Quantity quantity;
    double factor = 1;
    bool replaces = false;
    if (!ReadQuantity(text, quantity) || quantity.unit == L"Hz" || !FrequencyFactor(quantity, factor, replaces))
        return range;
    return Limited(replaces ? factor : range * factor);
}

double ProsodyVolume(std::wstring_view text, double volume)
{
    static const Word words[] = {{L"silent", 0}, {L"x-soft", 30},  {L"soft", 65},    {L"medium", 100},
                                 {L"loud", 150}, {L"x-loud", 200}, {L"default", 100}};
    if (const Word* const word = FindWord(words, text))
        return word->factor;
    Quantity quantity;
    if (!ReadQuantity(text, quantity))
        return volume;
    double value = volume;
    if (quantity.unit.empty())
        value = quantity.hasSign ? volume + quantity.number : quantity.number;
    else if (quantity.unit == L"%")
        value = quantity.hasSign ? volume * (1 + quantity.number / 100) : quantity.number;
    else if (quantity.unit == L"dB")
        value = volume * std::pow(10.0, std::min(std::max(quantity.number, -200.0), 200.0) / 20);
    return std::min(std::max(value, 0.0), 200.0);
}

} // namespace qxvoice

// Forms of text, plain text, positions and attribute queries. MIT licence.
#include "platform/posix/speechscript.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string_view>

#include "platform/posix/scriptbuilder.h"
#include "platform/posix/scriptscanner.h"
#include "platform/posix/scripttext.h"

namespace qxvoice
{
namespace
{

constexpr wchar_t kByteOrderMark = 0xFEFF;

size_t MarkLength(const std::wstring& source)
{
    return !source.empty() && source.front() == kByteOrderMark ? 1 : 0;
}

ScriptForm RootForm(const std::wstring& source)
{
    ScriptScanner scanner(source, MarkLength(source));
    ScriptScanner::Token token = scanner.Next();
    while (token == ScriptScanner::Token::Text && TrimBlanks(scanner.GetText()).empty())
        token = scanner.Next();
    const bool tag = token == ScriptScanner::Token::StartTag || token == ScriptScanner::Token::EmptyTag;
    return tag && LocalName(scanner.GetText()) == L"speak" ? ScriptForm::Ssml : ScriptForm::SapiXml;
}

ScriptForm FindForm(const std::wstring& source, ScriptForm form)
{
    const size_t start = MarkLength(source);
    if (form == ScriptForm::Auto)
        form = source.size() > start && source[start] == L'<' ? ScriptForm::Xml : ScriptForm::Plain;
    return form == ScriptForm::Xml ? RootForm(source) : form;
}

void WritePlain(const std::wstring& source, SpeechScript& out)
{
    size_t spoken = 0;
    bool inText = false;
    out.text.reserve(source.size());
    for (size_t i = 0; i < source.size(); ++spoken) {
        const CodePoint point = ReadCodePoint(source, i);
        if (point.units != 1)
            out.map.AddSpan(spoken, i, i + point.units);
        else if (!inText)
            out.map.AddText(spoken, i);
        inText = point.units == 1;
        AppendUtf8(out.text, point.value);
        i += point.units;
    }
    out.map.Close(spoken, source.size());
}

bool HoldsValue(std::wstring_view values, std::wstring_view value)
{
    for (;;) {
        const size_t end = values.find(L';');
        if (EqualNoCase(TrimBlanks(values.substr(0, end)), value))
            return true;
        if (end == std::wstring_view::npos)
            return false;
        values.remove_prefix(end + 1);
    }
}

// One condition of a query, without blanks round it.
bool ConditionHolds(std::wstring_view condition, const std::map<std::wstring, std::wstring>& attributes)
{
    const size_t equals = condition.find(L'=');
    const bool hasValue = equals != std::wstring_view::npos;
    const bool negated = hasValue && equals > 0 && condition[equals - 1] == L'!';
    const std::wstring_view name = TrimBlanks(condition.substr(0, negated ? equals - 1 : equals));
    const std::wstring_view value = hasValue ? TrimBlanks(condition.substr(equals + 1)) : std::wstring_view();
    const auto found = std::find_if(attributes.begin(), attributes.end(),
                                    [name](const auto& attribute) { return EqualNoCase(attribute.first, name); });
    if (found == attributes.end())
        return negated;
    return !hasValue || HoldsValue(found->second, value) != negated;
}

} // namespace

const PositionMap::Run* PositionMap::Find(size_t spoken) const
{
    const auto after = std::upper_bound(m_runs.begin(), m_runs.end(), spoken,
                                        [](size_t index, const Run& run) { return index < run.spoken; });
    return after == m_runs.begin() ? nullptr : &*(after - 1);
}

size_t PositionMap::ToSource(size_t spoken) const
{
    if (!m_closed)
        return spoken;
    if (spoken >= m_spokenLength)
        return m_sourceLength;
    const Run* const run = Find(spoken);
    if (!run)
        return 0;
    return run->sourceEnd == kText ? run->source + (spoken - run->spoken) : run->source;
}

size_t PositionMap::SourceEnd(size_t spoken) const
{
    if (!m_closed)
        return spoken + 1;
    const Run* const run = spoken < m_spokenLength ? Find(spoken) : nullptr;
    if (!run)
        return ToSource(spoken);
    return run->sourceEnd == kText ? run->source + (spoken - run->spoken) + 1 : run->sourceEnd;
}

size_t PositionMap::ToSourceLength(size_t spoken, size_t length) const
{
    if (length == 0)
        return 0;
    const size_t begin = ToSource(spoken);
    const size_t end = SourceEnd(spoken + length - 1);
    return end > begin ? end - begin : 0;
}

void PositionMap::AddText(size_t spoken, size_t source)
{
    m_runs.push_back({spoken, source, kText});
}

size_t PositionMap::AddSpan(size_t spoken, size_t source, size_t sourceEnd)
{
    const bool more = !m_runs.empty() && source == sourceEnd && m_runs.back().source == source &&
                      m_runs.back().sourceEnd == sourceEnd;
    if (!more)
        m_runs.push_back({spoken, source, sourceEnd});
    return m_runs.size() - 1;
}

void PositionMap::Close(size_t spoken, size_t source)
{
    m_spokenLength = spoken;
    m_sourceLength = source;
    m_closed = true;
}

ScriptError MakeSpeechScript(const std::wstring& source, ScriptForm form, const ScriptContext& context,
                             SpeechScript& out)
{
    out = SpeechScript();
    if (source.empty())
        return ScriptError::Empty;
    const ScriptForm dialect = FindForm(source, form);
    if (dialect == ScriptForm::Plain) {
        WritePlain(source, out);
        return ScriptError::None;
    }
    out.ssml = true;
    const std::unique_ptr<ScriptBuilder> builder =
        dialect == ScriptForm::Ssml ? MakeSsmlBuilder(context, out) : MakeSapiBuilder(context, out);
    const ScriptError error = builder->Build(source, MarkLength(source));
    if (error != ScriptError::None)
        out = SpeechScript();
    return error;
}

bool FindWord(const SpeechScript& script, const std::wstring& source, size_t textPosition, size_t length, size_t& start,
              size_t& count)
{
    if (textPosition == 0 || length == 0)
        return false;
    const auto blankAt = [&](size_t position) { return position < source.size() && IsXmlBlank(source[position]); };
    size_t spoken = textPosition - 1;
    start = script.map.ToSource(spoken);
    count = script.map.ToSourceLength(spoken, length);
    if (blankAt(start)) {
        while (blankAt(start))
            start = script.map.ToSource(++spoken);
        size_t end = start;
        while (end < source.size() && !IsXmlBlank(source[end]) && !(script.ssml && source[end] == L'<'))
            ++end;
        while (end > start + 1 && std::wstring_view(L".,;:!?)]}\"").find(source[end - 1]) != std::wstring_view::npos)
            --end;
        count = end - start;
    }
    return count > 0;
}

int WordsPerMinute(double rate)
{
    constexpr double normal = 175;
    return static_cast<int>(std::lround(normal * std::pow(3.0, std::min(std::max(rate, -10.0), 10.0) / 10)));
}

std::wstring MarkName(const SpeechScript& script, const char* eventName)
{
    if (!eventName || *eventName < '0' || *eventName > '9')
        return std::wstring();
    char* end = nullptr;
    const unsigned long number = std::strtoul(eventName, &end, 10);
    return *end == '\0' && number < script.marks.size() ? script.marks[number] : std::wstring();
}

bool VoiceAttributesMatch(const std::wstring& query, const std::map<std::wstring, std::wstring>& attributes)
{
    std::wstring_view rest = query;
    while (!rest.empty()) {
        const size_t end = std::min(rest.find(L';'), rest.size());
        const std::wstring_view condition = TrimBlanks(rest.substr(0, end));
        if (!condition.empty() && !ConditionHolds(condition, attributes))
            return false;
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return true;
}

} // namespace qxvoice

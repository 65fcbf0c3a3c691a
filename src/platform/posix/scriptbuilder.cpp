// Elements, the state they change, and its end. MIT licence.
#include "platform/posix/scriptbuilder.h"

#include "platform/posix/scripttext.h"

namespace qxvoice
{

ScriptError ScriptBuilder::Build(std::wstring_view source, size_t start)
{
    using Token = ScriptScanner::Token;
    ScriptScanner scanner(source, start);
    for (bool good = true; good;) {
        const Token token = scanner.Next();
        switch (token) {
        case Token::Text:
        case Token::CData:
            good = Character(scanner, token == Token::Text);
            break;
        case Token::StartTag:
        case Token::EmptyTag:
            good = OpenElement(scanner, token == Token::EmptyTag);
            break;
        case Token::EndTag:
            good = CloseElement(scanner);
            break;
        case Token::End:
            if (!m_frames.empty() || !IsComplete())
                return ScriptError::MalformedXml;
            m_writer.Finish(source.size());
            return m_voiceMissing ? ScriptError::NoSuchVoice : ScriptError::None;
        case Token::Malformed:
            good = false;
            break;
        }
    }
    return ScriptError::MalformedXml;
}

bool ScriptBuilder::Character(const ScriptScanner& scanner, bool entities)
{
    if (!MayHoldText())
        return TrimBlanks(scanner.GetText()).empty();
    if (m_muted == 0)
        m_writer.Text(scanner.GetText(), scanner.GetBegin(), entities, Effective());
    return true;
}

bool ScriptBuilder::OpenElement(const ScriptScanner& scanner, bool empty)
{
    const std::wstring_view name = scanner.GetText();
    if (!MayOpen(name))
        return false;
    if (!empty) {
        m_frames.emplace_back();
        m_frames.back().name = name;
    }
    Open({LocalName(name), empty, scanner.GetBegin(), scanner.GetEnd(), scanner.GetAttributes()});
    return true;
}

bool ScriptBuilder::CloseElement(const ScriptScanner& scanner)
{
    if (m_frames.empty() || !SameName(m_frames.back().name, scanner.GetText()))
        return false;
    const Frame frame = m_frames.back();
    m_frames.pop_back();
    if (frame.kind != FrameKind::Normal)
        --m_muted;
    if (frame.kind == FrameKind::Substituted)
        m_writer.EndSubstitute(m_substituteRun, scanner.GetBegin());
    if (frame.saved)
        Restore();
    Closed(LocalName(frame.name));
    return true;
}

void ScriptBuilder::Mute()
{
    m_frames.back().kind = FrameKind::Muted;
    ++m_muted;
}

void ScriptBuilder::Substitute(std::wstring_view text, const Tag& tag)
{
    if (m_muted == 0) {
        const size_t run = m_writer.Substitute(text, tag.end, Effective());
        if (!tag.empty)
            m_substituteRun = run;
    }
    if (tag.empty)
        return;
    const bool outermost = m_muted == 0;
    Mute();
    if (outermost)
        m_frames.back().kind = FrameKind::Substituted;
}

SpeechState ScriptBuilder::Effective() const
{
    SpeechState state = m_state;
    state.rate += m_rateShift;
    state.pitch += m_pitchShift;
    return state;
}

void ScriptBuilder::Save()
{
    if (m_frames.empty() || m_frames.back().saved)
        return;
    m_frames.back().saved = true;
    m_saved.push_back({m_state, m_restEpochs});
}

// What was set for the rest of the text since the state was saved, stays.
void ScriptBuilder::Restore()
{
    const Saved& saved = m_saved.back();
    m_state = saved.state;
    if (saved.epochs[RestRate] != m_restEpochs[RestRate])
        m_state.rate = m_rest.rate;
    if (saved.epochs[RestPitch] != m_restEpochs[RestPitch])
        m_state.pitch = m_rest.pitch;
    if (saved.epochs[RestVolume] != m_restEpochs[RestVolume])
        m_state.volume = m_rest.volume;
    if (saved.epochs[RestVoice] != m_restEpochs[RestVoice])
        m_state.voice = m_rest.voice;
    m_saved.pop_back();
}

bool TakeNumber(std::wstring_view& text, double& value, bool& hasSign)
{
    size_t next = 0;
    hasSign = !text.empty() && (text[0] == L'+' || text[0] == L'-');
    const bool negative = hasSign && text[0] == L'-';
    next += hasSign ? 1 : 0;
    value = 0;
    double unit = 0; // of the next digit behind the point
    bool digits = false;
    for (; next < text.size(); ++next) {
        const wchar_t character = text[next];
        if (character == L'.' && unit == 0) {
            unit = 0.1;
        } else if (character >= L'0' && character <= L'9') {
            const auto digit = static_cast<double>(character - L'0');
            value = unit == 0 ? value * 10 + digit : value + digit * unit;
            unit /= 10;
            digits = true;
        } else {
            break;
        }
    }
    constexpr double largest = 1e9;
    value = value > largest ? largest : value;
    value = negative ? -value : value;
    text.remove_prefix(next);
    return digits;
}

} // namespace qxvoice

// A byte that is no part of a sequence ends it and counts by itself. MIT licence.
#include "keys.h"

namespace play
{
namespace
{

constexpr char kEscapeByte = 0x1b;

} // namespace

Command CommandOfCharacter(int character)
{
    switch (character) {
    case ' ':
        return Command::kTogglePause;
    case 'n':
        return Command::kNext;
    case 'q':
        return Command::kStop;
    default:
        return Command::kNone;
    }
}

Command KeyDecoder::Feed(char byte)
{
    if (byte == kEscapeByte) {
        m_state = State::kEscape;
        return Command::kNone;
    }
    if (m_state == State::kEscape && (byte == '[' || byte == 'O')) {
        m_state = State::kSequence;
        return Command::kNone;
    }
    if (m_state == State::kSequence)
        return EndSequence(byte);
    m_state = State::kPlain;
    return CommandOfCharacter(byte);
}

Command KeyDecoder::EndSequence(char byte)
{
    // Numbers and semicolons stand before the letter when a modifier is held.
    if ((byte >= '0' && byte <= '9') || byte == ';')
        return Command::kNone;
    m_state = State::kPlain;
    if (byte == 'C')
        return Command::kForward;
    return byte == 'D' ? Command::kBack : Command::kNone;
}

} // namespace play

// What keys mean, from the terminal's bytes and from the window's key codes. MIT licence.
#ifndef QXSPEECH_EXAMPLES_PLAY_KEYS_H
#define QXSPEECH_EXAMPLES_PLAY_KEYS_H

namespace play
{

enum class Command { kNone, kTogglePause, kBack, kForward, kNext, kStop };

// A character that stands for itself, from either source.
Command CommandOfCharacter(int character);

// Puts the bytes of an arrow key together: ESC, [ or O, and a letter. Bytes of other keys mean nothing.
class KeyDecoder
{
public:
    // The command that this byte completes.
    Command Feed(char byte);

private:
    enum class State { kPlain, kEscape, kSequence };
    Command EndSequence(char byte);

    State m_state = State::kPlain;
};

} // namespace play

#endif

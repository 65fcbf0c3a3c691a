// How the engines on the network play what they have fetched. Private. MIT licence.
#ifndef QXSPEECH_SPEECH_CLOUDPLAYBACK_H
#define QXSPEECH_SPEECH_CLOUDPLAYBACK_H

#include <functional>
#include <wx/string.h>

#include "speech/outputfile.h"
#include "speech/speechfailure.h"

class MKMediaPlayer;

namespace qxspeech
{

bool IsPlaying(const MKMediaPlayer& player);
bool IsPlayingPaused(const MKMediaPlayer& player);

// Ends what the player plays and starts the file, of any format; returns when playing has begun. "", or the translated
// reason why it has not. Nothing is thrown.
wxString PlayAudioFile(MKMediaPlayer& player, const wxString& path, bool playTail);

// Why a file that PlayAudioFile has begun ended before its time, none if it has not. Any thread.
wxTTSFailure PlayingFailure(const MKMediaPlayer& player);
// Why PlayAudioFile has not begun.
wxTTSFailure RefusedFailure(const MKMediaPlayer& player);

// The audio files of one engine, temporary and owned by QXTempFileMan: `current` is the one last written, `spare` stays
// empty until new audio arrives while the player is at the other.
struct AudioFiles {
    wxString current;
    wxString spare;
};

// Has write called with the path where audio meant for `path` goes: that path itself, except that the engine's own file
// gives way to the spare one while the player runs or is paused; the two then change places, unless write throws. The
// engine's own files are to be their owner's alone.
void WriteAudio(const MKMediaPlayer& player, const wxString& path, AudioFiles& files,
                const std::function<void(const wxString&, FileAccess)>& write);

} // namespace qxspeech

#endif

// One file, from opening it to its end. MIT licence.
#ifndef QXSPEECH_EXAMPLES_PLAY_PLAYBACK_H
#define QXSPEECH_EXAMPLES_PLAY_PLAYBACK_H

#include <cstdint>
#include <string>
#include <wx/string.h>

#include "../common/progressline.h"
#include "../common/terminal.h"
#include "keys.h"
#include "mediakit/fileprovider.h"
#include "mediakit/mediaplayer.h"
#include "screen.h"

namespace play
{

// What the files of one call share. None is owned; all outlive the playback.
struct Stage {
    MKMediaPlayer& player; // set to its device
    std::string device;    // its id, empty for the default
    Screen* screen;        // null: no pictures
    tool::TerminalKeys& keys;
    tool::ProgressLine& progress;
};

// Plays on a player that nothing else uses meanwhile, and closes it at the end. Polls, so that keys and signals act at
// once. Main thread.
class Playback
{
public:
    // Opens the file, the path's bytes. The label names it on the progress line. Throws Failure: kExitFile if it holds
    // nothing to play, kExitNoDevice if the device does not open.
    Playback(const Stage& stage, const std::string& file, const wxString& label);
    ~Playback();
    Playback(const Playback&) = delete;
    Playback& operator=(const Playback&) = delete;

    // To the end, or until the user wants the next file. Throws Failure: kExitUsage if the file ends before that
    // position, kExitNoDevice if the device went away, kExitInterrupted.
    void Run(int64_t fromUs);

private:
    void Open();
    void OpenMedia();
    [[noreturn]] void TellWhyNot();
    [[noreturn]] void TellDevice();
    void Start();
    bool IsGoingOn();
    void ObeyAll();
    void Obey(Command command);
    void TogglePause();
    void SeekBy(int64_t distanceUs);
    void SeekTo(int64_t positionUs);
    void Halt();
    bool SoundHasFailed() const;
    void CheckEnd();
    int64_t Position() const;
    int64_t PlayedPosition() const;
    void ThrowNothingToShowOn() const;
    MKPictureShape PictureShape() const;
    int64_t Duration() const; // 0 if unknown
    void ShowProgress();

    const Stage m_stage;
    const std::string m_file;
    const wxString m_label;
    MKFileProvider* m_provider = nullptr; // owned by the player
    MKConsumer* m_consumer = nullptr;     // owned by the player
    size_t m_stream = 0;                  // at the consumer, the one whose time is shown
    bool m_hasSound = false;
    bool m_hasPictures = false;
    bool m_paused = false;
    bool m_isOver = false;   // by the user's wish
    int64_t m_soughtUs = -1; // a position that playing goes to when it is resumed
    int64_t m_placeUs = 0;   // where playing began, or the last seek went
    int64_t m_shownUs = 0;   // the latest position on the progress line since the last seek
    KeyDecoder m_decoder;
};

} // namespace play

#endif

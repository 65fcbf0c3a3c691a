// The window for the picture of a video file. MIT licence.
#ifndef QXSPEECH_EXAMPLES_PLAY_SCREEN_H
#define QXSPEECH_EXAMPLES_PLAY_SCREEN_H

#include <functional>
#include <memory>
#include <wx/string.h>

#include "keys.h"
#include "mediakit/fileprovider.h"
#include "surface.h"

namespace play
{

class Window;

// Owns the surface that a player writes to and opens a window as soon as pictures move on it. Only then is the display
// connected to; without one the sound plays alone. Main thread; outlives the player. One object at a time.
class Screen
{
public:
    // tell shows the user a line.
    explicit Screen(std::function<void(const wxString&)> tell);
    ~Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    // Makes ready for the next file. Nothing plays meanwhile.
    void Begin(const wxString& title);
    // Null without a display, as far as that is known.
    MKVideoSurface* GetSurface();
    // After a file was opened. The first pictures that are not shown to a sound are worth a line.
    void NoteStreams(bool hasPictures, bool hasSound, const MKPictureShape& shape);
    // Whether it is known that there is no display.
    bool IsHopeless() const { return m_isHopeless; }
    // Opens the window if it is time, and lets it draw. The command of a key that was pressed in it; closing it stops.
    Command Update();

private:
    void OpenWindow();
    void NoteMissingDisplay();

    const std::function<void(const wxString&)> m_tell;
    PictureSurface m_surface;
    std::unique_ptr<Window> m_window;
    wxString m_title;
    MKPictureShape m_shape;
    bool m_hasSound = false;
    bool m_isHopeless; // there is no display
    bool m_isNoted = false;
};

} // namespace play

#endif

// The application object: a console program that can start the graphical part later. MIT licence.
#ifndef QXSPEECH_EXAMPLES_PLAY_APPLICATION_H
#define QXSPEECH_EXAMPLES_PLAY_APPLICATION_H

#include <wx/app.h>

namespace play
{

// Installed with wxApp::SetInstance before wxWidgets starts, which then takes it over. Main thread.
class Application : public wxApp
{
public:
    // Whether the environment names one; costs nothing.
    static bool HasDisplayName();
    // Connects to the display. False without one; to be asked once only, then.
    bool StartGui();

    bool Initialize(int& argumentCount, wxChar** arguments) override;
    void CleanUp() override;
    void OnAssertFailure(const wxChar* file, int line, const wxChar* func, const wxChar* cond,
                         const wxChar* msg) override;

private:
    bool m_hasGui = false;
};

} // namespace play

#endif

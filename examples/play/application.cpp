// wxWidgets starts with the console's part of the initialisation; the toolkit's part follows on demand. MIT licence.
#include "application.h"

#include <cstdlib>
#include <dlfcn.h>
#include <wx/log.h>

#include "../common/console.h"
#include "../common/exitstatus.h"
#include "../common/interrupt.h"

namespace play
{
namespace
{

bool IsSet(const char* variable)
{
    const char* const value = std::getenv(variable);
    return value && *value;
}

// A connection to the display through a library that the toolkit has brought in. It is kept until the toolkit has its
// own: a server whose last client leaves may start anew.
class Connection
{
public:
    Connection(const char* variable, const char* library, const char* open, const char* close)
        : m_library(IsSet(variable) ? dlopen(library, RTLD_NOW | RTLD_NOLOAD) : nullptr)
    {
        if (!m_library)
            return;
        const auto connect = reinterpret_cast<void* (*)(const char*)>(dlsym(m_library, open));
        m_disconnect = reinterpret_cast<void (*)(void*)>(dlsym(m_library, close));
        m_connection = connect && m_disconnect ? connect(nullptr) : nullptr;
    }
    ~Connection()
    {
        if (m_connection)
            m_disconnect(m_connection);
        if (m_library)
            dlclose(m_library);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    bool IsMade() const { return m_connection != nullptr; }

private:
    void* const m_library;
    void (*m_disconnect)(void*) = nullptr;
    void* m_connection = nullptr;
};

// The library beneath the toolkit ends the process if this returns.
int OnDisplayLost(void*)
{
    if (tool::ErrorsGoToTerminal())
        tool::PrintProgress("\n"); // which the progress line stands on
    tool::PrintError("the display went away");
    tool::EndAtOnce(tool::kExitNoDevice);
}

// The toolkit's own way is to end the process with a line of its own, which nobody would see.
void CatchDisplayLost()
{
    using Handler = int (*)(void*);
    void* const library = dlopen("libX11.so.6", RTLD_NOW | RTLD_NOLOAD);
    if (!library)
        return;
    if (const auto set = reinterpret_cast<Handler (*)(Handler)>(dlsym(library, "XSetIOErrorHandler")))
        set(&OnDisplayLost);
}

} // namespace

bool Application::HasDisplayName()
{
    return IsSet("DISPLAY") || IsSet("WAYLAND_DISPLAY");
}

bool Application::StartGui()
{
    if (m_hasGui)
        return true;
    // A toolkit whose start has failed cannot be cleaned up, so the display is tried before.
    const Connection wayland("WAYLAND_DISPLAY", "libwayland-client.so.0", "wl_display_connect",
                             "wl_display_disconnect");
    const Connection x11("DISPLAY", "libX11.so.6", "XOpenDisplay", "XCloseDisplay");
    if (!wayland.IsMade() && !x11.IsMade())
        return false;
    static wxChar name[] = wxT(QX_PROGRAM_NAME);
    static wxChar* arguments[] = {name, nullptr};
    int count = 1;
    m_hasGui = wxApp::Initialize(count, arguments);
    if (m_hasGui)
        CatchDisplayLost();
    return m_hasGui;
}

bool Application::Initialize(int& argumentCount, wxChar** arguments)
{
    return wxAppConsole::Initialize(argumentCount, arguments); // NOLINT(bugprone-parent-virtual-call): not yet the GUI
}

void Application::CleanUp()
{
    if (m_hasGui)
        wxApp::CleanUp();
    else
        wxAppConsole::CleanUp(); // NOLINT(bugprone-parent-virtual-call): the GUI was never started
}

// A dialog would need the graphical part.
void Application::OnAssertFailure(const wxChar* file, int line, const wxChar*, const wxChar* cond, const wxChar*)
{
    wxLogMessage("assertion at %s:%d: %s", file, line, cond);
}

} // namespace play

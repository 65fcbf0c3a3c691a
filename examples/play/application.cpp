// wxWidgets starts with the console's part of the initialisation; the toolkit's part follows on demand. MIT licence.
#include "application.h"

#include <cstdlib>
#include <dlfcn.h>
#include <wx/log.h>

namespace play
{
namespace
{

bool IsSet(const char* variable)
{
    const char* const value = std::getenv(variable);
    return value && *value;
}

// Opens and closes a connection through a library that the toolkit has brought in.
bool Connects(const char* variable, const char* library, const char* open, const char* close)
{
    void* const loaded = IsSet(variable) ? dlopen(library, RTLD_NOW | RTLD_NOLOAD) : nullptr;
    if (!loaded)
        return false;
    const auto connect = reinterpret_cast<void* (*)(const char*)>(dlsym(loaded, open));
    const auto disconnect = reinterpret_cast<void (*)(void*)>(dlsym(loaded, close));
    void* const connection = connect && disconnect ? connect(nullptr) : nullptr;
    if (connection)
        disconnect(connection);
    dlclose(loaded);
    return connection != nullptr;
}

} // namespace

bool Application::HasDisplayName()
{
    return IsSet("DISPLAY") || IsSet("WAYLAND_DISPLAY");
}

bool Application::StartGui()
{
    // A toolkit whose start has failed cannot be cleaned up, so the display is tried before.
    if (!m_hasGui &&
        (Connects("WAYLAND_DISPLAY", "libwayland-client.so.0", "wl_display_connect", "wl_display_disconnect") ||
         Connects("DISPLAY", "libX11.so.6", "XOpenDisplay", "XCloseDisplay"))) {
        static wxChar name[] = wxT(QX_PROGRAM_NAME);
        static wxChar* arguments[] = {name, nullptr};
        int count = 1;
        m_hasGui = wxApp::Initialize(count, arguments);
    }
    return m_hasGui;
}

bool Application::Initialize(int& argumentCount, wxChar** arguments)
{
    return wxAppConsole::Initialize(argumentCount, arguments);
}

void Application::CleanUp()
{
    if (m_hasGui)
        wxApp::CleanUp();
    else
        wxAppConsole::CleanUp();
}

// A dialog would need the graphical part.
void Application::OnAssertFailure(const wxChar* file, int line, const wxChar*, const wxChar* cond, const wxChar*)
{
    wxLogMessage("assertion at %s:%d: %s", file, line, cond);
}

} // namespace play

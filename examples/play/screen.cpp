// The window draws the newest picture, as large as fits, whenever the main loop lets it. MIT licence.
#include "screen.h"

#include <algorithm>
#include <utility>
#include <wx/bitmap.h>
#include <wx/dcbuffer.h>
#include <wx/display.h>
#include <wx/evtloop.h>
#include <wx/frame.h>
#include <wx/graphics.h>
#include <wx/image.h>
#include <wx/panel.h>

#include "application.h"

namespace play
{
namespace
{

constexpr double kLargestPart = 0.9; // of the display, for the window's first size

Command CommandOfKey(const wxKeyEvent& event)
{
    switch (event.GetKeyCode()) {
    case WXK_LEFT:
        return Command::kBack;
    case WXK_RIGHT:
        return Command::kForward;
    case WXK_ESCAPE:
        return Command::kStop;
    case WXK_SPACE:
        return Command::kTogglePause;
    default:
        break;
    }
    const int code = event.GetKeyCode(); // letters come as capital ones
    return code >= 'A' && code <= 'Z' ? CommandOfCharacter(code - 'A' + 'a') : Command::kNone;
}

// A picture's size before it is turned, in square pixels.
wxRealPoint PlainSize(double width, double height, const MKPictureShape& shape)
{
    return wxRealPoint(width * shape.pixelWidth / shape.pixelHeight, height);
}

wxRealPoint Turned(const wxRealPoint& size, const MKPictureShape& shape)
{
    return shape.rotation % 180 == 0 ? size : wxRealPoint(size.y, size.x);
}

double ScaleInto(const wxRealPoint& room, const wxRealPoint& size)
{
    return std::min(room.x / size.x, room.y / size.y);
}

wxSize FirstSize(const Picture& picture, const MKPictureShape& shape)
{
    const wxSize room = wxDisplay(0U).GetClientArea().GetSize();
    const wxRealPoint size = Turned(PlainSize(picture.width, picture.height, shape), shape);
    const double scale = std::min(1.0, kLargestPart * ScaleInto(wxRealPoint(room.x, room.y), size));
    return wxSize(std::max(1, static_cast<int>(size.x * scale)), std::max(1, static_cast<int>(size.y * scale)));
}

} // namespace

class Window
{
public:
    Window(PictureSurface& surface, const wxString& title)
        : m_surface(surface), m_frame(new wxFrame(nullptr, wxID_ANY, title)), m_panel(new wxPanel(m_frame)),
          m_activator(&m_loop)
    {
        m_panel->SetBackgroundStyle(wxBG_STYLE_PAINT);
        m_panel->Bind(wxEVT_PAINT, &Window::OnPaint, this);
        m_panel->Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
            m_panel->Refresh();
            event.Skip();
        });
        m_frame->Bind(wxEVT_CHAR_HOOK, [this](wxKeyEvent& event) { m_command = CommandOfKey(event); });
        m_frame->Bind(wxEVT_CLOSE_WINDOW, [this](wxCloseEvent&) { m_command = Command::kStop; });
        // From the writing thread: wakes the main thread, which looks for the newest picture itself.
        m_surface.SetListener([this] { m_frame->CallAfter([this] { ShowNewest(); }); });
    }
    ~Window()
    {
        m_surface.SetListener(nullptr);
        m_frame->Destroy();
        Pump(); // the toolkit takes the window away
    }
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    void SetTitle(const wxString& title) { m_frame->SetTitle(title); }
    void SetShape(const MKPictureShape& shape) { m_shape = shape; }
    void Hide()
    {
        m_frame->Hide();
        m_isPlaced = false;
        Pump();
    }
    void ShowNewest()
    {
        if (!m_surface.Take(m_picture) || m_picture.bytes.empty())
            return;
        const wxImage image(m_picture.width, m_picture.height, m_picture.bytes.data(), true); // borrows the bytes
        m_bitmap = wxBitmap(image, 24);
        if (!m_isPlaced) {
            m_frame->SetClientSize(FirstSize(m_picture, m_shape));
            m_frame->Show();
            m_isPlaced = true;
        }
        m_panel->Refresh(false);
    }
    Command Pump()
    {
        m_loop.YieldFor(wxEVT_CATEGORY_ALL);
        return std::exchange(m_command, Command::kNone);
    }

private:
    void OnPaint(wxPaintEvent&)
    {
        wxAutoBufferedPaintDC dc(m_panel);
        dc.SetBackground(*wxBLACK_BRUSH);
        dc.Clear();
        const std::unique_ptr<wxGraphicsContext> graphics(wxGraphicsContext::Create(dc));
        if (!graphics || !m_bitmap.IsOk())
            return;
        const wxRealPoint room(m_panel->GetClientSize().x, m_panel->GetClientSize().y);
        const wxRealPoint size = PlainSize(m_bitmap.GetWidth(), m_bitmap.GetHeight(), m_shape);
        const double scale = ScaleInto(room, Turned(size, m_shape));
        graphics->Translate(room.x / 2, room.y / 2);
        graphics->Rotate(wxDegToRad(m_shape.rotation));
        graphics->Scale(m_shape.isMirrored ? -scale : scale, scale);
        graphics->DrawBitmap(m_bitmap, -size.x / 2, -size.y / 2, size.x, size.y);
    }

    PictureSurface& m_surface;
    wxFrame* const m_frame; // deleted by the toolkit after Destroy
    wxPanel* const m_panel; // owned by the frame
    wxGUIEventLoop m_loop;  // never run; it serves the events of the main thread's own loop
    wxEventLoopActivator m_activator;
    Picture m_picture;
    MKPictureShape m_shape;
    wxBitmap m_bitmap;
    Command m_command = Command::kNone;
    bool m_isPlaced = false; // shown in the size of the file's pictures
};

Screen::Screen(std::function<void(const wxString&)> tell)
    : m_tell(std::move(tell)), m_isHopeless(!Application::HasDisplayName())
{
}

Screen::~Screen() = default;

void Screen::Begin(const wxString& title)
{
    m_surface.Reset();
    m_title = title;
    if (!m_window)
        return;
    m_window->Hide();
    m_window->SetTitle(title);
}

MKVideoSurface* Screen::GetSurface()
{
    return m_isHopeless ? nullptr : &m_surface;
}

void Screen::NoteStreams(bool hasPictures, bool hasSound, const MKPictureShape& shape)
{
    m_hasSound = hasSound;
    m_shape = shape;
    if (m_window)
        m_window->SetShape(shape);
    if (hasPictures && m_isHopeless)
        NoteMissingDisplay();
}

Command Screen::Update()
{
    if (!m_window && !m_isHopeless && m_surface.HasMotion())
        OpenWindow();
    return m_window ? m_window->Pump() : Command::kNone;
}

void Screen::OpenWindow()
{
    if (!static_cast<Application*>(wxAppConsole::GetInstance())->StartGui()) {
        m_isHopeless = true;
        NoteMissingDisplay();
        return;
    }
    m_window = std::make_unique<Window>(m_surface, m_title);
    m_window->SetShape(m_shape);
    m_window->ShowNewest(); // one that became ready before the window listened
}

void Screen::NoteMissingDisplay()
{
    if (m_hasSound && !std::exchange(m_isNoted, true))
        m_tell("no display; the sound plays without its picture");
}

} // namespace play

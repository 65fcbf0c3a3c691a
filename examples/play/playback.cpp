// Opening, the loop while it plays, and what keys do to it. MIT licence.
#include "playback.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <wx/log.h>

#include "../common/audiosession.h"
#include "../common/commandline.h"
#include "../common/exitstatus.h"
#include "../common/interrupt.h"
#include "devices.h"
#include "times.h"

namespace play
{
namespace
{

using tool::Failure;

constexpr int kPollMs = 25; // a key wakes at once
constexpr int kPicturePollMs = 5;
constexpr int64_t kSeekStepUs = 5000000;
constexpr int64_t kUnknownDuration = 1;

bool IsAddress(const std::string& file)
{
    return file.find("://") != std::string::npos;
}

// A colon in the name of a file would be taken for the end of a protocol's name.
std::string MediaName(const std::string& file)
{
    struct stat status = {};
    const bool isPlain = file[0] != '/' && file.find(':') != std::string::npos;
    return isPlain && stat(file.c_str(), &status) == 0 ? "./" + file : file;
}

// Why the system does not open the file; empty if it does.
wxString OpenError(const std::string& file)
{
    if (IsAddress(file))
        return wxString();
    const int descriptor = open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        return wxString::FromUTF8(std::strerror(errno));
    struct stat status = {};
    const bool isFolder = fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
    close(descriptor);
    return isFolder ? wxString::FromUTF8(std::strerror(EISDIR)) : wxString();
}

} // namespace

Playback::Playback(const Stage& stage, const std::string& file, const wxString& label)
    : m_stage(stage), m_file(file), m_label(label)
{
    try {
        Open();
    } catch (...) {
        m_stage.player.Close();
        throw;
    }
}

Playback::~Playback()
{
    m_stage.player.Close();
}

void Playback::Open()
{
    m_stage.progress.Show("opening " + m_label + " ...");
    if (m_stage.screen)
        m_stage.screen->Begin(m_label);
    OpenMedia();
    m_hasPictures = m_stage.screen && m_provider->FindStream(MKMediaVideo, 0) >= 0;
    if (m_stage.screen)
        m_stage.screen->NoteStreams(m_hasPictures, m_hasSound, PictureShape());
}

void Playback::OpenMedia()
{
    MKMediaPlayer& player = m_stage.player;
    player.SetSurface(m_stage.screen ? m_stage.screen->GetSurface() : nullptr);
    m_provider = new MKFileProvider(MediaName(m_file));
    m_provider->SetExactSeek(true);
    m_provider->SetDeepReadAhead(true);
    player.SetProvider(m_provider);
    if (!player.OpenMedia())
        TellWhyNot();
    m_consumer = player.GetConsumer();
    const int sound = m_consumer->FindStream(MKMediaAudio, 0);
    m_hasSound = sound >= 0;
    m_stream = static_cast<size_t>(m_hasSound ? sound : m_consumer->FindStream(MKMediaVideo, 0));
}

void Playback::TellWhyNot()
{
    const wxString name = tool::FromBytes(m_file);
    const wxString error = OpenError(m_file);
    if (!error.empty())
        throw Failure{tool::kExitFile, name + ": " + error};
    MKFileProvider provider(MediaName(m_file));
    if (!provider.Open())
        throw Failure{tool::kExitFile, name + ": this is no media file"};
    const int sound = provider.FindStream(MKMediaAudio, 0);
    MKStreamParameters parameters;
    if (sound < 0 && m_stage.screen && provider.FindStream(MKMediaVideo, 0) >= 0)
        ThrowNothingToShowOn();
    if (sound < 0)
        throw Failure{tool::kExitFile, name + ": there is no sound in it"};
    if (!provider.OpenStream(static_cast<size_t>(sound), &parameters))
        throw Failure{tool::kExitFile, name + ": its sound cannot be decoded"};
    TellDevice();
}

void Playback::TellDevice()
{
    const std::string reason = m_stage.player.GetLastFailure().reason;
    throw Failure{tool::kExitNoDevice, reason.empty() ? "the audio device fails" : wxString::FromUTF8(reason.c_str())};
}

void Playback::ThrowNothingToShowOn() const
{
    throw Failure{tool::kExitFile,
                  tool::FromBytes(m_file) + ": there is no sound in it, and no display for its pictures"};
}

// Of the stream that is played.
MKPictureShape Playback::PictureShape() const
{
    int picture = m_provider->FindStream(MKMediaVideo, 0);
    while (picture >= 0 && !m_provider->IsStreamOpened(static_cast<size_t>(picture)))
        picture = m_provider->FindStream(MKMediaVideo, static_cast<size_t>(picture) + 1);
    return picture < 0 ? MKPictureShape() : m_provider->GetPictureShape(static_cast<size_t>(picture));
}

void Playback::Run(int64_t fromUs)
{
    if (fromUs > 0) {
        if (Duration() > 0 && fromUs >= Duration())
            throw Failure{tool::kExitUsage, "--from " + FormatTime(fromUs) + ": " + tool::FromBytes(m_file) +
                                                " lasts " + FormatTime(Duration())};
        if (!m_provider->Seek(fromUs))
            throw Failure{tool::kExitFile, tool::FromBytes(m_file) + ": it can only be played from its beginning"};
        m_placeUs = fromUs;
    }
    Start();
    while (!m_isOver && IsGoingOn()) {
        ObeyAll();
        if (tool::TakeHaltRequest())
            Halt();
        tool::ThrowIfInterrupted();
        ShowProgress();
    }
    tool::ThrowIfInterrupted();
    if (!m_isOver)
        CheckEnd();
}

void Playback::Start()
{
    if (!m_stage.player.Play())
        TellDevice();
}

bool Playback::IsGoingOn()
{
    wxLog::FlushActive(); // records of the player's threads
    const MKTransformState state = m_stage.player.GetState();
    return state == MKTransformRunning || m_paused;
}

void Playback::ObeyAll()
{
    int wait = m_hasPictures ? kPicturePollMs : kPollMs;
    while (const char byte = m_stage.keys.Wait(wait)) {
        Obey(m_decoder.Feed(byte));
        wait = 0;
    }
    if (!m_stage.screen)
        return;
    Obey(m_stage.screen->Update());
    if (!m_hasSound && m_stage.screen->IsHopeless())
        ThrowNothingToShowOn();
}

void Playback::Obey(Command command)
{
    switch (command) {
    case Command::kTogglePause:
        TogglePause();
        break;
    case Command::kBack:
        SeekBy(-kSeekStepUs);
        break;
    case Command::kForward:
        SeekBy(kSeekStepUs);
        break;
    case Command::kNext:
        m_isOver = true;
        break;
    case Command::kStop:
        tool::RequestEnd();
        break;
    case Command::kNone:
        break;
    }
}

void Playback::TogglePause()
{
    if (!m_paused) {
        m_paused = m_stage.player.Pause();
        return;
    }
    m_paused = false;
    if (m_soughtUs < 0)
        m_stage.player.Resume();
    else
        SeekTo(std::exchange(m_soughtUs, -1));
}

void Playback::SeekBy(int64_t distanceUs)
{
    const int64_t target = std::max<int64_t>(Position() + distanceUs, 0);
    m_shownUs = 0;
    if (Duration() > 0 && target >= Duration())
        m_isOver = true;
    else if (m_paused)
        m_soughtUs = target;
    else
        SeekTo(target);
}

void Playback::SeekTo(int64_t positionUs)
{
    // What cannot seek, such as a pipe, plays on.
    if (!m_provider->Seek(positionUs))
        return;
    // Stop drops what was decoded ahead, and until then the provider was read on.
    m_stage.player.Stop();
    m_provider->Seek(positionUs);
    m_placeUs = positionUs;
    Start();
}

void Playback::Halt()
{
    const bool pauses = !m_paused && m_stage.player.Pause();
    m_stage.keys.Leave();
    tool::HaltProcess();
    m_stage.keys.Enter();
    if (pauses)
        m_stage.player.Resume();
}

bool Playback::SoundHasFailed() const
{
    int sound = m_provider->FindStream(MKMediaAudio, 0);
    while (sound >= 0) {
        const auto index = static_cast<size_t>(sound);
        if (m_provider->IsStreamOpened(index) && m_provider->IsStreamDiscarded(index))
            return true;
        sound = m_provider->FindStream(MKMediaAudio, index + 1);
    }
    return false;
}

// A device that fails ends the sound like the end of the file does.
void Playback::CheckEnd()
{
    const bool hasFailed = SoundHasFailed();
    m_stage.player.Stop(); // waits until the rest was heard
    if (m_stage.player.GetLastFailure().category == MKFailureDevice) {
        tool::AudioSession::LeaveRunning();
        TellDevice();
    }
    if (hasFailed)
        throw Failure{tool::kExitFile, tool::FromBytes(m_file) + ": the sound broke off; --verbose tells why"};
}

int64_t Playback::Position() const
{
    const int64_t position = m_soughtUs >= 0 ? m_soughtUs : std::max(m_placeUs, PlayedPosition());
    return Duration() > 0 ? std::clamp<int64_t>(position, 0, Duration()) : std::max<int64_t>(position, 0);
}

// Until the first sound or picture behind a start the times are not yet those of the file.
int64_t Playback::PlayedPosition() const
{
    const bool hasBegun = !m_hasSound || m_consumer->GetDuration() > 0;
    return hasBegun ? m_consumer->GetStreamTimeStamp(m_stream) : m_placeUs;
}

int64_t Playback::Duration() const
{
    const int64_t duration = m_provider->GetDuration();
    return duration > kUnknownDuration ? duration : 0;
}

void Playback::ShowProgress()
{
    if (!m_stage.progress.IsShown())
        return;
    const wxString whole = Duration() > 0 ? " / " + FormatTime(Duration()) : wxString();
    m_shownUs = std::max(m_shownUs, Position()); // the clock of the sound may step back a little
    m_stage.progress.Show((m_paused ? "paused at " : "playing, ") + FormatTime(m_shownUs) + whole + "  " + m_label);
}

} // namespace play

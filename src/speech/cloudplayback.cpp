// Playing by the media kit. MIT licence.
#include "speech/cloudplayback.h"

#include <string>
#include <wx/translation.h>

#include "core/qxtempfile.h"
#include "mediakit/fileprovider.h"
#include "mediakit/mediaplayer.h"
#include "speech/cloudfailure.h"

namespace qxspeech
{

bool IsPlaying(const MKMediaPlayer& player)
{
    return player.GetState() == MKTransformRunning;
}

bool IsPlayingPaused(const MKMediaPlayer& player)
{
    return player.GetState() == MKTransformPaused;
}

wxString PlayAudioFile(MKMediaPlayer& player, const wxString& path, bool playTail)
{
    player.SetPlayTail(playTail);
    MKFileProvider* const provider = new MKFileProvider(std::string());
    provider->SetFileName(std::string(path.utf8_str()));
    player.SetProvider(provider);
    if (!player.OpenMedia())
        return _("Could not open media for playing.");
    try {
        if (player.Play())
            return wxString();
    } catch (const std::exception&) {
        // no thread to be had: told like any other refusal
    }
    player.Close();
    return _("Could not play media.");
}

wxTTSFailure PlayingFailure(const MKMediaPlayer& player)
{
    switch (player.GetLastFailure().category) {
    case MKFailureNone:
        return wxTTSFailure();
    case MKFailureDevice:
        return MakeFailure(CloudPeer(), wxTTS_FAILURE_DEVICE, _("The audio device is no longer available."));
    default:
        return MakeFailure(CloudPeer(), wxTTS_FAILURE_OTHER, _("The audio cannot be played."));
    }
}

wxTTSFailure RefusedFailure(const MKMediaPlayer& player)
{
    if (player.GetLastFailure().category == MKFailureDevice)
        return MakeFailure(CloudPeer(), wxTTS_FAILURE_DEVICE, _("There is no audio device, or it does not open."));
    return MakeFailure(CloudPeer(), wxTTS_FAILURE_OTHER, _("The audio cannot be played."));
}

void WriteAudio(const MKMediaPlayer& player, const wxString& path, AudioFiles& files,
                const std::function<void(const wxString&, FileAccess)>& write)
{
    if (path != files.current) {
        write(path, FileAccess::kUsual);
        return;
    }
    if (!(IsPlaying(player) || IsPlayingPaused(player))) {
        write(path, FileAccess::kOwner);
        return;
    }
    if (files.spare.empty())
        files.spare = QXTempFileMan::CreateTempFile("wav");
    write(files.spare, FileAccess::kOwner);
    files.current.swap(files.spare);
}

} // namespace qxspeech

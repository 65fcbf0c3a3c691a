// Frames come whole; the last one is cut to the length asked for. MIT licence.
#include "recording.h"

#include <algorithm>
#include <chrono>
#include <wx/log.h>

extern "C" {
#include <libavutil/frame.h>
}

#include "../common/exitstatus.h"
#include "../common/interrupt.h"
#include "../common/progressline.h"
#include "../common/terminal.h"
#include "keys.h"
#include "mediakit/audio_io.h"
#include "times.h"
#include "wavfile.h"

namespace play
{
namespace
{

using tool::Failure;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kLongestSilence(5); // from a device that is there

// Rows of MKSampleFormat that a WAV file holds as they are.
bool WavFormatOf(const MKStreamParameters& parameters, WavFormat& format)
{
    switch (parameters.format) {
    case MKSampleU8:
        format.bytesPerSample = 1;
        break;
    case MKSampleS16:
        format.bytesPerSample = 2;
        break;
    case MKSampleS32:
        format.bytesPerSample = 4;
        break;
    case MKSampleFloat:
        format.bytesPerSample = 4;
        format.isFloat = true;
        break;
    default:
        return false;
    }
    format.channels = parameters.channels;
    format.rateHz = parameters.rateNum;
    return format.channels > 0 && format.rateHz > 0;
}

WavFormat OpenDevice(MKAudioCapture& capture)
{
    MKStreamParameters parameters;
    parameters.type = MKMediaAudio;
    parameters.format = MKSampleS16;
    parameters.channels = 2;
    parameters.rateNum = 48000;
    if (!capture.Open() || !capture.OpenStream(0, &parameters))
        throw Failure{tool::kExitNoDevice, "the audio device does not open"};
    WavFormat format;
    if (!WavFormatOf(parameters, format))
        throw Failure{tool::kExitNoDevice, "the audio device records no samples that a WAV file takes"};
    return format;
}

class Recorder
{
public:
    Recorder(MKAudioCapture& capture, const WavFormat& format, WavFile& file, int64_t lengthUs)
        : m_capture(capture), m_format(format), m_file(file), m_lengthUs(lengthUs),
          m_left(static_cast<uint64_t>(lengthUs) * static_cast<uint64_t>(format.rateHz) / 1000000), m_progress(true)
    {
    }

    // False if it was interrupted.
    bool Run()
    {
        if (!m_capture.StartStream())
            throw Failure{tool::kExitNoDevice, "the audio device does not start"};
        Clock::time_point lastFrame = Clock::now();
        while (m_left > 0 && !IsInterrupted()) {
            const int result = m_capture.Read(0, &m_frame);
            if (result > 0) {
                Append();
                lastFrame = Clock::now();
            }
            if (result < 0 || Clock::now() - lastFrame > kLongestSilence)
                throw Failure{tool::kExitNoDevice, "no more sound comes from the audio device"};
            wxLog::FlushActive();
            m_progress.Show("recording, " + FormatTime(m_capture.GetDuration()) + " / " + FormatTime(m_lengthUs));
        }
        m_capture.StopStream();
        return m_left == 0;
    }

private:
    void Append()
    {
        const AVFrame* const frame = m_frame.GetAVFrame();
        const uint64_t samples = std::min<uint64_t>(m_left, static_cast<uint64_t>(frame->nb_samples));
        m_file.Append(frame->data[0], static_cast<size_t>(samples) * m_format.BytesPerFrame());
        m_left -= samples;
    }

    bool IsInterrupted()
    {
        while (const char byte = m_keys.Wait(0))
            if (m_decoder.Feed(byte) == Command::kStop)
                tool::RequestEnd();
        return tool::IsInterrupted();
    }

    MKAudioCapture& m_capture;
    const WavFormat m_format;
    WavFile& m_file;
    const int64_t m_lengthUs;
    uint64_t m_left; // samples per channel
    MKFrame m_frame;
    tool::TerminalKeys m_keys;
    KeyDecoder m_decoder;
    tool::ProgressLine m_progress;
};

} // namespace

void Record(const std::string& device, const std::string& file, int64_t lengthUs)
{
    MKAudioCapture capture;
    capture.SetDevice(device);
    const WavFormat format = OpenDevice(capture);
    const uint64_t seconds = static_cast<uint64_t>(lengthUs) / 1000000 + 1;
    if (seconds * static_cast<uint64_t>(format.rateHz) * format.BytesPerFrame() > kMaxWavBytes)
        throw Failure{tool::kExitUsage, "--record: a WAV file does not hold " + FormatTime(lengthUs)};
    WavFile wav(file, format);
    bool isWhole = false;
    try {
        isWhole = Recorder(capture, format, wav, lengthUs).Run();
    } catch (const Failure&) {
        wav.Finish(); // what there is can be heard
        throw;
    }
    wav.Finish();
    if (!isWhole)
        throw Failure{tool::kExitInterrupted, wxString()};
}

} // namespace play

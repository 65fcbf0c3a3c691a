// A private PulseAudio server with a null sink that becomes the default device of this process. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_PULSE_SINK_H
#define QXSPEECH_TESTS_SUPPORT_PULSE_SINK_H

#include <string>
#include <sys/types.h>

#include "support/scratch_dir.h"
#include "support/wav.h"

// Starts the server and points ALSA at it; must be made before PortAudio is started. The sink paces in real time. The
// server ends with the object. Ok() tells whether everything is there; Why() what is missing.
class PulseSink
{
public:
    PulseSink();
    ~PulseSink();
    PulseSink(const PulseSink&) = delete;
    PulseSink& operator=(const PulseSink&) = delete;

    bool Ok() const { return m_why.empty(); }
    const std::string& Why() const { return m_why; }

    // The server stops answering and goes on again; it is resumed by the destructor as well.
    void Freeze();
    void Thaw();
    // The server dies at once.
    void Kill();
    // A new server in the place of the one that died; false if it does not start.
    bool Restart();

    std::string Socket() const { return "unix:" + (m_dir / "native"); }
    std::string FileInDir(const std::string& name) const { return m_dir / name; }

private:
    void WriteConfiguration();
    bool AwaitServer() const;

    ScratchDir m_dir;
    pid_t m_server = -1;
    std::string m_why;
};

// Records what the sink's monitor hears, 48000 Hz stereo, from construction to Stop.
class SinkRecording
{
public:
    explicit SinkRecording(const PulseSink& sink);
    ~SinkRecording();
    SinkRecording(const SinkRecording&) = delete;
    SinkRecording& operator=(const SinkRecording&) = delete;

    // What has been heard up to about now: the recorder is some 20 ms behind.
    Sound SoFar() const;
    // Waits until the recording is as long as the time that has passed, ends it and gives its first channel.
    Sound Stop();

private:
    size_t RecordedBytes() const;

    std::string m_file;
    pid_t m_recorder = -1;
};

#endif

// Runs pulseaudio and parec as child processes. MIT licence.
#include "support/pulse_sink.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds kPatience(20);
constexpr size_t kBytesPerSecond = 48000 * 4;

// Starts a program with its output sent to a file, or nowhere.
pid_t Start(const std::vector<std::string>& command, const std::string& output)
{
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& part : command)
        arguments.push_back(const_cast<char*>(part.c_str()));
    arguments.push_back(nullptr);
    const pid_t child = fork();
    if (child != 0)
        return child;
    const int out = open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int nowhere = open("/dev/null", O_RDWR);
    dup2(nowhere, 0);
    dup2(out, 1);
    dup2(nowhere, 2);
    execvp(arguments[0], arguments.data());
    _exit(127);
}

void End(pid_t& child, int signal)
{
    if (child <= 0)
        return;
    kill(child, signal);
    waitpid(child, nullptr, 0);
    child = -1;
}

bool InPath(const char* program)
{
    return std::system((std::string("command -v ") + program + " >/dev/null 2>&1").c_str()) == 0;
}

template <class Condition>
bool Await(Condition condition)
{
    const Clock::time_point limit = Clock::now() + kPatience;
    while (!condition()) {
        if (Clock::now() > limit)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

} // namespace

PulseSink::PulseSink()
{
    for (const char* program : {"pulseaudio", "pactl", "parec"}) {
        if (!InPath(program)) {
            m_why = std::string(program) + " is not installed";
            return;
        }
    }
    WriteConfiguration();
    const std::string run = m_dir.Path();
    for (const char* variable : {"HOME", "XDG_RUNTIME_DIR", "PULSE_RUNTIME_PATH"})
        setenv(variable, run.c_str(), 1);
    setenv("PULSE_STATE_PATH", (m_dir / "state").c_str(), 1);
    setenv("PULSE_CLIENTCONFIG", (m_dir / "client.conf").c_str(), 1);
    if (!Restart())
        m_why = "the sound server does not start";
    setenv("ALSA_CONFIG_PATH", (m_dir / "asound.conf").c_str(), 1);
}

bool PulseSink::Restart()
{
    m_server =
        Start({"pulseaudio", "-n", "-F", m_dir / "pulse.pa", "--daemonize=no", "--exit-idle-time=-1",
               "--use-pid-file=no", "--disable-shm=yes", "--high-priority=no", "--realtime=no", "--log-level=error"},
              "/dev/null");
    return AwaitServer();
}

PulseSink::~PulseSink()
{
    Thaw();
    End(m_server, SIGTERM);
}

void PulseSink::WriteConfiguration()
{
    std::ofstream(m_dir / "pulse.pa")
        << "load-module module-null-sink sink_name=testsink rate=48000 channels=2 format=s16le norewinds=1\n"
        << "load-module module-native-protocol-unix auth-anonymous=1 socket=" << (m_dir / "native") << "\n"
        << "set-default-sink testsink\n";
    std::ofstream(m_dir / "client.conf") << "enable-shm = no\nautospawn = no\n";
    std::ofstream(m_dir / "asound.conf") << "pcm.!default { type pulse server \"" << Socket()
                                         << "\" device testsink }\nctl.!default { type pulse server \"" << Socket()
                                         << "\" }\n";
}

bool PulseSink::AwaitServer() const
{
    const std::string ask = "pactl -s " + Socket() + " info >/dev/null 2>&1";
    return Await([&] { return std::system(ask.c_str()) == 0; });
}

void PulseSink::Freeze()
{
    if (m_server > 0)
        kill(m_server, SIGSTOP);
}

void PulseSink::Thaw()
{
    if (m_server > 0)
        kill(m_server, SIGCONT);
}

void PulseSink::Kill()
{
    End(m_server, SIGKILL);
}

SinkRecording::SinkRecording(const PulseSink& sink)
{
    static int count = 0;
    m_file = sink.FileInDir("recording" + std::to_string(++count) + ".raw");
    m_recorder = Start({"parec", "-s", sink.Socket(), "-d", "testsink.monitor", "--raw", "--format=s16le",
                        "--rate=48000", "--channels=2", "--latency-msec=20"},
                       m_file);
    Await([this] { return RecordedBytes() > kBytesPerSecond / 5; });
}

SinkRecording::~SinkRecording()
{
    End(m_recorder, SIGTERM);
}

size_t SinkRecording::RecordedBytes() const
{
    struct stat status = {};
    return stat(m_file.c_str(), &status) == 0 ? static_cast<size_t>(status.st_size) : 0;
}

Sound SinkRecording::Stop()
{
    // What was played before this call has to reach the file: half a second of further sound is behind it.
    const size_t enough = RecordedBytes() + kBytesPerSecond / 2;
    Await([&] { return RecordedBytes() >= enough; });
    End(m_recorder, SIGTERM);
    return SoFar();
}

Sound SinkRecording::SoFar() const
{
    // At once: cases compare what was heard with the clock of this moment.
    std::vector<int16_t> both(RecordedBytes() / 2);
    std::ifstream file(m_file, std::ios::binary);
    file.read(reinterpret_cast<char*>(both.data()), static_cast<std::streamsize>(both.size() * 2));
    Sound sound;
    sound.rateHz = 48000;
    sound.samples.resize(static_cast<size_t>(file.gcount()) / 4);
    for (size_t i = 0; i < sound.samples.size(); ++i)
        sound.samples[i] = both[2 * i];
    return sound;
}

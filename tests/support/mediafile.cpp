// Files by the ffmpeg command, and by hand where a header is to lie. MIT licence.
#include "support/mediafile.h"

#include <cmath>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace
{

// The exit status of a command, which may only complain; -1 if it could not be started.
int Run(const std::vector<std::string>& command)
{
    std::vector<char*> argv;
    for (const std::string& argument : command)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const int started = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (started != 0)
        return -1;
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void RunOrThrow(const std::vector<std::string>& command)
{
    if (Run(command) == 0)
        return;
    std::string text;
    for (const std::string& argument : command)
        text += argument + " ";
    throw std::runtime_error("failed: " + text);
}

std::vector<std::string> FFmpeg()
{
    return {"ffmpeg", "-nostdin", "-y", "-v", "error"};
}

void Append(std::vector<std::string>& list, std::initializer_list<std::string> more)
{
    list.insert(list.end(), more);
}

std::string ChannelLayout(int channels)
{
    return channels == 1 ? "mono" : channels == 2 ? "stereo" : "5.1";
}

std::string ToneSource(const MediaSpec& spec, int stream)
{
    std::string tones;
    for (int channel = 0; channel < spec.channels; ++channel) {
        const double frequency = spec.frequencyHz * (stream == 0 ? 1 : 3) * (channel + 1);
        tones += (channel ? "|" : "") + std::to_string(spec.level) + "*sin(2*PI*" + std::to_string(frequency) + "*t)";
    }
    return "aevalsrc=exprs='" + tones + "':s=" + std::to_string(spec.rateHz) + ":d=" + std::to_string(spec.seconds) +
           ":c=" + ChannelLayout(spec.channels);
}

std::string PictureSource(int width, int height, int framesPerSecond, double seconds)
{
    return "testsrc=size=" + std::to_string(width) + "x" + std::to_string(height) +
           ":rate=" + std::to_string(framesPerSecond) + ":duration=" + std::to_string(seconds);
}

void AppendInputs(std::vector<std::string>& command, const MediaSpec& spec)
{
    if (spec.width > 0)
        Append(command,
               {"-f", "lavfi", "-i", PictureSource(spec.width, spec.height, spec.framesPerSecond, spec.seconds)});
    for (int stream = 0; stream < spec.audioStreams; ++stream)
        Append(command, {"-f", "lavfi", "-i", ToneSource(spec, stream)});
    if (spec.hasCover)
        Append(command, {"-f", "lavfi", "-i", PictureSource(16, 16, 1, 1)});
    const int inputs = (spec.width > 0) + spec.audioStreams + spec.hasCover;
    for (int input = 0; input < inputs; ++input)
        Append(command, {"-map", std::to_string(input)});
}

void AppendCodecs(std::vector<std::string>& command, const MediaSpec& spec)
{
    if (!spec.audioCodec.empty())
        Append(command, {"-c:a", spec.audioCodec});
    if (!spec.videoCodec.empty())
        Append(command, {"-c:v", spec.videoCodec});
    if (spec.hasCover)
        Append(command, {"-c:v", "png", "-disposition:v", "attached_pic"});
    // Encoders that are still called experimental count, too; the same input makes the same file.
    Append(command, {"-strict", "-2", "-fflags", "+bitexact", "-flags", "+bitexact"});
}

std::string Number(uint64_t value, int bytes, bool isBigEndian)
{
    std::string text;
    for (int i = 0; i < bytes; ++i)
        text += static_cast<char>(value >> 8 * (isBigEndian ? bytes - 1 - i : i));
    return text;
}

std::string WavHeader(int rateHz, int channels, int bits, uint32_t dataSize)
{
    const auto blockSize = static_cast<uint32_t>(channels * bits / 8);
    const auto rate = static_cast<uint32_t>(rateHz);
    return "RIFF" + Number(dataSize + 36, 4, false) + "WAVEfmt " + Number(16, 4, false) + Number(1, 2, false) +
           Number(static_cast<uint32_t>(channels), 2, false) + Number(rate, 4, false) +
           Number(rate * blockSize, 4, false) + Number(blockSize, 2, false) +
           Number(static_cast<uint32_t>(bits), 2, false) + "data" + Number(dataSize, 4, false);
}

std::string Bytes(const std::vector<int16_t>& samples, bool isBigEndian)
{
    std::string bytes;
    for (const int16_t sample : samples)
        bytes += Number(static_cast<uint16_t>(sample), 2, isBigEndian);
    return bytes;
}

} // namespace

bool HaveFFmpeg()
{
    static const bool isThere = Run({"ffmpeg", "-version"}) == 0;
    return isThere;
}

std::string MakeMediaFile(const ScratchDir& folder, const MediaSpec& spec)
{
    std::vector<std::string> command = FFmpeg();
    AppendInputs(command, spec);
    AppendCodecs(command, spec);
    command.insert(command.end(), spec.extraArgs.begin(), spec.extraArgs.end());
    command.push_back(folder / spec.name);
    RunOrThrow(command);
    return folder / spec.name;
}

std::string MakeWavFile(const ScratchDir& folder, const std::string& name, int rateHz, int channels,
                        const std::vector<int16_t>& samples, int64_t dataSize)
{
    const std::string data = Bytes(samples, false);
    const int64_t size = dataSize < 0 ? static_cast<int64_t>(data.size()) : dataSize;
    return MakeFile(folder, name, WavHeader(rateHz, channels, 16, static_cast<uint32_t>(size)) + data);
}

std::string MakeAuFile(const ScratchDir& folder, const std::string& name, int rateHz, int channels,
                       const std::vector<int16_t>& samples, bool isSizeUnknown)
{
    const uint32_t linear16 = 3;
    const std::string data = Bytes(samples, true);
    const std::string header = ".snd" + Number(24, 4, true) +
                               Number(isSizeUnknown ? 0xffffffff : data.size(), 4, true) + Number(linear16, 4, true) +
                               Number(static_cast<uint32_t>(rateHz), 4, true) +
                               Number(static_cast<uint32_t>(channels), 4, true);
    return MakeFile(folder, name, header + data);
}

std::string MakeSparseWavFile(const ScratchDir& folder, const std::string& name, int64_t seconds)
{
    const int rateHz = 8000;
    const int64_t dataSize = seconds * rateHz;
    const std::string header = WavHeader(rateHz, 1, 8, static_cast<uint32_t>(dataSize));
    std::string path = MakeFile(folder, name, header);
    std::filesystem::resize_file(path, header.size() + static_cast<size_t>(dataSize));
    return path;
}

std::string MakeFile(const ScratchDir& folder, const std::string& name, const std::string& content)
{
    std::string path = folder / name;
    std::ofstream file(path, std::ios::binary);
    file << content;
    file.close();
    if (!file)
        throw std::runtime_error("cannot write " + path);
    return path;
}

std::string ReadWholeFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot read " + path);
    return std::string((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
}

std::string MakeTruncatedFile(const ScratchDir& folder, const std::string& path, const std::string& name,
                              size_t byteCount)
{
    return MakeFile(folder, name, ReadWholeFile(path).substr(0, byteCount));
}

std::vector<int16_t> MakeTone(int rateHz, int channels, double seconds, double frequencyHz, double level)
{
    const double fullScale = 32767;
    const double circle = 2 * 3.14159265358979323846;
    std::vector<int16_t> samples;
    const auto count = static_cast<int64_t>(std::llround(seconds * rateHz));
    for (int64_t i = 0; i < count; ++i) {
        for (int channel = 0; channel < channels; ++channel) {
            const double phase = circle * frequencyHz * (channel + 1) * static_cast<double>(i) / rateHz;
            samples.push_back(static_cast<int16_t>(std::lround(fullScale * level * std::sin(phase))));
        }
    }
    return samples;
}

std::string DecodeWithFFmpeg(const ScratchDir& folder, const std::string& path, int stream, const std::string& format)
{
    const std::string output = folder / "decoded.raw";
    std::vector<std::string> command = FFmpeg();
    Append(command, {"-i", path, "-map", "0:" + std::to_string(stream), "-f", format, output});
    RunOrThrow(command);
    return ReadWholeFile(output);
}

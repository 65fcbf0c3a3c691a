// The file is a window dump: a header of big-endian words, a colour table, rows of pixels. MIT licence.
#include "xserver.h"

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

// Words of the header.
enum { kHeaderSize = 0, kWidth = 4, kHeight = 5, kBitsPerPixel = 11, kBytesPerLine = 12, kColours = 19, kWords = 25 };
constexpr size_t kColourBytes = 12;

uint32_t Word(const std::string& bytes, size_t index)
{
    uint32_t value = 0;
    for (size_t i = 4 * index; i < 4 * index + 4; ++i)
        value = value << 8 | static_cast<unsigned char>(bytes[i]);
    return value;
}

} // namespace

XServer::XServer()
{
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0)
        return;
    m_server = fork();
    if (m_server == 0) {
        const int nowhere = open("/dev/null", O_RDWR);
        dup2(nowhere, 1);
        dup2(nowhere, 2);
        dup2(ends[1], 3);
        execlp("Xvfb", "Xvfb", "-displayfd", "3", "-screen", "0", "640x480x24", "-fbdir", m_folder.Path().c_str(),
               "-nolisten", "tcp", static_cast<char*>(nullptr));
        _exit(127);
    }
    close(ends[1]);
    std::string number; // comes with a line end when the server is ready
    for (char c = 0; read(ends[0], &c, 1) == 1 && c != '\n';)
        number += c;
    close(ends[0]);
    if (!number.empty())
        m_name = ":" + number;
}

XServer::~XServer()
{
    if (m_server <= 0)
        return;
    kill(m_server, SIGTERM);
    waitpid(m_server, nullptr, 0);
}

Screenshot XServer::Look() const
{
    std::ifstream file(m_folder / "Xvfb_screen0", std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), {});
    Screenshot shot;
    if (bytes.size() < 4 * kWords || Word(bytes, kBitsPerPixel) != 32)
        return shot;
    const size_t width = Word(bytes, kWidth);
    const size_t height = Word(bytes, kHeight);
    const size_t line = Word(bytes, kBytesPerLine);
    const size_t start = Word(bytes, kHeaderSize) + Word(bytes, kColours) * kColourBytes;
    if (line < 4 * width || bytes.size() < start + line * height)
        return shot;
    shot.width = static_cast<int>(width);
    shot.height = static_cast<int>(height);
    const auto byteAt = [&](size_t at) { return static_cast<uint32_t>(static_cast<unsigned char>(bytes[at])); };
    for (size_t y = 0; y < height; ++y)
        for (size_t x = 0; x < width; ++x) {
            const size_t at = start + y * line + 4 * x; // blue, green, red
            shot.pixels.push_back(byteAt(at + 2) << 16 | byteAt(at + 1) << 8 | byteAt(at));
        }
    return shot;
}

// The library's own provider looks into the file. MIT licence.
#include "audiofile.h"

#include <cstddef>
#include <fcntl.h>
#include <unistd.h>

#include "mediakit/fileprovider.h"

namespace say
{
namespace
{

// The first bytes, fewer if there are no more.
std::string HeadOf(const std::string& path)
{
    char bytes[12];
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const ssize_t count = file < 0 ? 0 : read(file, bytes, sizeof(bytes));
    if (file >= 0)
        close(file);
    return std::string(bytes, count > 0 ? static_cast<size_t>(count) : 0);
}

wxString FormatOf(const std::string& head)
{
    if (head.compare(0, 4, "RIFF") == 0 || head.compare(0, 4, "RF64") == 0)
        return "WAV";
    const bool isFrame = head.size() > 1 && head[0] == '\xFF' && (head[1] & 0xE0) == 0xE0;
    return isFrame || head.compare(0, 3, "ID3") == 0 ? "MP3" : "";
}

} // namespace

wxString AudioFormatOf(const std::string& path)
{
    return FormatOf(HeadOf(path));
}

uint64_t AnnouncedBytes(const std::string& path)
{
    const std::string head = HeadOf(path);
    if (FormatOf(head) != "WAV" || head.size() < 8)
        return 0;
    uint64_t size = 8;
    for (size_t byte = 0; byte < 4; ++byte)
        size += static_cast<uint64_t>(static_cast<unsigned char>(head[4 + byte])) << (8 * byte);
    return size;
}

bool HoldsSound(const std::string& path)
{
    MKFileProvider provider("file:" + path); // whatever the path looks like
    MKStreamParameters parameters;
    const int stream = provider.Open() ? provider.FindStream(MKMediaAudio, 0) : -1;
    if (stream < 0 || !provider.OpenStream(static_cast<size_t>(stream), &parameters))
        return false;
    MKFrame frame;
    int result = 0;
    while (result == 0)
        result = provider.Read(static_cast<size_t>(stream), &frame);
    return result > 0;
}

} // namespace say

// Reads text files of any of the usual encodings. MIT licence.
#include "platform/posix/speechfile.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string_view>

#include <sys/stat.h>

#include <wx/string.h>

namespace qxvoice
{
namespace
{

// Bytes of a file as numbers.
struct Bytes {
    std::string_view bytes;
    size_t size() const { return bytes.size(); }
    unsigned char operator[](size_t i) const { return static_cast<unsigned char>(bytes[i]); }
    Bytes Behind(size_t count) const { return {bytes.substr(count)}; }
    bool StartsWith(std::string_view mark) const { return bytes.substr(0, mark.size()) == mark; }
};

FileError ReadBytes(const std::string& path, std::string& bytes)
{
    const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "rbe"), std::fclose);
    if (!file)
        return errno == ENOENT || errno == ENOTDIR ? FileError::Missing : FileError::Unreadable;
    struct stat status;
    if (fstat(fileno(file.get()), &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0)
        bytes.reserve(static_cast<size_t>(status.st_size));
    char block[65536];
    size_t count = 0;
    while ((count = std::fread(block, 1, sizeof block, file.get())) > 0)
        bytes.append(block, count);
    return std::ferror(file.get()) ? FileError::Unreadable : FileError::None;
}

// Appends a code point as wchar_t units; NUL becomes a blank.
void Append(std::wstring& text, uint32_t code)
{
    const bool valid = code <= 0x10FFFF && (code < 0xD800 || code >= 0xE000);
    text += static_cast<wchar_t>(code == 0 ? ' ' : valid ? code : 0xFFFD);
}

uint32_t Unit(Bytes bytes, size_t position, size_t width, bool bigEndian)
{
    uint32_t unit = 0;
    for (size_t i = 0; i < width; ++i)
        unit |= static_cast<uint32_t>(bytes[position + i]) << (8 * (bigEndian ? width - 1 - i : i));
    return unit;
}

void DecodeWide(Bytes bytes, size_t width, bool bigEndian, std::wstring& text)
{
    text.reserve(bytes.size() / width);
    size_t i = 0;
    for (; i + width <= bytes.size(); i += width) {
        uint32_t code = Unit(bytes, i, width, bigEndian);
        if (width == 2 && code >= 0xD800 && code < 0xDC00 && i + 4 <= bytes.size()) {
            const uint32_t low = Unit(bytes, i + 2, width, bigEndian);
            if (low >= 0xDC00 && low < 0xE000) {
                code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
                i += 2;
            }
        }
        Append(text, code);
    }
    if (i < bytes.size())
        Append(text, 0xFFFD);
}

// False at the first sequence that is no UTF-8 (too long a form and surrogates are none).
bool DecodeUtf8(Bytes bytes, std::wstring& text)
{
    static const uint32_t smallest[] = {0, 0x80, 0x800, 0x10000};
    text.reserve(bytes.size());
    for (size_t i = 0; i < bytes.size();) {
        const unsigned char lead = bytes[i++];
        const size_t tails = lead < 0x80   ? 0
                             : lead < 0xC0 ? 4
                             : lead < 0xE0 ? 1
                             : lead < 0xF0 ? 2
                             : lead < 0xF8 ? 3
                                           : 4;
        if (tails > 3 || tails > bytes.size() - i)
            return false;
        uint32_t code = tails == 0 ? lead : lead & (0x3FU >> tails);
        for (size_t tail = 0; tail < tails; ++tail, ++i) {
            if ((bytes[i] & 0xC0) != 0x80)
                return false;
            code = (code << 6) | (bytes[i] & 0x3FU);
        }
        if (code < smallest[tails] || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000))
            return false;
        Append(text, code);
    }
    return true;
}

void Decode(Bytes bytes, std::wstring& text)
{
    using namespace std::string_view_literals;
    if (bytes.StartsWith("\xFF\xFE\0\0"sv) || bytes.StartsWith("\0\0\xFE\xFF"sv))
        return DecodeWide(bytes.Behind(4), 4, bytes[0] == 0, text);
    if (bytes.StartsWith("\xFF\xFE"sv) || bytes.StartsWith("\xFE\xFF"sv))
        return DecodeWide(bytes.Behind(2), 2, bytes[0] == 0xFE, text);
    if (DecodeUtf8(bytes.Behind(bytes.StartsWith("\xEF\xBB\xBF"sv) ? 3 : 0), text))
        return;
    text.clear();
    for (size_t i = 0; i < bytes.size(); ++i)
        Append(text, bytes[i]);
}

} // namespace

FileError ReadSpeechFile(const std::wstring& path, std::wstring& text)
{
    text.clear();
    std::string bytes;
    const FileError error = ReadBytes(wxString(path).utf8_str().data(), bytes);
    if (error == FileError::None)
        Decode(Bytes{bytes}, text);
    return error;
}

} // namespace qxvoice

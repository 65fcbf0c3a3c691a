// The conversion is spelled out, so that the bytes are the same whatever the width and order of wchar_t. MIT licence.
#include "speech/ttsutf16sink.h"

namespace
{

constexpr size_t kPieceBytes = 64 * 1024;

} // namespace

void Utf16Sink::Put(const wxString& text)
{
    const wchar_t* const chars = text.wc_str();
    for (size_t i = 0, count = text.length(); i < count; ++i)
        PutCharacter(static_cast<unsigned long>(chars[i]));
}

void Utf16Sink::Put(const char* ascii)
{
    for (; *ascii; ++ascii)
        PutUnit(static_cast<unsigned char>(*ascii));
}

void Utf16Sink::PutCharacter(unsigned long character)
{
    if (character > 0x10FFFF)
        character = 0xFFFD;
    if (character > 0xFFFF) {
        character -= 0x10000;
        PutUnit(0xD800 + (character >> 10));
        character = 0xDC00 + (character & 0x3FF);
    }
    PutUnit(character);
}

void Utf16Sink::PutUnit(unsigned long unit)
{
    m_bytes.push_back(static_cast<unsigned char>(unit & 0xFF));
    m_bytes.push_back(static_cast<unsigned char>(unit >> 8));
    if (m_bytes.size() >= kPieceBytes)
        Flush();
}

void Utf16Sink::Flush()
{
    if (!m_bytes.empty())
        m_stream.Write(m_bytes.data(), m_bytes.size());
    m_bytes.clear();
}

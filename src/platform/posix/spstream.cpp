// Speech streams. MIT licence.
#include "platform/posix/spstream.h"

#include <new>

#include <wx/string.h>

#include "platform/posix/com.h"
#include "platform/posix/speechclasses.h"

namespace qxvoice
{
namespace
{

HRESULT GivePcmFormat(int rateHz, int channels, GUID* formatId, WAVEFORMATEX** format)
{
    if (!formatId || !format)
        return E_POINTER;
    WAVEFORMATEX* const made = static_cast<WAVEFORMATEX*>(CoTaskMemAlloc(sizeof(WAVEFORMATEX)));
    if (!made)
        return E_OUTOFMEMORY;
    const WORD align = static_cast<WORD>(channels * 2);
    const DWORD rate = static_cast<DWORD>(rateHz);
    *made = WAVEFORMATEX{WAVE_FORMAT_PCM, static_cast<WORD>(channels), rate, rate * align, align, 16, 0};
    *formatId = SPDFID_WaveFormatEx;
    *format = made;
    return S_OK;
}

bool CanWrite(const GUID* formatId, const WAVEFORMATEX* format)
{
    return formatId && *formatId == SPDFID_WaveFormatEx && format && format->wFormatTag == WAVE_FORMAT_PCM &&
           format->wBitsPerSample == 16 && (format->nChannels == 1 || format->nChannels == 2) &&
           format->nSamplesPerSec >= 8000 && format->nSamplesPerSec <= 192000 &&
           format->nBlockAlign == format->nChannels * 2;
}

} // namespace

HRESULT SpStream::GetFormat(GUID* formatId, WAVEFORMATEX** format)
{
    if (!m_file)
        return SPERR_UNINITIALIZED;
    return GivePcmFormat(m_file->RateHz(), m_file->Channels(), formatId, format);
}

HRESULT SpStream::BindToFile(LPCWSTR fileName, SPFILEMODE mode, const GUID* formatId, const WAVEFORMATEX* format,
                             ULONGLONG)
{
    if (!fileName)
        return E_POINTER;
    if (m_file)
        return SPERR_ALREADY_INITIALIZED;
    if (mode != SPFM_CREATE_ALWAYS)
        return E_INVALIDARG;
    if (!CanWrite(formatId, format))
        return SPERR_UNSUPPORTED_FORMAT;
    auto file = std::make_shared<WavFile>();
    const std::string path = wxString(fileName).utf8_string();
    const HRESULT hr = file->Create(path, static_cast<int>(format->nSamplesPerSec), format->nChannels);
    if (SUCCEEDED(hr))
        m_file = std::move(file);
    return hr;
}

HRESULT SpStream::Close()
{
    if (!m_file)
        return SPERR_UNINITIALIZED;
    m_file->Close();
    m_file.reset();
    return S_OK;
}

HRESULT DefaultOutput::GetFormat(GUID* formatId, WAVEFORMATEX** format)
{
    return GivePcmFormat(kSynthRateHz, 1, formatId, format);
}

} // namespace qxvoice

namespace qxplatform
{

HRESULT CreateSpStream(REFIID iid, void** object)
{
    return CreateObject<qxvoice::SpStream>(iid, object);
}

} // namespace qxplatform

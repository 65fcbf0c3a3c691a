// The stream object that binds speech to a WAV file, and the stand-in for the default device. MIT licence.
#ifndef QXSPEECH_PLATFORM_POSIX_SPSTREAM_H
#define QXSPEECH_PLATFORM_POSIX_SPSTREAM_H

#include <memory>

#include <sapi.h>

#include "platform/posix/comobject.h"
#include "platform/posix/wavfile.h"

namespace qxvoice
{

// Made by CoCreateInstance, owned by its references. BindToFile creates the file; what speaks into it shares it, so
// that it is complete even if the stream is released before the speech ends. One thread at a time.
class SpStream final : public qxplatform::ComObject<ISpStream, IID_ISpStream, IID_ISpStreamFormat>
{
public:
    HRESULT GetFormat(GUID* formatId, WAVEFORMATEX** format) override;
    // Takes SPFM_CREATE_ALWAYS and 16-bit PCM of one or two channels, 8000 to 192000 Hz.
    HRESULT BindToFile(LPCWSTR fileName, SPFILEMODE mode, const GUID* formatId, const WAVEFORMATEX* format,
                       ULONGLONG eventInterest) override;
    HRESULT Close() override;

    const std::shared_ptr<WavFile>& File() const { return m_file; }

private:
    std::shared_ptr<WavFile> m_file;
};

// What GetOutputStream gives for the default device; it needs none.
class DefaultOutput final : public qxplatform::ComObject<ISpStreamFormat, IID_ISpStreamFormat>
{
public:
    HRESULT GetFormat(GUID* formatId, WAVEFORMATEX** format) override;
};

} // namespace qxvoice

#endif

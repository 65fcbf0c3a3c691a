// A PCM WAV file that is valid at every moment while it grows. MIT licence.
#ifndef QXSPEECH_PLATFORM_POSIX_WAVFILE_H
#define QXSPEECH_PLATFORM_POSIX_WAVFILE_H

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include <windows.h>

#include "platform/posix/pcmconverter.h"

namespace qxvoice
{

// Created by a bound stream and shared by the utterances that speak into it; the last of them closes the file. Each
// write appends samples first and then renews the header's sizes, so a process that dies leaves a playable file of what
// was written. Any thread may call; calls are taken one at a time.
class WavFile
{
public:
    WavFile() = default;
    ~WavFile();
    WavFile(const WavFile&) = delete;
    WavFile& operator=(const WavFile&) = delete;

    // Creates or empties the file and writes a header without samples. rateHz 8000 to 192000, channels 1 or 2, 16 bit.
    // 0x80070003 a folder is missing, E_ACCESSDENIED a directory, no permission or a read-only file system, 0x80070070
    // no room for the header, E_OUTOFMEMORY no resampler, E_FAIL anything else.
    HRESULT Create(const std::string& pathUtf8, int rateHz, int channels);
    // Samples of the synthesizer, mono at kSynthRateHz. A failed write empties the file: nothing that looks whole stays
    // behind; every later write fails with the same code. S_OK, 0x80070070 for a full disk, a used up quota or a file
    // at a limit of size (the format's is 4 GiB), E_OUTOFMEMORY for a resampler that fails, E_FAIL for anything else
    // and after Close; the other codes of Create where the system gives such a reason for a write.
    HRESULT Write(const int16_t* samples, size_t count);
    // The end of one utterance: writes what the resampler holds. The codes of Write.
    HRESULT EndUtterance();
    void Close();

    int RateHz() const { return m_rateHz; }
    int Channels() const { return m_channels; }

private:
    HRESULT Append(const std::vector<int16_t>& frames);
    bool WriteHeader();
    HRESULT Fail(HRESULT hr);

    // Set once by Create.
    int m_rateHz = 0;
    int m_channels = 0;
    // Guarded by m_lock.
    std::mutex m_lock;
    int m_file = -1;
    uint64_t m_dataBytes = 0;
    PcmConverter m_converter;
    std::vector<int16_t> m_scratch;
    HRESULT m_failure = S_OK;
};

} // namespace qxvoice

#endif

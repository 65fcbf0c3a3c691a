// From a provider's frames to frames in a consumer's format. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_FRAMECONVERTER_H
#define QXSPEECH_MEDIAKIT_FRAMECONVERTER_H

#include "mediakit.h"

class MKFrameConverterImpl;

// Resamples sound into frames that are exactly full, and converts pictures. One for each stream, made and deleted by
// the stream's pump, used by one thread. The format to convert into is that of the frame it is given.
class QXSPEECH_API MKFrameConverter
{
public:
    MKFrameConverter();
    ~MKFrameConverter();
    MKFrameConverter(const MKFrameConverter&) = delete;
    MKFrameConverter& operator=(const MKFrameConverter&) = delete;

    // False skips the ways that convert on a graphics device; true at first.
    void SetHardwareConversion(bool enable);
    // Converts src (null: end of stream, which flushes what is held) into dst, which MKFrame::Allocate has prepared;
    // neither is owned. 0 or more: dst is ready. AVERROR(EAGAIN): the input was taken, dst is not full yet and is to be
    // given again. Another negative value: failure, for sound outside 1 to 6144000 samples per second at once. At the
    // end of a sound stream a last frame that is not full is not ready either; dst then has what there is of it.
    int Convert(MKFrame* src, MKFrame* dst);
    // More output without new input, with the same src as before. AVERROR(EAGAIN): nothing more is held.
    int Drain(MKFrame* src, MKFrame* dst);

private:
    MKFrameConverterImpl* impl; // owned
};

#endif

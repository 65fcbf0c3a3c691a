// Resamples one stream's sound into frames that are exactly full. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_AUDIOCONVERTER_H
#define QXSPEECH_MEDIAKIT_AUDIOCONVERTER_H

#include <cstdint>

struct AVFrame;
struct SwrContext;

// The audio branch of a frame converter, which owns it. One thread. Frames are never owned; a null src is the end of
// the stream. size is the samples per channel of a full frame, below 1 for "whatever there is".
class MKAudioConverter
{
public:
    MKAudioConverter() = default;
    ~MKAudioConverter();
    MKAudioConverter(const MKAudioConverter&) = delete;
    MKAudioConverter& operator=(const MKAudioConverter&) = delete;

    // dst holds nb_samples samples already; more are put behind them. Answers as MKFrameConverter's do.
    int Convert(const AVFrame* src, AVFrame* dst, int size);
    int Drain(const AVFrame* src, AVFrame* dst, int size);

private:
    // What the resampler was made for, at one end.
    struct End {
        int format = -1;     // AVSampleFormat
        int64_t layout = -1; // a bit mask
        int rate = -1;       // samples per second

        bool operator==(const End& other) const
        {
            return format == other.format && layout == other.layout && rate == other.rate;
        }
    };

    static End EndOf(const AVFrame* frame);
    bool FitsOutput(const AVFrame* dst) const { return swr && out == EndOf(dst); }
    int Prepare(const AVFrame* src, const AVFrame* dst);
    void Forget();
    // Ticks of nextPts in one second.
    double Scale() const { return static_cast<double>(in.rate) * static_cast<double>(out.rate); }
    void TakeTimeStamp(int64_t pts);
    bool IsAhead(int inputSamples, int size) const;
    int Resample(AVFrame* dst, int room, const AVFrame* src, int inputSamples);
    int Fill(const AVFrame* src, AVFrame* dst, int size, int inputSamples);

    SwrContext* swr = nullptr; // owned
    End in;
    End out;
    int64_t nextPts = 0; // time of the next sample out, in 1 / (input rate x output rate) seconds
};

#endif

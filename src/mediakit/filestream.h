// One opened stream of a file: its decoder and its time stamps. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_FILESTREAM_H
#define QXSPEECH_MEDIAKIT_FILESTREAM_H

#include <cstdint>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

// The unit of the kit's times.
constexpr AVRational kMicroseconds = {1, 1000000};
constexpr int64_t kSecond = 1000000;

struct ID3D11Device;
struct ID3D11DeviceContext;

// Owned by the provider, used under its lock. Times are microseconds.
struct MKFileStreamData {
    MKFileStreamData() = default;
    ~MKFileStreamData();
    MKFileStreamData(const MKFileStreamData&) = delete;
    MKFileStreamData& operator=(const MKFileStreamData&) = delete;

    // Makes the decoder's context and opens it; a null device leaves decoding in software. Null: done, else what went
    // wrong, and the context may exist without being open.
    const char* OpenDecoder(const AVStream* stream, const AVCodec* decoder, ID3D11Device* device,
                            ID3D11DeviceContext* deviceContext);
    bool IsOpen() const;
    // True if frames can be asked for. Decoders of subtitles make none, and break if they are asked.
    bool IsDecoding() const;
    // Forgets what the decoder holds and goes on at target. Frames that end before newPlace are not to be given;
    // AV_NOPTS_VALUE: all are.
    void Restart(int64_t target, int64_t newPlace);
    // The next frame, its time stamp turned into microseconds. 1: it is to be given; 0: one was decoded that is not;
    // negative: as avcodec_receive_frame.
    int Receive(const AVStream* stream, AVFrame* frame);

    AVCodecContext* codecContext = nullptr; // owned
    int64_t timeStamp = AV_NOPTS_VALUE;     // of the last frame given, or the place sought
    int64_t nextPts = 0;                    // expected of the next frame
    int64_t lastRescalePts = AV_NOPTS_VALUE;
    int64_t frameCount = 0;  // given
    int64_t sampleCount = 0; // decoded, per channel
    bool discard = false;
    bool isDraining = false; // the end was met: no more packets until Restart

private:
    // These answer how long the frame lasts.
    int64_t Stamp(const AVStream* stream, AVFrame* frame);
    int64_t StampAudio(AVRational timeBase, AVFrame* frame);
    int64_t StampVideo(const AVStream* stream, AVFrame* frame);
    int Choose(AVFrame* frame, int64_t duration);
    int GiveEarlier(AVFrame* frame);
    int Count(const AVFrame* frame);

    int64_t place = AV_NOPTS_VALUE; // what ends before it is not given
    AVFrame* earlier = nullptr;     // owned; the last picture that seemed to end before place
    AVFrame* later = nullptr;       // owned; one that waits until the earlier one was given
};

// Of the formats that a decoder offers (the list ends with AV_PIX_FMT_NONE) the one on a Direct3D 11 device, else the
// first. The form is that of AVCodecContext::get_format.
AVPixelFormat mkChooseDecoderFormat(AVCodecContext* context, const AVPixelFormat* offered);

#endif

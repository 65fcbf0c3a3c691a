// What stands behind the file provider. MIT licence.
#ifndef QXSPEECH_MEDIAKIT_FILEPROVIDERIMPL_H
#define QXSPEECH_MEDIAKIT_FILEPROVIDERIMPL_H

#include <string>
#include <vector>

#include "mediakit/decodelock.h"
#include "mediakit/fileprovider.h"
#include "mediakit/filestream.h"
#include "mediakit/nodeimpl.h"
#include "mediakit/packetlist.h"

// Every operation takes the lock; the operations mean what they mean at MKFileProvider.
class MKFileProviderImpl : public MKProviderImpl
{
public:
    explicit MKFileProviderImpl(const std::string& path) : fileName(path) {}
    ~MKFileProviderImpl() override;

    void SetFileName(const std::string& path);
    bool SetD3D11Device(ID3D11Device* device, ID3D11DeviceContext* context);
    void SetExactSeek(bool exact);
    void SetDeepReadAhead(bool deep);
    MKPictureShape GetPictureShape(size_t index);

    bool Open() override;
    bool Close() override;
    int GetStreamCount() override;
    MKMediaType GetStreamType(size_t index) override;
    bool OpenStream(size_t index, MKStreamParameters* params) override;
    bool QueryStreamParameters(size_t index, MKStreamParameters* params) override;
    bool CloseStream(size_t index) override;
    bool IsStreamOpened(size_t index) override;
    bool DiscardStream(size_t index, bool discard) override;
    bool IsStreamDiscarded(size_t index) override;
    int64_t GetDuration() override;
    int64_t GetStreamDuration(size_t index) override;
    int64_t GetStreamTimeStamp(size_t index) override;
    bool Seek(int64_t timestamp) override;
    int Read(size_t index, MKFrame* frame) override;

private:
    enum class Fetched {
        Packet,  // or a null at the end of the file
        Nothing, // this time
        NoRoom,  // before other streams are read
    };

    // All of these are called under the lock. A reason is a text for the log, null if there is none.
    const char* WhyNot(size_t index, const char* notOpen, const char* badIndex) const;
    const AVStream* FindStream(size_t index) const;
    MKFileStreamData* FindData(size_t index) const;
    const char* OpenDecoder(size_t index, MKStreamParameters* params);
    void FindDurationBySize(const AVStream* stream);
    void CloseFile();
    void ReleaseStream(size_t index);
    void DropPackets();
    void DropPackets(size_t index);
    const char* WhyNotRead(size_t index) const;
    int Decode(size_t index, AVFrame* frame, Fetched& fetched);
    Fetched SendNextPacket(size_t index, MKFileStreamData* data);
    Fetched FetchPacket(size_t index, AVPacket*& packet);
    void Keep(AVPacket* packet);

    static constexpr int64_t kUnknownDuration = 1;

    MKDecodeLock lock;
    // guarded by lock
    std::string fileName;                     // UTF-8
    AVFormatContext* formatContext = nullptr; // owned; null while closed
    std::vector<MKFileStreamData*> streams;   // owned; null until opened
    MKPacketList packets;                     // read while another stream was asked for
    int64_t duration = kUnknownDuration;      // microseconds
    bool exactSeek = false;
    ID3D11Device* d3d11Device = nullptr; // with a reference
    ID3D11DeviceContext* d3d11Context = nullptr;
};

#endif

// The public class, which forwards every operation. MIT licence.
#include "mediakit/fileprovider.h"

#include "mediakit/fileproviderimpl.h"

MKFileProvider::MKFileProvider(const std::string& fileName)
{
    impl = new MKFileProviderImpl(fileName);
}

MKFileProvider::~MKFileProvider()
{
    delete impl;
}

MKFileProviderImpl* MKFileProvider::Impl() const
{
    return static_cast<MKFileProviderImpl*>(impl);
}

void MKFileProvider::SetFileName(const std::string& fileName)
{
    Impl()->SetFileName(fileName);
}

bool MKFileProvider::SetD3D11Device(ID3D11Device* device, ID3D11DeviceContext* context)
{
    return Impl()->SetD3D11Device(device, context);
}

void MKFileProvider::SetExactSeek(bool exact)
{
    Impl()->SetExactSeek(exact);
}

void MKFileProvider::SetDeepReadAhead(bool deep)
{
    Impl()->SetDeepReadAhead(deep);
}

MKPictureShape MKFileProvider::GetPictureShape(size_t index)
{
    return Impl()->GetPictureShape(index);
}

bool MKFileProvider::Open()
{
    return impl->Open();
}

bool MKFileProvider::Close()
{
    return impl->Close();
}

int MKFileProvider::GetStreamCount()
{
    return impl->GetStreamCount();
}

MKMediaType MKFileProvider::GetStreamType(size_t index)
{
    return impl->GetStreamType(index);
}

bool MKFileProvider::OpenStream(size_t index, MKStreamParameters* params)
{
    return impl->OpenStream(index, params);
}

bool MKFileProvider::QueryStreamParameters(size_t index, MKStreamParameters* params)
{
    return impl->QueryStreamParameters(index, params);
}

bool MKFileProvider::CloseStream(size_t index)
{
    return impl->CloseStream(index);
}

bool MKFileProvider::IsStreamOpened(size_t index)
{
    return impl->IsStreamOpened(index);
}

bool MKFileProvider::DiscardStream(size_t index, bool discard)
{
    return impl->DiscardStream(index, discard);
}

bool MKFileProvider::IsStreamDiscarded(size_t index)
{
    return impl->IsStreamDiscarded(index);
}

int64_t MKFileProvider::GetDuration()
{
    return impl->GetDuration();
}

int64_t MKFileProvider::GetStreamDuration(size_t index)
{
    return impl->GetStreamDuration(index);
}

int64_t MKFileProvider::GetStreamTimeStamp(size_t index)
{
    return impl->GetStreamTimeStamp(index);
}

bool MKFileProvider::AllocateFrame(size_t index, MKFrame* frame)
{
    return impl->AllocateFrame(index, frame);
}

int MKFileProvider::GetBufferSize(size_t index)
{
    return impl->GetBufferSize(index);
}

bool MKFileProvider::Seek(int64_t timestamp)
{
    return Impl()->Seek(timestamp);
}

int MKFileProvider::Read(size_t index, MKFrame* frame)
{
    return Impl()->Read(index, frame);
}

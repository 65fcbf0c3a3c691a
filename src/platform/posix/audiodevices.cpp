// Audio endpoints: PortAudio's devices as IMMDevice, and the enumerator that passes on the sound server's notices. MIT
// licence.
#include "platform/posix/audioclasses.h"

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <pa_win_wasapi.h>
#include <string>
#include <utility>
#include <vector>
#include <wx/string.h>

#include "platform/posix/com.h"
#include "platform/posix/comobject.h"
#include "platform/posix/deviceids.h"
#include "platform/posix/devicenotices.h"

const CLSID CLSID_MMDeviceEnumerator = {0xBCDE0395, 0xE52F, 0x467C, {0x8E, 0x3D, 0xC4, 0x57, 0x92, 0x91, 0x69, 0x2E}};
const IID IID_IMMDeviceEnumerator = {0xA95664D2, 0x9614, 0x4F35, {0xA7, 0x46, 0xDE, 0x8D, 0xB6, 0x36, 0x17, 0xE6}};
const IID IID_IMMDevice = {0xD666063F, 0x1587, 0x4E43, {0x81, 0xF1, 0xB9, 0x48, 0xE8, 0x07, 0x36, 0x3F}};
const IID IID_IMMNotificationClient = {0x7991EEC9, 0x7E89, 0x4D85, {0x83, 0x90, 0x6C, 0x70, 0x3C, 0xEC, 0x60, 0xC0}};

namespace qxplatform
{
namespace
{

// Device names are whatever ALSA's configuration holds; what is not UTF-8 is taken byte by byte, so that ids differ
// where names do.
std::wstring Wide(const std::string& text)
{
    const wxString wide = wxString::FromUTF8(text);
    return (wide.empty() ? wxString::From8BitData(text.data(), text.size()) : wide).ToStdWstring();
}

class Endpoint final : public ComObject<IMMDevice, IID_IMMDevice>
{
public:
    explicit Endpoint(std::wstring id) : m_id(std::move(id)) {}

    HRESULT GetId(LPWSTR* id) override
    {
        if (!id)
            return E_POINTER;
        *id = CoTaskString(m_id);
        return *id ? S_OK : E_OUTOFMEMORY;
    }

private:
    const std::wstring m_id;
};

// The one device object of an id; like PortAudio's own, it lives as long as the process.
IMMDevice* EndpointOf(const std::string& id)
{
    static std::mutex* const lock = new std::mutex;
    static auto* const endpoints = new std::map<std::string, Endpoint*>;
    const std::lock_guard<std::mutex> guard(*lock);
    Endpoint*& endpoint = (*endpoints)[id];
    if (!endpoint)
        endpoint = new Endpoint(Wide(id));
    return endpoint;
}

// "<host API>:<device>", before repeated ones are told apart. Empty if PortAudio does not know the device.
std::string PlainId(PaDeviceIndex device)
{
    const PaDeviceInfo* const info = Pa_GetDeviceInfo(device);
    const PaHostApiInfo* const api = info ? Pa_GetHostApiInfo(info->hostApi) : nullptr;
    if (!api || !api->name || !info->name)
        return std::string();
    return std::string(api->name) + ":" + StableDeviceName(info->name, AlsaCardId);
}

// Any thread. Clients are told under the lock, so one that was unregistered is not called any more.
class DeviceEnumerator final : public ComObject<IMMDeviceEnumerator, IID_IMMDeviceEnumerator>
{
public:
    HRESULT RegisterEndpointNotificationCallback(IMMNotificationClient* client) override;
    HRESULT UnregisterEndpointNotificationCallback(IMMNotificationClient* client) override;

private:
    ~DeviceEnumerator() override;
    bool StartNotices();
    void Tell(const DeviceNotice& notice);
    static void Tell(IMMNotificationClient& client, const DeviceNotice& notice);

    std::mutex m_startLock;                   // taken before m_lock, never by the notices' thread
    std::unique_ptr<DeviceNotices> m_notices; // guarded by m_startLock; exists while there are clients
    std::mutex m_lock;
    std::vector<IMMNotificationClient*> m_clients; // guarded by m_lock; one reference each
};

DeviceEnumerator::~DeviceEnumerator()
{
    m_notices.reset();
    for (IMMNotificationClient* const client : m_clients)
        client->Release();
}

bool DeviceEnumerator::StartNotices()
{
    if (m_notices)
        return true;
    m_notices = std::make_unique<DeviceNotices>([this](const DeviceNotice& notice) { Tell(notice); });
    if (!m_notices->Start())
        m_notices.reset();
    return m_notices != nullptr;
}

HRESULT DeviceEnumerator::RegisterEndpointNotificationCallback(IMMNotificationClient* client)
{
    if (!client)
        return E_POINTER;
    const std::lock_guard<std::mutex> starting(m_startLock);
    if (!StartNotices())
        return E_FAIL;
    const std::lock_guard<std::mutex> guard(m_lock);
    client->AddRef();
    m_clients.push_back(client);
    return S_OK;
}

HRESULT DeviceEnumerator::UnregisterEndpointNotificationCallback(IMMNotificationClient* client)
{
    const std::lock_guard<std::mutex> starting(m_startLock);
    bool isLast = false;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        const auto found = std::find(m_clients.begin(), m_clients.end(), client);
        if (found == m_clients.end())
            return E_INVALIDARG;
        m_clients.erase(found);
        isLast = m_clients.empty();
    }
    if (isLast)
        m_notices.reset(); // waits for its thread, which may want m_lock
    client->Release();
    return S_OK;
}

void DeviceEnumerator::Tell(const DeviceNotice& notice)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    for (IMMNotificationClient* const client : m_clients)
        Tell(*client, notice);
}

void DeviceEnumerator::Tell(IMMNotificationClient& client, const DeviceNotice& notice)
{
    const std::wstring id = Wide(notice.id);
    if (notice.kind == DeviceNotice::Added)
        client.OnDeviceAdded(id.c_str());
    else if (notice.kind == DeviceNotice::Removed)
        client.OnDeviceRemoved(id.c_str());
    else
        client.OnDefaultDeviceChanged(notice.isInput ? eCapture : eRender, eConsole,
                                      notice.id.empty() ? nullptr : id.c_str());
}

} // namespace

HRESULT CreateMMDeviceEnumerator(REFIID iid, void** object)
{
    return CreateObject<DeviceEnumerator>(iid, object);
}

} // namespace qxplatform

PaError PaWasapi_GetIMMDevice(PaDeviceIndex device, void** immDevice)
{
    if (!immDevice)
        return paInsufficientMemory;
    *immDevice = nullptr;
    if (device < 0 || device >= Pa_GetDeviceCount())
        return paInvalidDevice;
    std::vector<std::string> ids;
    for (PaDeviceIndex i = 0; i <= device; ++i)
        ids.push_back(qxplatform::PlainId(i));
    if (ids.back().empty())
        return paInvalidHostApi;
    *immDevice = qxplatform::EndpointOf(qxplatform::DistinctIds(std::move(ids)).back());
    return paNoError;
}

// Notices of the sound server (PulseAudio, PipeWire): devices that come and go, another default. MIT licence.
#ifndef QXSPEECH_PLATFORM_DEVICENOTICES_H
#define QXSPEECH_PLATFORM_DEVICENOTICES_H

#include <functional>
#include <memory>
#include <string>

namespace qxplatform
{

struct DeviceNotice {
    enum Kind { Added, Removed, DefaultChanged };
    Kind kind;
    bool isInput;
    std::string id; // as PaWasapi_GetIMMDevice's devices have it, where the server knows the card; empty: none
};

// One connection to the sound server with a thread of its own, which calls the function for each notice from Start to
// the destructor. The function must not end the object. When the server ends it is looked for every two seconds; what
// is different when it is there again is told then.
class DeviceNotices
{
public:
    explicit DeviceNotices(std::function<void(const DeviceNotice&)> tell);
    // Waits for a notice under way.
    ~DeviceNotices();
    DeviceNotices(const DeviceNotices&) = delete;
    DeviceNotices& operator=(const DeviceNotices&) = delete;

    // Connects and learns what is there now; starts no server. False: there is no server, or it does not answer within
    // two seconds. Once only.
    bool Start();

private:
    class Connection;
    std::unique_ptr<Connection> m_connection;
};

} // namespace qxplatform

#endif

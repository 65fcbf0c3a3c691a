// Notices of the sound server through libpulse's subscription. MIT licence.
#include "platform/posix/devicenotices.h"

#include <map>
#include <pulse/pulseaudio.h>
#include <utility>

#include "platform/posix/deviceids.h"

namespace qxplatform
{
namespace
{

constexpr pa_usec_t kPatienceUs = 2000000;

std::string Property(const pa_proplist* properties, const char* key)
{
    const char* const value = pa_proplist_gets(properties, key);
    return value ? value : "";
}

std::string IdOf(const char* name, const pa_proplist* properties)
{
    const ServerDevice device = {name ? name : "", Property(properties, "alsa.card"),
                                 Property(properties, "alsa.card_name"), Property(properties, "alsa.device"),
                                 Property(properties, "alsa.name")};
    return ServerDeviceId(device, AlsaCardId);
}

} // namespace

// All callbacks of libpulse run on its thread, which holds the main loop's lock then; what is below the loop is guarded
// by that lock. The order of events at the start: connected, subscribed, then the three questions of Learn, and with
// the last of their answers what comes is news.
class DeviceNotices::Connection
{
public:
    explicit Connection(std::function<void(const DeviceNotice&)> tell) : m_tell(std::move(tell)) {}
    ~Connection();

    bool Start();

private:
    // What the server has of one direction.
    struct Side {
        Connection* owner;
        bool isInput;
        std::map<uint32_t, std::string> ids; // by the server's index
        std::string defaultName;
    };

    bool Connect();
    bool Await();
    void Learn();
    void Count(pa_operation* operation);
    void Answered();
    void Query(Side& side, uint32_t index);
    void Known(Side& side, uint32_t index, std::string id);
    void Gone(Side& side, uint32_t index);
    void SetDefault(Side& side, const char* name);

    static void OnState(pa_context* context, void* self);
    static void OnTooLate(pa_mainloop_api*, pa_time_event*, const timeval*, void* self);
    static void OnEvent(pa_context*, pa_subscription_event_type_t event, uint32_t index, void* self);
    static void OnServer(pa_context*, const pa_server_info* info, void* self);
    static void OnSink(pa_context*, const pa_sink_info* info, int end, void* side);
    static void OnSource(pa_context*, const pa_source_info* info, int end, void* side);
    static void OnDefaultSink(pa_context*, const pa_sink_info* info, int end, void* side);
    static void OnDefaultSource(pa_context*, const pa_source_info* info, int end, void* side);

    std::function<void(const DeviceNotice&)> m_tell;
    pa_threaded_mainloop* m_loop = nullptr;
    pa_context* m_context = nullptr;
    pa_time_event* m_limit = nullptr;
    Side m_outputs = {this, false, {}, {}};
    Side m_inputs = {this, true, {}, {}};
    int m_unanswered = 0; // of the questions at the start
    bool m_tooLate = false;
    bool m_isLearned = false; // what comes from now on is told
};

DeviceNotices::Connection::~Connection()
{
    if (!m_loop)
        return;
    if (m_context) {
        pa_threaded_mainloop_lock(m_loop);
        pa_context_set_state_callback(m_context, nullptr, nullptr);
        pa_context_set_subscribe_callback(m_context, nullptr, nullptr);
        pa_context_disconnect(m_context); // cancels what is not answered
        pa_context_unref(m_context);
        pa_threaded_mainloop_unlock(m_loop);
    }
    pa_threaded_mainloop_stop(m_loop);
    pa_threaded_mainloop_free(m_loop);
}

bool DeviceNotices::Connection::Start()
{
    m_loop = pa_threaded_mainloop_new();
    if (!m_loop || pa_threaded_mainloop_start(m_loop) < 0)
        return false;
    pa_threaded_mainloop_lock(m_loop);
    const bool ok = Connect() && Await();
    if (m_limit)
        pa_threaded_mainloop_get_api(m_loop)->time_free(m_limit);
    m_limit = nullptr;
    pa_threaded_mainloop_unlock(m_loop);
    return ok;
}

bool DeviceNotices::Connection::Connect()
{
    m_context = pa_context_new(pa_threaded_mainloop_get_api(m_loop), "qxspeech");
    if (!m_context)
        return false;
    pa_context_set_state_callback(m_context, OnState, this);
    pa_context_set_subscribe_callback(m_context, OnEvent, this);
    m_limit = pa_context_rttime_new(m_context, pa_rtclock_now() + kPatienceUs, OnTooLate, this);
    return pa_context_connect(m_context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) >= 0;
}

bool DeviceNotices::Connection::Await()
{
    while (!m_isLearned && !m_tooLate && PA_CONTEXT_IS_GOOD(pa_context_get_state(m_context)))
        pa_threaded_mainloop_wait(m_loop);
    return m_isLearned && PA_CONTEXT_IS_GOOD(pa_context_get_state(m_context));
}

void DeviceNotices::Connection::OnState(pa_context* context, void* self)
{
    Connection* const connection = static_cast<Connection*>(self);
    if (pa_context_get_state(context) == PA_CONTEXT_READY)
        connection->Learn();
    pa_threaded_mainloop_signal(connection->m_loop, 0);
}

void DeviceNotices::Connection::OnTooLate(pa_mainloop_api*, pa_time_event*, const timeval*, void* self)
{
    Connection* const connection = static_cast<Connection*>(self);
    connection->m_tooLate = true;
    pa_threaded_mainloop_signal(connection->m_loop, 0);
}

void DeviceNotices::Connection::Learn()
{
    const int events = PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SOURCE | PA_SUBSCRIPTION_MASK_SERVER;
    if (pa_operation* const operation =
            pa_context_subscribe(m_context, static_cast<pa_subscription_mask_t>(events), nullptr, nullptr))
        pa_operation_unref(operation);
    Count(pa_context_get_sink_info_list(m_context, OnSink, &m_outputs));
    Count(pa_context_get_source_info_list(m_context, OnSource, &m_inputs));
    Count(pa_context_get_server_info(m_context, OnServer, this));
}

void DeviceNotices::Connection::Count(pa_operation* operation)
{
    if (!operation)
        return;
    ++m_unanswered;
    pa_operation_unref(operation);
}

void DeviceNotices::Connection::Answered()
{
    if (m_isLearned || --m_unanswered > 0)
        return;
    m_isLearned = true;
    pa_threaded_mainloop_signal(m_loop, 0);
}

void DeviceNotices::Connection::OnEvent(pa_context* context, pa_subscription_event_type_t event, uint32_t index,
                                        void* self)
{
    Connection* const connection = static_cast<Connection*>(self);
    const int facility = event & PA_SUBSCRIPTION_EVENT_FACILITY_MASK;
    const int type = event & PA_SUBSCRIPTION_EVENT_TYPE_MASK;
    if (facility == PA_SUBSCRIPTION_EVENT_SERVER) {
        if (pa_operation* const operation = pa_context_get_server_info(context, OnServer, self))
            pa_operation_unref(operation);
        return;
    }
    Side& side = facility == PA_SUBSCRIPTION_EVENT_SINK ? connection->m_outputs : connection->m_inputs;
    if (type == PA_SUBSCRIPTION_EVENT_NEW)
        connection->Query(side, index);
    else if (type == PA_SUBSCRIPTION_EVENT_REMOVE)
        connection->Gone(side, index);
}

void DeviceNotices::Connection::Query(Side& side, uint32_t index)
{
    pa_operation* const operation = side.isInput
                                        ? pa_context_get_source_info_by_index(m_context, index, OnSource, &side)
                                        : pa_context_get_sink_info_by_index(m_context, index, OnSink, &side);
    if (operation)
        pa_operation_unref(operation);
}

void DeviceNotices::Connection::OnSink(pa_context*, const pa_sink_info* info, int end, void* side)
{
    Side& outputs = *static_cast<Side*>(side);
    if (end)
        outputs.owner->Answered();
    else
        outputs.owner->Known(outputs, info->index, IdOf(info->name, info->proplist));
}

void DeviceNotices::Connection::OnSource(pa_context*, const pa_source_info* info, int end, void* side)
{
    Side& inputs = *static_cast<Side*>(side);
    if (end)
        inputs.owner->Answered();
    else if (info->monitor_of_sink == PA_INVALID_INDEX) // what a sink plays is no device of its own
        inputs.owner->Known(inputs, info->index, IdOf(info->name, info->proplist));
}

void DeviceNotices::Connection::Known(Side& side, uint32_t index, std::string id)
{
    const auto added = side.ids.emplace(index, std::move(id));
    if (added.second && m_isLearned)
        m_tell({DeviceNotice::Added, side.isInput, added.first->second});
}

void DeviceNotices::Connection::Gone(Side& side, uint32_t index)
{
    const auto found = side.ids.find(index);
    if (found == side.ids.end())
        return;
    const DeviceNotice notice = {DeviceNotice::Removed, side.isInput, found->second};
    side.ids.erase(found);
    if (m_isLearned)
        m_tell(notice);
}

void DeviceNotices::Connection::OnServer(pa_context*, const pa_server_info* info, void* self)
{
    Connection* const connection = static_cast<Connection*>(self);
    if (info) {
        connection->SetDefault(connection->m_outputs, info->default_sink_name);
        connection->SetDefault(connection->m_inputs, info->default_source_name);
    }
    connection->Answered();
}

void DeviceNotices::Connection::SetDefault(Side& side, const char* name)
{
    const std::string present = name ? name : "";
    if (present == side.defaultName)
        return;
    side.defaultName = present;
    if (!m_isLearned)
        return;
    if (present.empty()) {
        m_tell({DeviceNotice::DefaultChanged, side.isInput, std::string()});
        return;
    }
    pa_operation* const operation = side.isInput
                                        ? pa_context_get_source_info_by_name(m_context, name, OnDefaultSource, &side)
                                        : pa_context_get_sink_info_by_name(m_context, name, OnDefaultSink, &side);
    if (operation)
        pa_operation_unref(operation);
}

void DeviceNotices::Connection::OnDefaultSink(pa_context*, const pa_sink_info* info, int end, void* side)
{
    if (!end)
        static_cast<Side*>(side)->owner->m_tell(
            {DeviceNotice::DefaultChanged, false, IdOf(info->name, info->proplist)});
}

void DeviceNotices::Connection::OnDefaultSource(pa_context*, const pa_source_info* info, int end, void* side)
{
    if (!end && info->monitor_of_sink == PA_INVALID_INDEX)
        static_cast<Side*>(side)->owner->m_tell({DeviceNotice::DefaultChanged, true, IdOf(info->name, info->proplist)});
}

DeviceNotices::DeviceNotices(std::function<void(const DeviceNotice&)> tell)
    : m_connection(new Connection(std::move(tell)))
{
}

DeviceNotices::~DeviceNotices() = default;

bool DeviceNotices::Start()
{
    return m_connection->Start();
}

} // namespace qxplatform

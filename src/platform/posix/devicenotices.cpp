// Notices of the sound server through libpulse's subscription. MIT licence.
#include "platform/posix/devicenotices.h"

#include <map>
#include <pulse/pulseaudio.h>
#include <set>
#include <utility>

#include "platform/posix/deviceids.h"

namespace qxplatform
{
namespace
{

constexpr pa_usec_t kPatienceUs = 2000000;
constexpr pa_usec_t kRetryUs = 2000000; // after the server has gone

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
// by that lock. The order of events at the start: connected, subscribed, then the three questions of Learn. What
// comes meanwhile is asked for as well, and with the last of all answers what comes is news. When the server goes, a
// new connection is tried until there is one; it learns anew, and what is different then is news, too.
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
        std::string toldDefaultName;   // what whoever listens knows
        std::set<std::string> lostIds; // what there was when the server went

        std::set<std::string> Ids() const;
    };

    bool Connect();
    bool Await();
    void Learn();
    void Lose();
    void TellDifference(Side& side);
    void Count(pa_operation* operation);
    void Answered();
    void Query(Side& side, uint32_t index);
    void Known(Side& side, uint32_t index, std::string id);
    void Gone(Side& side, uint32_t index);
    void SetDefault(Side& side, const char* name);
    void TellDefault(Side& side);

    static void OnState(pa_context* context, void* self);
    static void OnTooLate(pa_mainloop_api*, pa_time_event*, const timeval*, void* self);
    static void OnRetry(pa_mainloop_api* api, pa_time_event* event, const timeval*, void* self);
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
    pa_time_event* m_retry = nullptr;
    Side m_outputs = {this, false, {}, {}, {}, {}};
    Side m_inputs = {this, true, {}, {}, {}, {}};
    int m_unanswered = 0; // of the questions at the start
    bool m_tooLate = false;
    bool m_isLearned = false; // what comes from now on is told
    bool m_isAgain = false;   // a server has gone before
};

DeviceNotices::Connection::~Connection()
{
    if (!m_loop)
        return;
    if (m_context) {
        pa_threaded_mainloop_lock(m_loop);
        if (m_retry)
            pa_threaded_mainloop_get_api(m_loop)->time_free(m_retry);
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
    if (!m_isAgain)
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
    const pa_context_state_t state = pa_context_get_state(context);
    if (state == PA_CONTEXT_READY)
        connection->Learn();
    else if (!PA_CONTEXT_IS_GOOD(state) && (connection->m_isLearned || connection->m_isAgain))
        connection->Lose();
    pa_threaded_mainloop_signal(connection->m_loop, 0);
}

// The server has gone, or is not there yet again.
void DeviceNotices::Connection::Lose()
{
    if (m_isLearned) {
        m_outputs.lostIds = m_outputs.Ids();
        m_inputs.lostIds = m_inputs.Ids();
    }
    m_isLearned = false;
    m_isAgain = true;
    if (!m_retry)
        m_retry = pa_context_rttime_new(m_context, pa_rtclock_now() + kRetryUs, OnRetry, this);
}

void DeviceNotices::Connection::OnRetry(pa_mainloop_api* api, pa_time_event* event, const timeval*, void* self)
{
    Connection* const connection = static_cast<Connection*>(self);
    api->time_free(event);
    connection->m_retry = nullptr;
    pa_context* const failed = connection->m_context;
    if (!connection->Connect() && !connection->m_retry) {
        if (connection->m_context && connection->m_context != failed)
            pa_context_unref(connection->m_context);
        connection->m_context = failed;
        connection->Lose();
        return;
    }
    pa_context_set_state_callback(failed, nullptr, nullptr);
    pa_context_set_subscribe_callback(failed, nullptr, nullptr);
    pa_context_disconnect(failed);
    pa_context_unref(failed);
}

void DeviceNotices::Connection::OnTooLate(pa_mainloop_api*, pa_time_event*, const timeval*, void* self)
{
    Connection* const connection = static_cast<Connection*>(self);
    connection->m_tooLate = true;
    pa_threaded_mainloop_signal(connection->m_loop, 0);
}

std::set<std::string> DeviceNotices::Connection::Side::Ids() const
{
    std::set<std::string> all;
    for (const auto& item : ids)
        all.insert(item.second);
    return all;
}

void DeviceNotices::Connection::Learn()
{
    m_unanswered = 0;
    m_outputs.ids.clear();
    m_inputs.ids.clear();
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
    if (!m_isLearned)
        ++m_unanswered;
    pa_operation_unref(operation);
}

void DeviceNotices::Connection::Answered()
{
    if (m_isLearned || --m_unanswered > 0)
        return;
    m_isLearned = true;
    for (Side* side : {&m_outputs, &m_inputs}) {
        if (m_isAgain)
            TellDifference(*side);
        side->toldDefaultName = side->defaultName;
    }
    pa_threaded_mainloop_signal(m_loop, 0);
}

void DeviceNotices::Connection::OnEvent(pa_context* context, pa_subscription_event_type_t event, uint32_t index,
                                        void* self)
{
    Connection* const connection = static_cast<Connection*>(self);
    const int facility = event & PA_SUBSCRIPTION_EVENT_FACILITY_MASK;
    const int type = event & PA_SUBSCRIPTION_EVENT_TYPE_MASK;
    if (facility == PA_SUBSCRIPTION_EVENT_SERVER) {
        connection->Count(pa_context_get_server_info(context, OnServer, self));
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
    Count(side.isInput ? pa_context_get_source_info_by_index(m_context, index, OnSource, &side)
                       : pa_context_get_sink_info_by_index(m_context, index, OnSink, &side));
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

void DeviceNotices::Connection::TellDifference(Side& side)
{
    const std::set<std::string> present = side.Ids();
    for (const std::string& id : side.lostIds) {
        if (present.count(id) == 0)
            m_tell({DeviceNotice::Removed, side.isInput, id});
    }
    for (const std::string& id : present) {
        if (side.lostIds.count(id) == 0)
            m_tell({DeviceNotice::Added, side.isInput, id});
    }
    TellDefault(side);
}

void DeviceNotices::Connection::SetDefault(Side& side, const char* name)
{
    side.defaultName = name ? name : "";
    if (m_isLearned)
        TellDefault(side);
}

void DeviceNotices::Connection::TellDefault(Side& side)
{
    if (side.defaultName == side.toldDefaultName)
        return;
    side.toldDefaultName = side.defaultName;
    if (side.defaultName.empty()) {
        m_tell({DeviceNotice::DefaultChanged, side.isInput, std::string()});
        return;
    }
    const char* const name = side.defaultName.c_str();
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

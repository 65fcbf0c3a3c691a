// The faults that wait for their request. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_SERVICES_FAULTS_H
#define QXSPEECH_TESTS_SUPPORT_SERVICES_FAULTS_H

#include <deque>
#include <optional>

#include "services.h"

namespace loopback
{

// Whether it happens to the connection, before there is a request.
bool IsOfConnection(const Fault& fault);

// In the order of injection. No lock of its own.
class FaultQueue
{
public:
    void Add(const std::string& host, const std::string& path, int times, const Fault& fault);
    std::optional<Fault> TakeForConnection(const std::string& host);
    std::optional<Fault> TakeForRequest(const std::string& host, const std::string& path);
    void Clear() { m_entries.clear(); }
    std::size_t Size() const { return m_entries.size(); }

private:
    struct Entry {
        std::string host;
        std::string path;
        int times;
        Fault fault;
    };
    std::optional<Fault> Take(const std::string& host, const std::string* path);

    std::deque<Entry> m_entries;
};

} // namespace loopback

#endif

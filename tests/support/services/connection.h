// One client of the proxy, from its CONNECT to its end. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_SERVICES_CONNECTION_H
#define QXSPEECH_TESTS_SUPPORT_SERVICES_CONNECTION_H

#include <atomic>
#include <boost/asio/ip/tcp.hpp>
#include <thread>

#include "state.h"
#include "tlsidentity.h"

namespace loopback
{

class ByteStream;
class RequestReader;

// Works on a thread of its own, which the constructor starts and the destructor joins. Made and deleted by the proxy.
class Connection
{
public:
    // The state, the identity and the tokens are not owned and outlive the connection.
    Connection(boost::asio::ip::tcp::socket socket, std::uint64_t number, State& state, TlsIdentity& identity,
               TokenStore& tokens);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    bool IsDone() const { return m_done; }
    void Shutdown(); // wakes the thread from whatever it waits for on the wire; any thread

private:
    enum class Next { kGoOn, kEnd };

    void Run();
    void Talk();
    bool AcceptConnect(ByteStream& stream, RequestReader& reader);
    int AnswerConnect(ByteStream& stream, const Request& request);
    void TalkTls();
    Next AnswerOne(ByteStream& stream, RequestReader& reader, const std::string& sni);
    Next Send(ByteStream& stream, const Request& request, Answer answer, const std::optional<Fault>& fault);
    Next SendFaulty(ByteStream& stream, const Answer& answer, const Fault& fault);
    // What the fault does at its stage; kGoOn if the work continues after it.
    Next Act(ByteStream& stream, const Fault& fault);

    // Set once
    const std::uint64_t m_number;
    State& m_state;
    TlsIdentity& m_identity;
    TokenStore& m_tokens;
    // Thread only, but for Shutdown
    boost::asio::ip::tcp::socket m_socket;
    std::string m_host;
    Certificate m_certificate = Certificate::kGood;
    std::atomic<bool> m_done{false};
    std::thread m_thread; // last: it uses all of the above
};

} // namespace loopback

#endif

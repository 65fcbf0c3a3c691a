// The port: accepts clients and keeps their connections until they end. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_SERVICES_PROXY_H
#define QXSPEECH_TESTS_SUPPORT_SERVICES_PROXY_H

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <list>
#include <mutex>
#include <thread>

#include "connection.h"

namespace loopback
{

// Made and deleted by the services; any thread. Listens on 127.0.0.1 alone.
class Proxy
{
public:
    // Port 0: one that is free. Throws std::runtime_error if the port is taken. Nothing given is owned.
    Proxy(std::uint16_t port, State& state, TlsIdentity& identity, TokenStore& tokens);
    // Ends all connections; State::Stop must have been called, else a stalled one is waited for.
    ~Proxy();
    Proxy(const Proxy&) = delete;
    Proxy& operator=(const Proxy&) = delete;

    std::uint16_t Port() const { return m_port; }
    void RefuseConnections(bool on);

private:
    void Open(std::uint16_t port, bool listen);
    void AcceptNext();
    void Adopt(boost::asio::ip::tcp::socket socket);

    State& m_state;
    TlsIdentity& m_identity;
    TokenStore& m_tokens;
    std::uint16_t m_port = 0; // set once
    boost::asio::io_context m_context;
    // The context's thread only, once that runs
    boost::asio::ip::tcp::acceptor m_acceptor;
    std::list<Connection> m_connections;
    std::uint64_t m_lastNumber = 0;
    std::thread m_thread; // last
};

} // namespace loopback

#endif

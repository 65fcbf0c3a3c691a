// Accepting is the one thing done asynchronously, so that stopping needs no trick. MIT licence.
#include "proxy.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>
#include <future>
#include <stdexcept>
#include <utility>

namespace loopback
{

using boost::asio::ip::tcp;

Proxy::Proxy(std::uint16_t port, State& state, TlsIdentity& identity, TokenStore& tokens)
    : m_state(state), m_identity(identity), m_tokens(tokens), m_acceptor(m_context)
{
    try {
        Open(port, true);
    } catch (const std::exception& error) {
        throw std::runtime_error("port " + std::to_string(port) + ": " + error.what());
    }
    m_port = m_acceptor.local_endpoint().port();
    m_thread = std::thread([this] {
        const auto work = boost::asio::make_work_guard(m_context);
        m_context.run();
    });
}

Proxy::~Proxy()
{
    m_context.stop();
    m_thread.join();
    for (Connection& connection : m_connections)
        connection.Shutdown();
    m_connections.clear(); // joins
}

void Proxy::Open(std::uint16_t port, bool listen)
{
    m_acceptor.open(tcp::v4());
    m_acceptor.set_option(tcp::acceptor::reuse_address(true));
    m_acceptor.bind(tcp::endpoint(boost::asio::ip::address_v4::loopback(), port));
    if (!listen)
        return;
    m_acceptor.listen();
    AcceptNext();
}

void Proxy::AcceptNext()
{
    m_acceptor.async_accept([this](const boost::system::error_code& error, tcp::socket socket) {
        if (error == boost::asio::error::operation_aborted)
            return;
        if (!error)
            Adopt(std::move(socket));
        AcceptNext();
    });
}

void Proxy::Adopt(tcp::socket socket)
{
    m_connections.remove_if([](const Connection& connection) { return connection.IsDone(); });
    m_connections.emplace_back(std::move(socket), ++m_lastNumber, m_state, m_identity, m_tokens);
}

// A port that is bound and does not listen refuses connections, and nobody else can take it meanwhile.
void Proxy::RefuseConnections(bool on)
{
    std::promise<void> done;
    boost::asio::post(m_context, [&] {
        try {
            m_acceptor.close();
            Open(m_port, !on);
            done.set_value();
        } catch (...) {
            done.set_exception(std::current_exception());
        }
    });
    done.get_future().get();
}

} // namespace loopback

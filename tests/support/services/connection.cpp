// Blocking calls on one thread: the order of things on the wire is the order of the code. MIT licence.
#include "connection.h"

#include <algorithm>
#include <boost/asio/read.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/write.hpp>
#include <exception>
#include <sys/socket.h>
#include <utility>

#include "audio.h"
#include "httpmessage.h"

namespace loopback
{
namespace
{

namespace asio = boost::asio;
using TcpSocket = asio::ip::tcp::socket;

template <typename Layer>
class StreamOf : public ByteStream
{
public:
    explicit StreamOf(Layer& layer) : m_layer(layer) {}
    std::size_t Read(char* data, std::size_t size) override
    {
        boost::system::error_code error;
        return m_layer.read_some(asio::buffer(data, size), error);
    }
    using ByteStream::Write;
    bool Write(const char* data, std::size_t size) override
    {
        boost::system::error_code error;
        asio::write(m_layer, asio::buffer(data, size), error);
        return !error;
    }

private:
    Layer& m_layer;
};

bool HasProxyCredentials(const Request& request, const Settings& settings)
{
    return settings.proxyUser.empty() || request.Header("Proxy-Authorization") ==
                                             "Basic " + Base64Of(settings.proxyUser + ":" + settings.proxyPassword);
}

Answer Plain(int status)
{
    Answer answer;
    answer.status = status;
    answer.reason = ReasonOf(status);
    return answer;
}

// Something to cut, also in an answer that has no body.
void EnsureBody(Answer& answer)
{
    if (answer.body.Size() < 2)
        answer.body.Set(std::string(64, ' '));
}

} // namespace

Connection::Connection(TcpSocket socket, std::uint64_t number, State& state, TlsIdentity& identity, TokenStore& tokens)
    : m_number(number), m_state(state), m_identity(identity), m_tokens(tokens), m_socket(std::move(socket)),
      m_thread(&Connection::Run, this)
{
}

Connection::~Connection()
{
    m_thread.join();
}

void Connection::Shutdown()
{
    // The descriptor stays open until the thread is joined, so this meets no stranger.
    ::shutdown(m_socket.native_handle(), SHUT_RDWR);
}

void Connection::Run()
{
    try {
        Talk();
    } catch (const std::exception&) {
        // The client sees a connection that breaks off, and its test fails on that.
    }
    Shutdown();
    m_done = true;
}

void Connection::Talk()
{
    StreamOf<TcpSocket> stream(m_socket);
    RequestReader reader(stream);
    if (AcceptConnect(stream, reader))
        TalkTls();
}

bool Connection::AcceptConnect(ByteStream& stream, RequestReader& reader)
{
    Request request;
    if (reader.Read(request) != ReadResult::kRequest)
        return false;
    request.toProxy = true;
    request.connection = m_number;
    const std::size_t colon = request.target.rfind(':');
    m_host = request.host = Lower(request.target.substr(0, colon));
    m_state.Log(request);
    const int status = AnswerConnect(stream, request);
    m_state.Finish(request, status);
    return status == 200;
}

// The status that was sent, 0 if there was none.
int Connection::AnswerConnect(ByteStream& stream, const Request& request)
{
    const std::optional<Fault> fault = m_state.TakeForConnection(m_host);
    Answer answer = Plain(200);
    if (request.method != "CONNECT")
        answer = Plain(405);
    else if (!HasProxyCredentials(request, m_state.GetSettings())) {
        answer = Plain(407);
        answer.SetHeader("Proxy-Authenticate", "Basic realm=\"loopback\"");
    } else if (!SiteOf(m_host) || request.target != request.target.substr(0, m_host.size()) + ":443")
        answer = Plain(502);
    if (fault && fault->stage == Stage::kConnect) {
        if (Act(stream, *fault) == Next::kEnd)
            return 0;
        if (fault->change)
            fault->change(request, answer);
    }
    if (answer.status != 200) {
        answer.SetHeader("Connection", "close");
        m_state.Note(request, answer.status);
        return stream.Write(HeaderText(answer)) && WriteBody(stream, answer) ? answer.status : 0;
    }
    if (!stream.Write("HTTP/1.1 200 Connection established\r\n\r\n"))
        return 0;
    if (fault && fault->stage == Stage::kHandshake) {
        m_certificate = fault->certificate;
        if (Act(stream, *fault) == Next::kEnd)
            return 0;
    }
    return 200;
}

void Connection::TalkTls()
{
    SSL_CTX* shared = m_identity.ContextFor(m_host, m_certificate);
    SSL_CTX_up_ref(shared);
    asio::ssl::context context(shared); // takes the reference over
    asio::ssl::stream<TcpSocket&> layer(m_socket, context);
    boost::system::error_code error;
    layer.handshake(asio::ssl::stream_base::server, error);
    if (error)
        return;
    const char* name = SSL_get_servername(layer.native_handle(), TLSEXT_NAMETYPE_host_name);
    const std::string sni = name ? name : "";
    StreamOf<asio::ssl::stream<TcpSocket&>> stream(layer);
    RequestReader reader(stream);
    while (AnswerOne(stream, reader, sni) == Next::kGoOn) {
    }
}

Connection::Next Connection::AnswerOne(ByteStream& stream, RequestReader& reader, const std::string& sni)
{
    Request request;
    const ReadResult result = reader.Read(request);
    if (result == ReadResult::kEnd)
        return Next::kEnd;
    request.connection = m_number;
    request.host = m_host;
    request.sni = sni;
    m_state.Log(request);
    const std::optional<Fault> fault = m_state.TakeForRequest(m_host, request.path);
    Answer answer;
    if (result == ReadResult::kRequest)
        answer = Serve(request, m_state.GetSettings(), m_tokens);
    else
        answer = Plain(result == ReadResult::kTooLarge ? 413 : 400);
    if (fault && fault->change)
        fault->change(request, answer);
    const bool last = result != ReadResult::kRequest || Lower(request.Header("Connection")) == "close";
    if (last)
        answer.SetHeader("Connection", "close");
    const int status = answer.status;
    const Next next = Send(stream, request, std::move(answer), fault);
    m_state.Finish(request, next == Next::kGoOn ? status : 0);
    return last ? Next::kEnd : next;
}

Connection::Next Connection::Send(ByteStream& stream, const Request& request, Answer answer,
                                  const std::optional<Fault>& fault)
{
    if (request.method == "HEAD")
        answer.body = {};
    if (fault && fault->action != Fault::Action::kAnswer) {
        if (fault->stage == Stage::kWithinBody)
            EnsureBody(answer);
        return SendFaulty(stream, answer, *fault);
    }
    return stream.Write(HeaderText(answer)) && WriteBody(stream, answer) ? Next::kGoOn : Next::kEnd;
}

Connection::Next Connection::SendFaulty(ByteStream& stream, const Answer& answer, const Fault& fault)
{
    const std::string head = HeaderText(answer);
    if (fault.stage == Stage::kWithinBody) {
        const auto act = [&] { return Act(stream, fault) == Next::kGoOn; };
        return stream.Write(head) && WriteBody(stream, answer, act) ? Next::kGoOn : Next::kEnd;
    }
    const std::size_t before = fault.stage == Stage::kWithinHeaders ? head.size() / 2 : 0;
    if (!stream.Write(head.substr(0, before)) || Act(stream, fault) == Next::kEnd)
        return Next::kEnd;
    return stream.Write(head.substr(before)) && WriteBody(stream, answer) ? Next::kGoOn : Next::kEnd;
}

Connection::Next Connection::Act(ByteStream& stream, const Fault& fault)
{
    switch (fault.action) {
    case Fault::Action::kClose:
        stream.Write(fault.raw);
        return Next::kEnd;
    case Fault::Action::kStall:
        return m_state.Stall() ? Next::kGoOn : Next::kEnd;
    case Fault::Action::kDelay:
        return m_state.Wait(fault.delay) ? Next::kGoOn : Next::kEnd;
    default:
        return Next::kGoOn;
    }
}

} // namespace loopback

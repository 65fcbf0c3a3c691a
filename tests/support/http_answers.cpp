// Sends prepared answers over plain sockets. MIT licence.
#include "support/http_answers.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

// Whether head and body are there; a body has the length that the head names.
bool IsWhole(const std::string& request)
{
    const size_t end = request.find("\r\n\r\n");
    if (end == std::string::npos)
        return false;
    const std::string name = "Content-Length:";
    const size_t length = request.find(name);
    const size_t body = length < end ? std::strtoul(request.c_str() + length + name.size(), nullptr, 10) : 0;
    return request.size() >= end + 4 + body;
}

std::string ReadRequest(int connection)
{
    std::string request;
    char block[4096];
    while (!IsWhole(request)) {
        const ssize_t count = recv(connection, block, sizeof(block), 0);
        if (count <= 0)
            break;
        request.append(block, static_cast<size_t>(count));
    }
    return request;
}

void SendAll(int connection, const std::string& bytes)
{
    for (size_t sent = 0; sent < bytes.size();) {
        const ssize_t count = send(connection, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0)
            return;
        sent += static_cast<size_t>(count);
    }
}

} // namespace

HttpAnswers::HttpAnswers(std::vector<std::string> answers)
    : m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)), m_answers(std::move(answers))
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    if (bind(m_listener, reinterpret_cast<sockaddr*>(&address), size) != 0 || listen(m_listener, 8) != 0 ||
        getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size) != 0)
        throw std::runtime_error("no port to listen at");
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { Serve(); });
}

HttpAnswers::~HttpAnswers()
{
    shutdown(m_listener, SHUT_RDWR); // ends a wait for a connection that never came
    if (m_thread.joinable())
        m_thread.join();
    close(m_listener);
}

const std::vector<std::string>& HttpAnswers::Requests()
{
    if (m_thread.joinable())
        m_thread.join();
    return m_requests;
}

std::string HttpAnswers::Make(const std::string& status, const std::string& headers, const std::string& body)
{
    return "HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" + headers + "\r\n" +
           body;
}

void HttpAnswers::Serve()
{
    for (const std::string& answer : m_answers) {
        const int connection = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0)
            return;
        m_requests.push_back(ReadRequest(connection));
        SendAll(connection, answer);
        close(connection);
    }
}

// A plain HTTP server on this machine that sends prepared bytes. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_HTTP_ANSWERS_H
#define QXSPEECH_TESTS_SUPPORT_HTTP_ANSWERS_H

#include <string>
#include <thread>
#include <vector>

// Takes one connection for each answer, reads a request (head and as much body as it names), sends the answer as it
// stands and closes. Made and used on one thread; Requests() waits until all answers are out.
class HttpAnswers
{
public:
    explicit HttpAnswers(std::vector<std::string> answers);
    ~HttpAnswers();
    HttpAnswers(const HttpAnswers&) = delete;
    HttpAnswers& operator=(const HttpAnswers&) = delete;

    int Port() const { return m_port; }
    std::string Url(const std::string& path) const { return "http://127.0.0.1:" + std::to_string(m_port) + path; }
    const std::vector<std::string>& Requests();

    // A whole answer with status line, length and the other header lines given (each with CR LF).
    static std::string Make(const std::string& status, const std::string& headers, const std::string& body);

private:
    void Serve();

    int m_listener;
    int m_port = 0;
    std::vector<std::string> m_answers;
    std::vector<std::string> m_requests; // server thread only, until it has ended
    std::thread m_thread;
};

#endif

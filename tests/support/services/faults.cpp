// Faults as values: a stage, an action, and what is done to the service's own answer. MIT licence.
#include "faults.h"

#include <utility>

#include "audio.h"
#include "backend.h"
#include "httpmessage.h"

namespace loopback
{
namespace
{

using ChangeFunction = std::function<void(const Request&, Answer&)>;

Fault Of(Fault::Action action, Stage stage)
{
    Fault fault;
    fault.action = action;
    fault.stage = stage;
    return fault;
}

void SetContentType(Answer& answer, const std::string& type)
{
    if (type.empty())
        answer.RemoveHeader("Content-Type");
    else
        answer.SetHeader("Content-Type", type);
}

void SetStatus(Answer& answer, int status)
{
    answer.status = status;
    answer.reason = ReasonOf(status);
}

Answer PlainError(int status, ErrorBody body, const std::string& message)
{
    Answer answer;
    SetStatus(answer, status);
    if (body == ErrorBody::kJson) {
        answer.SetHeader("Content-Type", "application/json");
        answer.body.Set("{\"error\":{\"code\":" + std::to_string(status) + ",\"message\":" + JsonText(message) + "}}");
    } else if (body == ErrorBody::kHtml) {
        answer.SetHeader("Content-Type", "text/html; charset=utf-8");
        answer.body.Set("<!DOCTYPE html><html><head><title>" + answer.reason + "</title></head><body><h1>" +
                        answer.reason + "</h1></body></html>");
    }
    return answer;
}

std::string Whole(const Body& body)
{
    std::string text = body.prefix;
    for (std::uint64_t at = 0; at < body.repeat; ++at)
        text += body.unit;
    return text + body.suffix;
}

void DamageAudio(Answer& answer)
{
    static const std::string kMember = "\"audioContent\":";
    std::string text = Whole(answer.body);
    const std::size_t member = text.find(kMember);
    const std::size_t quote = member == std::string::npos ? member : text.find('"', member + kMember.size());
    if (quote != std::string::npos && quote + 40 < text.size())
        text[quote + 40] = '!'; // within the first sample values
    answer.body.Set(text);
}

} // namespace

Fault Fault::Close(Stage stage)
{
    return Of(Action::kClose, stage);
}

Fault Fault::Stall(Stage stage)
{
    return Of(Action::kStall, stage);
}

Fault Fault::Delay(std::chrono::milliseconds delay)
{
    Fault fault = Of(Action::kDelay, Stage::kBeforeHeaders);
    fault.delay = delay;
    return fault;
}

Fault Fault::BadCertificate(Certificate certificate)
{
    Fault fault = Of(Action::kAnswer, Stage::kHandshake);
    fault.certificate = certificate;
    return fault;
}

Fault Fault::ConnectStatus(int status, std::string reason)
{
    Fault fault = Of(Action::kAnswer, Stage::kConnect);
    fault.change = [status, reason = std::move(reason)](const Request&, Answer& answer) {
        SetStatus(answer, status);
        if (!reason.empty())
            answer.reason = reason;
    };
    return fault;
}

Fault Fault::Raw(Stage stage, std::string bytes)
{
    Fault fault = Of(Action::kClose, stage);
    fault.raw = std::move(bytes);
    return fault;
}

Fault Fault::Change(ChangeFunction change)
{
    Fault fault;
    fault.change = std::move(change);
    return fault;
}

Fault Fault::Status(int status, ErrorBody body, std::string message)
{
    return Change([=](const Request& request, Answer& answer) {
        answer =
            body == ErrorBody::kService ? ServiceError(request, status, message) : PlainError(status, body, message);
    });
}

Fault Fault::PollyError(int status, std::string type)
{
    return Change([=](const Request&, Answer& answer) {
        answer = {};
        SetStatus(answer, status);
        answer.SetHeader("Content-Type", "application/json");
        answer.SetHeader("x-amzn-ErrorType", type);
        answer.body.Set("{\"message\":\"Scripted refusal.\"}");
    });
}

Fault Fault::Text(std::string contentType, std::string body, int status)
{
    return Change([=](const Request&, Answer& answer) {
        SetStatus(answer, status);
        SetContentType(answer, contentType);
        answer.body.Set(body);
    });
}

Fault Fault::ContentType(std::string contentType)
{
    return Change([=](const Request&, Answer& answer) { SetContentType(answer, contentType); });
}

Fault Fault::MalformedJson()
{
    return Text("application/json", R"({"error": {"message": "unfinished}, "voices": [,], "audioContent" = 1)");
}

Fault Fault::TruncatedJson()
{
    return Change([](const Request&, Answer& answer) {
        std::string text = Whole(answer.body);
        text.resize(text.size() / 2);
        answer.body.Set(text);
    });
}

Fault Fault::DamagedBase64()
{
    return Change([](const Request&, Answer& answer) { DamageAudio(answer); });
}

Fault Fault::NoReasonPhrase()
{
    return Change([](const Request&, Answer& answer) { answer.reason.clear(); });
}

Fault Fault::LargeBody(std::uint64_t bytes)
{
    return Change([bytes](const Request&, Answer& answer) {
        if (answer.status == 200)
            answer.body = Lengthened(answer.body, bytes);
    });
}

Fault Fault::And(const Fault& other) const
{
    Fault both = *this;
    if (!other.change)
        return both;
    both.change = [mine = change, theirs = other.change](const Request& request, Answer& answer) {
        if (mine)
            mine(request, answer);
        theirs(request, answer);
    };
    return both;
}

Fault Fault::Chunked(bool chunked) const
{
    return And(Change([chunked](const Request&, Answer& answer) { answer.chunked = chunked; }));
}

bool IsOfConnection(const Fault& fault)
{
    return fault.stage == Stage::kConnect || fault.stage == Stage::kHandshake;
}

void FaultQueue::Add(const std::string& host, const std::string& path, int times, const Fault& fault)
{
    if (times != 0)
        m_entries.push_back({Lower(host), path, times, fault});
}

std::optional<Fault> FaultQueue::Take(const std::string& host, const std::string* path)
{
    for (auto entry = m_entries.begin(); entry != m_entries.end(); ++entry) {
        if (IsOfConnection(entry->fault) != (path == nullptr) || (!entry->host.empty() && entry->host != host))
            continue;
        if (path && !entry->path.empty() && entry->path != *path)
            continue;
        const Fault fault = entry->fault;
        if (entry->times > 0 && --entry->times == 0)
            m_entries.erase(entry);
        return fault;
    }
    return std::nullopt;
}

std::optional<Fault> FaultQueue::TakeForConnection(const std::string& host)
{
    return Take(host, nullptr);
}

std::optional<Fault> FaultQueue::TakeForRequest(const std::string& host, const std::string& path)
{
    return Take(host, &path);
}

} // namespace loopback

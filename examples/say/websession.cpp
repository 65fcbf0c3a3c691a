// Sets the library's statics, and takes back what points into the session. MIT licence.
#include "websession.h"

#include <algorithm>

#include "console.h"
#include "core/qxtempfile.h"
#include "exitstatus.h"
#include "proxychoice.h"
#include "speech/ttshandler.h"
#include "webcall.h"

namespace say
{
namespace
{

ProxyChoice ChooseProxy(const Options& options, const AccountValues& account)
{
    if (options.hasProxy)
        return options.proxy;
    ProxyChoice choice;
    const auto stored = account.find("PROXY");
    if (stored != account.end() && !stored->second.empty() && !ParseProxy(stored->second, choice))
        throw Failure{kExitFile, wxString::FromUTF8(options.config.c_str()) +
                                     ": PROXY is system, none or http://[user:password@]host:port"};
    return choice;
}

std::list<wxLongLong> ToList(const RequestTimes& times)
{
    std::list<wxLongLong> list;
    for (const std::int64_t time : times)
        list.push_back(wxLongLong(time));
    return list;
}

} // namespace

WebSession::WebSession(const Options& options)
    : m_account(LoadAccount(options.config)), m_showsWithoutTerminal(options.progress)
{
    SetProxy(ChooseProxy(options, m_account), m_proxy);
    QXTextToSpeech::SetProxySettings(&m_proxy);
    QXTextToSpeech::SetAuthInfo(AuthInfoOf(m_account));
    QXTextToSpeech::SetPrevRequestTime(ToList(LoadRequests()));
}

WebSession::~WebSession()
{
    QXTextToSpeech::SetProxySettings(nullptr);
    QXTextToSpeech::SetAuthInfo(QXTTSAuthInfo());
    if (!m_audioFolder.Path().empty())
        QXSingleton<QXTempFileMan>::DestroyInstance(); // it holds files there
}

void WebSession::Use(wxTextToSpeech& engine)
{
    m_engine = &engine;
    m_engineId = engine.GetEngine();
    engine.GetCurrentHandler()->SetPlayTail(true);
    m_isWeb = NeedsAccount(m_engineId);
    const wxString missing = DescribeMissing(m_engineId, m_account);
    if (!missing.empty())
        throw Failure{kExitUsage, missing};
    const wxString unused = DescribeUnused(m_engineId, m_account);
    if (!unused.empty())
        PrintError("warning: " + unused);
}

wxString WebSession::Route()
{
    m_proxy.LoadSystemProxy();
    wxJSONValue& proxy = m_proxy.GetConfiguration(true);
    const bool isSystems = proxy["proxytype"].AsInt() == static_cast<int>(ProxyChoice::Kind::kSystem);
    if (isSystems ? !proxy["useproxy"].AsBool() : proxy["proxyhost"].AsString().empty())
        return "direct";
    return wxString::Format("%s:%d", proxy["proxyhost"].AsString(), proxy["proxyport"].AsInt());
}

bool WebSession::TestAuthentication()
{
    const wxString stage =
        IsTokenNeeded() ? wxString("getting an access token from ") + m_engineId : "waiting for " + m_engineId;
    const auto call = [this] {
        return m_engine->GetCurrentHandler()->TestAuthentication(QXTextToSpeech::GetAuthInfo());
    };
    return CallOnWorker(call, {[stage] { return stage; }, {}, nullptr, m_showsWithoutTerminal});
}

bool WebSession::GetAllVoices(std::vector<QXTTSVoiceInfo>& voices)
{
    const wxString stage = "waiting for the voice list of " + m_engineId;
    const auto call = [this, &voices] { return m_engine->GetCurrentHandler()->GetAllVoices(voices); };
    return CallOnWorker(call, {[stage] { return stage; }, {}, nullptr, m_showsWithoutTerminal});
}

bool WebSession::Speak(const wxString& text, const OutputTarget* output, tool::TerminalKeys& keys)
{
    if (!output && m_audioFolder.Path().empty()) {
        m_audioFolder.Make();
        QXSingleton<QXTempFileMan>::Get()->SetTempDir(wxString::FromUTF8(m_audioFolder.Path().c_str()));
    }
    const wxTTSHandler* const handler = m_engine->GetCurrentHandler();
    const wxString file = output ? output->SpeechFile() : wxString();
    const RequestTimes before = FromList(handler->GetPrevRequestTime());
    const std::int64_t startMs = NowMs();
    const std::int64_t freeMs = std::max(startMs, NextFreeRequest(before, startMs));
    Waiting waiting;
    waiting.stage = [&] { return SpeakingStage(freeMs, output); };
    // What the engine noted cannot be read while it works.
    waiting.onAbandon = [&] {
        if (IsTokenNeeded() && NowMs() >= freeMs)
            StoreRequests({}, {freeMs});
        m_audioFolder.Remove();
    };
    waiting.keys = &keys;
    waiting.showsWithoutTerminal = m_showsWithoutTerminal;
    const bool done = CallOnWorker([&] { return m_engine->Speak(text, wxTTS_SPEAK_ASYNC, file); }, waiting);
    if (IsTokenNeeded())
        StoreRequests(before, FromList(handler->GetPrevRequestTime()));
    return done;
}

wxString WebSession::SpeakingStage(std::int64_t freeMs, const OutputTarget* output) const
{
    if (NowMs() < freeMs)
        return "waiting for the rate limit: " + m_engineId + " takes 19 requests a minute";
    if (output && output->SpeechBytes() > 0)
        return "receiving the speech from " + m_engineId;
    return "waiting for the synthesis by " + m_engineId;
}

} // namespace say

// The process-wide speech instance, with what all engines share before, during and after its life. MIT licence.
#ifndef QXSPEECH_SPEECH_QXTEXTTOSPEECH_H
#define QXSPEECH_SPEECH_QXTEXTTOSPEECH_H

#include <list>
#include <wx/longlong.h>
#include <wx/string.h>

#include "../common/export.h"
#include "../core/qxsingleton.h"
#include "texttospeech.h"

class QXProxySettings;
class QXSPEECH_API QXTextToSpeech;

// Credentials of the speech services. Plain text, nothing kept on disk.
struct QXTTSAuthInfo {
    wxString awsAccessKey;
    wxString awsSecretKey;
    wxString awsRegion;
    wxString googleApiKey;
    wxString azureKey;
    wxString azureRegion;
};

// One instance for host and library: it is instantiated in this library alone.
extern template class QXSingleton<QXTextToSpeech>;

// The front object with the engines registered. QXSingleton<QXTextToSpeech>::Get() makes and owns the one instance;
// making and destroying it is safe on any thread, but the local engine belongs to the thread that makes it: make it on
// the thread that serves events (in a wxWidgets host the main thread), or local speech to the device never ends for the
// host. A web engine asks nothing of its thread. The statics have no lock and stand without an instance: set them from
// one thread before speech work starts. Destroying the instance keeps the request history for the next one.
class QXSPEECH_API QXTextToSpeech : public QXSingleton<QXTextToSpeech>
{
public:
    // Lives as long as the instance.
    wxTextToSpeech& GetEngine() { return m_engine; }

    // The regions read back percent-encoded, as they go into addresses. Engines read this at each request, so it must
    // not be set during one.
    static const QXTTSAuthInfo& GetAuthInfo() { return m_sAuthInfo; }
    static void SetAuthInfo(const QXTTSAuthInfo& authInfo);

    // Owned by the host, which keeps it alive as long as it is set here; null at first.
    static QXProxySettings* GetProxySettings() { return m_sProxySettings; }
    static void SetProxySettings(QXProxySettings* proxySettings) { m_sProxySettings = proxySettings; }

    // Request times of the rate-limited engine, in ms since the epoch, UTC. The list replaces what is there.
    static void SetPrevRequestTime(const std::list<wxLongLong>& times);
    // Decimal numbers joined by ";". Appends to the list; what is no number is skipped. For one call before the first
    // Get(): later values reach the next instance.
    static void SetPrevRequestTime(const wxString& times);
    // The same text form; "" for no times.
    static wxString GetPrevRequestTime();

    // The host's maker of temporary text files: a path for a prefix. Null at first.
    static void SetTempFileFunction(wxString (*function)(const wxString&)) { m_sTempFileFunc = function; }
    // What the host's function answers; "" without one.
    static wxString CreateTempFile(const wxString& prefix);

private:
    friend class QXSingleton<QXTextToSpeech>;

    QXTextToSpeech();
    ~QXTextToSpeech() override;

    void RegisterEngine(wxTTSHandler* handler);

    wxTextToSpeech m_engine;

    static QXTTSAuthInfo m_sAuthInfo;
    static QXProxySettings* m_sProxySettings; // not owned
    static std::list<wxLongLong> m_sRequestTime;
    static wxString (*m_sTempFileFunc)(const wxString&);
};

#endif

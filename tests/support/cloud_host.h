// A host whose engines meet the loopback services in place of the network. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_CLOUD_HOST_H
#define QXSPEECH_TESTS_SUPPORT_CLOUD_HOST_H

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "core/qxproxysettings.h"
#include "core/qxtempfile.h"
#include "speech/qxtexttospeech.h"
#include "support/log_capture.h"
#include "support/scratch_dir.h"
#include "support/services/services.h"

// Proxy, trust, credentials and the folder of temporary files are this host's as long as it lives.
class CloudHost
{
public:
    explicit CloudHost(const loopback::Options& options = {}) : services(options)
    {
        wxJSONValue& proxy = m_proxy.GetConfiguration(true);
        proxy["proxytype"] = 2;
        proxy["proxyhost"] = "127.0.0.1";
        proxy["proxyport"] = static_cast<int>(services.Port());
        QXTextToSpeech::SetProxySettings(&m_proxy);
        setenv("SSL_CERT_FILE", services.CertificateFile().c_str(), 1);
        QXTempFileMan::Get()->SetTempDir(wxString::FromUTF8(folder.Path()));
        QXTextToSpeech::SetAuthInfo(GoodKeys());
    }
    ~CloudHost()
    {
        QXTextToSpeech::SetAuthInfo(QXTTSAuthInfo());
        QXTempFileMan::DestroyInstance();
        unsetenv("SSL_CERT_FILE");
        QXTextToSpeech::SetProxySettings(nullptr);
    }
    CloudHost(const CloudHost&) = delete;
    CloudHost& operator=(const CloudHost&) = delete;

    QXTTSAuthInfo GoodKeys() const
    {
        const loopback::Credentials good = services.GetCredentials();
        QXTTSAuthInfo info;
        info.awsAccessKey = good.awsAccessKey;
        info.awsSecretKey = good.awsSecretKey;
        info.awsRegion = good.awsRegion;
        info.azureKey = good.azureKey;
        info.azureRegion = good.azureRegion;
        info.googleApiKey = good.googleKey;
        return info;
    }
    wxString Path(const std::string& name) const { return wxString::FromUTF8(folder / name); }

    ScratchDir folder;
    loopback::Services services;

private:
    QXProxySettings m_proxy;
};

inline std::string ReadFileBytes(const wxString& path)
{
    std::ifstream file(path.utf8_string(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void WriteFileBytes(const wxString& path, const std::string& bytes)
{
    std::ofstream(path.utf8_string(), std::ios::binary) << bytes;
}

// Every line of a log, for a look at what must not be there.
inline std::string LogText(const LogCapture& log)
{
    std::string text;
    for (const LogCapture::Record& record : log.records)
        text += record.text.utf8_string() + "\n";
    return text;
}

// The headers that the HTTP library does not add by itself, sorted by name as they go out.
inline loopback::Headers OwnHeaders(const loopback::Request& request)
{
    loopback::Headers own;
    for (const auto& header : request.headers) {
        bool added = false;
        for (const char* name : {"Host", "User-Agent", "Connection", "Content-Length"})
            added = added || header.first == name;
        if (!added)
            own.push_back(header);
    }
    return own;
}

#endif

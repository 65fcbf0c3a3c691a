// One table says which value belongs to which engine. MIT licence.
#include "account.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <wx/tokenzr.h>

#include "exitstatus.h"
#include "textinput.h"

namespace say
{
namespace
{

const char* const kProxyName = "PROXY";
const char* const kSessionToken = "AWS_SESSION_TOKEN"; // known, to say that it is not used

struct Value {
    const char* name;
    const char* engine;
    wxString QXTTSAuthInfo::*field;
    bool isRegion;
};

const Value kValues[] = {
    {"AWS_ACCESS_KEY_ID", "Amazon Polly", &QXTTSAuthInfo::awsAccessKey, false},
    {"AWS_SECRET_ACCESS_KEY", "Amazon Polly", &QXTTSAuthInfo::awsSecretKey, false},
    {"AWS_REGION", "Amazon Polly", &QXTTSAuthInfo::awsRegion, true},
    {"AZURE_SPEECH_KEY", "Microsoft Azure", &QXTTSAuthInfo::azureKey, false},
    {"AZURE_SPEECH_REGION", "Microsoft Azure", &QXTTSAuthInfo::azureRegion, true},
    {"GOOGLE_API_KEY", "Google Cloud", &QXTTSAuthInfo::googleApiKey, false},
};

bool IsKnown(const wxString& name)
{
    for (const Value& value : kValues)
        if (name == value.name)
            return true;
    return name == kProxyName || name == kSessionToken;
}

wxString ValueOf(const AccountValues& values, const wxString& name)
{
    const auto found = values.find(name);
    return found == values.end() ? wxString() : found->second;
}

wxString Trimmed(wxString text)
{
    return text.Trim(true).Trim(false);
}

// A pair of quotes round a value is a habit from shells.
wxString Unquoted(const wxString& value)
{
    const size_t length = value.length();
    const bool isQuoted = length > 1 && (value[0] == '"' || value[0] == '\'') && value[0] == value[length - 1];
    return isQuoted ? value.substr(1, length - 2) : value;
}

bool ParseLine(const wxString& line, AccountValues& values, wxString& reason)
{
    if (line.empty() || line.StartsWith("#"))
        return true;
    const size_t sign = line.find('=');
    if (sign == wxString::npos) {
        reason = "not NAME=VALUE";
        return false;
    }
    const wxString name = Trimmed(line.substr(0, sign));
    if (!IsKnown(name)) {
        // What is no name may be a piece of a secret.
        reason = "no such name; see --help for those that there are";
        return false;
    }
    values[name] = Trimmed(Unquoted(Trimmed(line.substr(sign + 1))));
    return true;
}

void LoadVariable(const char* name, AccountValues& values)
{
    if (const char* const text = std::getenv(name))
        values[name] = Trimmed(wxString::FromUTF8(text));
}

[[noreturn]] void Refuse(const wxString& name, const wxString& reason)
{
    throw Failure{kExitFile, name + ": " + reason};
}

void RefuseIfOthersCanRead(const std::string& path, const wxString& name)
{
    struct stat info = {};
    if (stat(path.c_str(), &info) != 0)
        Refuse(name, wxString::FromUTF8(std::strerror(errno)));
    if ((info.st_mode & 077) != 0)
        Refuse(name, "others can read this file or write to it, and it holds secrets; chmod 600 makes it yours alone");
}

void LoadFile(const std::string& path, AccountValues& values)
{
    wxString name = wxString::FromUTF8(path.c_str());
    if (name.empty())
        name = "the configuration file";
    RefuseIfOthersCanRead(path, name);
    wxString text;
    wxString reason;
    if (!DecodeText(ReadFile(path), text, reason) || !ParseAccount(text, values, reason))
        Refuse(name, reason);
}

} // namespace

bool ParseAccount(const wxString& text, AccountValues& values, wxString& reason)
{
    wxStringTokenizer lines(text, "\n", wxTOKEN_RET_EMPTY_ALL);
    for (int number = 1; lines.HasMoreTokens(); ++number) {
        if (!ParseLine(Trimmed(lines.GetNextToken()), values, reason)) {
            reason = wxString::Format("line %d: ", number) + reason;
            return false;
        }
    }
    return true;
}

AccountValues LoadAccount(const std::string& path)
{
    AccountValues values;
    for (const Value& value : kValues)
        LoadVariable(value.name, values);
    LoadVariable(kSessionToken, values);
    if (!path.empty())
        LoadFile(path, values);
    return values;
}

QXTTSAuthInfo AuthInfoOf(const AccountValues& values)
{
    QXTTSAuthInfo info;
    for (const Value& value : kValues)
        info.*value.field = ValueOf(values, value.name);
    return info;
}

wxString DescribeMissing(const wxString& engineId, const AccountValues& values)
{
    wxString needed;
    wxString missing;
    for (const Value& value : kValues) {
        if (engineId != value.engine)
            continue;
        needed += wxString(needed.empty() ? "" : ", ") + value.name;
        if (ValueOf(values, value.name).empty())
            missing += wxString(missing.empty() ? "" : ", ") + value.name;
    }
    if (missing.empty())
        return wxString();
    const wxString which = missing == needed ? needed : needed + " (missing: " + missing + ")";
    return engineId + " needs " + which + " in the environment or in --config FILE";
}

wxString DescribeUnused(const wxString& engineId, const AccountValues& values)
{
    if (engineId != "Amazon Polly" || ValueOf(values, kSessionToken).empty())
        return wxString();
    return wxString(kSessionToken) + " is set, but not supported: Amazon Polly refuses temporary keys without it";
}

wxString RegionOf(const wxString& engineId, const AccountValues& values)
{
    for (const Value& value : kValues)
        if (value.isRegion && engineId == value.engine)
            return ValueOf(values, value.name);
    return wxString();
}

bool NeedsAccount(const wxString& engineId)
{
    for (const Value& value : kValues)
        if (engineId == value.engine)
            return true;
    return false;
}

} // namespace say

// Voice descriptors and their JSON form. MIT licence.
#include "speech/ttsvoiceinfo.h"

#include "common/logging.h"
#include "json/jsondocument.h"
#include "json/jsonwriter.h"

namespace
{

wxJSONValue ParseText(const wxString& text)
{
    wxJSONDocument document;
    return document.Parse(text);
}

wxString WriteText(const wxJSONValue& value)
{
    wxString text;
    wxJSONWriter(0, 0, 3).Write(value, text);
    return text;
}

} // namespace

struct QXTTSVoiceInfo::Field {
    const wchar_t* key;
    wxString QXTTSVoiceInfo::*text;
};

const QXTTSVoiceInfo::Field QXTTSVoiceInfo::sm_fields[7] = {
    {L"handler_id", &QXTTSVoiceInfo::m_handlerId},
    {L"id", &QXTTSVoiceInfo::m_id},
    {L"name", &QXTTSVoiceInfo::m_name},
    {L"lang_code", &QXTTSVoiceInfo::m_langCode},
    {L"lang_name", &QXTTSVoiceInfo::m_langName},
    {L"gender", &QXTTSVoiceInfo::m_gender},
    {L"engine", &QXTTSVoiceInfo::m_engine},
};

QXTTSVoiceInfo::QXTTSVoiceInfo() = default;
QXTTSVoiceInfo::QXTTSVoiceInfo(const QXTTSVoiceInfo& other) = default;
QXTTSVoiceInfo& QXTTSVoiceInfo::operator=(const QXTTSVoiceInfo& other) = default;
QXTTSVoiceInfo::~QXTTSVoiceInfo() = default;

bool QXTTSVoiceInfo::operator==(const QXTTSVoiceInfo& other) const
{
    if (m_handlerId != other.m_handlerId || m_id != other.m_id || m_name != other.m_name || m_engine != other.m_engine)
        return false;
    const bool isSystemVoice = m_handlerId == wxT("Microsoft SAPI") || m_handlerId == wxT("Speech Synthesis API");
    return isSystemVoice || m_langCode == other.m_langCode;
}

bool QXTTSVoiceInfo::operator!=(const QXTTSVoiceInfo& other) const
{
    return !(*this == other);
}

const wxString& QXTTSVoiceInfo::GetHandlerId() const
{
    return m_handlerId;
}
void QXTTSVoiceInfo::SetHandlerId(const wxString& handlerId)
{
    m_handlerId = handlerId;
}
const wxString& QXTTSVoiceInfo::GetId() const
{
    return m_id;
}
void QXTTSVoiceInfo::SetId(const wxString& id)
{
    m_id = id;
}
const wxString& QXTTSVoiceInfo::GetName() const
{
    return m_name;
}
void QXTTSVoiceInfo::SetName(const wxString& name)
{
    m_name = name;
}
const wxString& QXTTSVoiceInfo::GetLangCode() const
{
    return m_langCode;
}
void QXTTSVoiceInfo::SetLangCode(const wxString& langCode)
{
    m_langCode = langCode;
}
const wxString& QXTTSVoiceInfo::GetLangName() const
{
    return m_langName;
}
void QXTTSVoiceInfo::SetLangName(const wxString& langName)
{
    m_langName = langName;
}
const wxString& QXTTSVoiceInfo::GetGender() const
{
    return m_gender;
}
void QXTTSVoiceInfo::SetGender(const wxString& gender)
{
    m_gender = gender;
}
const wxString& QXTTSVoiceInfo::GetEngine() const
{
    return m_engine;
}
void QXTTSVoiceInfo::SetEngine(const wxString& engine)
{
    m_engine = engine;
}

bool QXTTSVoiceInfo::Serialize(wxJSONValue& value) const
{
    for (const Field& field : sm_fields)
        value[field.key] = this->*field.text;
    return true;
}

bool QXTTSVoiceInfo::Parse(wxJSONValue& value)
{
    for (const Field& field : sm_fields) {
        const wxJSONValue* const member = value.FindMember(field.key); // operator[] would copy a shared body
        if (member != nullptr)
            this->*field.text = member->AsString();
    }
    return true;
}

wxString QXTTSVoiceInfo::GetAsString() const
{
    wxJSONValue value;
    Serialize(value);
    return WriteText(value);
}

bool QXTTSVoiceInfo::ParseFromString(const wxString& text)
{
    wxJSONValue value = ParseText(text);
    if (!value.IsValid()) {
        QX_LOG("QXTTSVoiceInfo: Could not load voice info");
        return false;
    }
    return Parse(value);
}

wxString QXTTSVoiceInfo::GetListAsString(const std::vector<QXTTSVoiceInfo>& voices)
{
    wxJSONValue list;
    for (const QXTTSVoiceInfo& voice : voices) {
        wxJSONValue value;
        voice.Serialize(value);
        list.Append(value);
    }
    return WriteText(list);
}

std::vector<QXTTSVoiceInfo> QXTTSVoiceInfo::ParseListFromString(const wxString& text)
{
    std::vector<QXTTSVoiceInfo> voices;
    wxJSONValue list = ParseText(text);
    if (!list.IsValid()) {
        QX_LOG("QXTTSVoiceInfo: Could not load voices info");
        return voices;
    }
    // Item turns an object with members into an array of one null, hence the size afresh each time.
    for (int index = 0; index < list.Size(); ++index) {
        QXTTSVoiceInfo voice;
        voice.Parse(list.Item(static_cast<unsigned>(index)));
        voices.push_back(voice);
    }
    return voices;
}

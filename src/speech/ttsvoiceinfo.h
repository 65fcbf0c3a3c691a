// Describes one voice of one engine, with a JSON form. MIT licence.
#ifndef QXSPEECH_SPEECH_TTSVOICEINFO_H
#define QXSPEECH_SPEECH_TTSVOICEINFO_H

#include <vector>

#include <wx/clntdata.h>

#include "../common/export.h"
#include "../json/jsonvalue.h"

// Plain data: made, copied and deleted by anyone; a list control that it is attached to takes it over. One thread at a
// time. Every field is empty until set; moving one copies it.
class QXSPEECH_API QXTTSVoiceInfo : public wxClientData
{
public:
    QXTTSVoiceInfo();
    QXTTSVoiceInfo(const QXTTSVoiceInfo& other);
    QXTTSVoiceInfo& operator=(const QXTTSVoiceInfo& other);
    ~QXTTSVoiceInfo() override;

    // Handler, id, name and engine decide; the language code too, unless this object (the left side) is a voice of the
    // system. So the answer may change with the sides.
    bool operator==(const QXTTSVoiceInfo& other) const;
    bool operator!=(const QXTTSVoiceInfo& other) const;

    // Which handler it belongs to, as in wxTTSHandler::GetId.
    const wxString& GetHandlerId() const;
    void SetHandlerId(const wxString& handlerId);
    // The engine's own identifier: what goes into a request.
    const wxString& GetId() const;
    void SetId(const wxString& id);
    // To be shown.
    const wxString& GetName() const;
    void SetName(const wxString& name);
    // In the engine's form.
    const wxString& GetLangCode() const;
    void SetLangCode(const wxString& langCode);
    // In words, from the engines that give one.
    const wxString& GetLangName() const;
    void SetLangName(const wxString& langName);
    // As the engine gives it.
    const wxString& GetGender() const;
    void SetGender(const wxString& gender);
    // The variant, of the services that have several.
    const wxString& GetEngine() const;
    void SetEngine(const wxString& engine);

    // Sets the seven keys on the value, which becomes an object if it is none. True.
    bool Serialize(wxJSONValue& value) const;
    // Takes the keys that are there, as text whatever their type; the other fields stay. True.
    bool Parse(wxJSONValue& value);

    // Compact JSON text, members in no fixed order.
    wxString GetAsString() const;
    // False, a log line and no change if the text is no JSON array or object.
    bool ParseFromString(const wxString& text);

    // An array of voices; "null" if there are none.
    static wxString GetListAsString(const std::vector<QXTTSVoiceInfo>& voices);
    // Empty, with a log line, if the text is no JSON array or object. Text that breaks off gives what was read.
    static std::vector<QXTTSVoiceInfo> ParseListFromString(const wxString& text);

private:
    struct Field;
    static const Field sm_fields[7];

    wxString m_handlerId;
    wxString m_id;
    wxString m_name;
    wxString m_langCode;
    wxString m_langName;
    wxString m_gender;
    wxString m_engine;
};

#endif

// The named settings of an engine: one property, the ordered store of them, the category guard. MIT licence.
#ifndef QXSPEECH_SPEECH_TTSPROPERTIES_H
#define QXSPEECH_SPEECH_TTSPROPERTIES_H

#include <wx/arrstr.h>
#include <wx/list.h>
#include <wx/object.h>
#include <wx/string.h>
#include <wx/variant.h>

#include "../common/export.h"

// One setting: a value and what a host needs to show it in a dialog. The name of the property is the name of its
// variant. Made by a store or by the host; whoever holds it deletes it. No locks: belongs to the thread of its handler.
class QXSPEECH_API wxTTSProperty : public wxObject
{
    wxDECLARE_CLASS(wxTTSProperty);

public:
    // No name, null value, the current category as parent name.
    wxTTSProperty();
    // A string property. Its parent name stays empty, whatever category is current.
    wxTTSProperty(const wxString& name, const wxString& value);
    // The value brings the name along; the current category becomes the parent name.
    wxTTSProperty(const wxString& description, const wxVariant& value, const wxString& editorType,
                  const wxString& groupName);
    wxTTSProperty(const wxTTSProperty& other);
    void operator=(const wxTTSProperty& other);

    // Takes over everything but the category, the name included.
    void Copy(const wxTTSProperty& other);

    // Value and metadata count, choices in their order; neither the name nor the category does.
    bool operator==(const wxTTSProperty& other) const;
    bool operator!=(const wxTTSProperty& other) const { return !(*this == other); }

    const wxString& GetName() const { return m_value.GetName(); }
    void SetName(const wxString& name) { m_value.SetName(name); }

    // Any type gives its string form.
    wxString GetValue() const { return m_value.GetString(); }
    // Makes the value a string and keeps the name.
    void SetValue(const wxString& value) { m_value = value; }
    // Assigns the variant as it is: the property takes on the variant's name too.
    void SetValue(const wxVariant& value) { m_value = value; }
    wxVariant& GetVariant() { return m_value; }
    const wxVariant& GetVariant() const { return m_value; }

    // The translated name, or the name where there is none.
    wxString GetDisplayName() const { return m_translatedName.empty() ? GetName() : m_translatedName; }

    const wxString& GetTranslatedName() const { return m_translatedName; }
    void SetTranslatedName(const wxString& name) { m_translatedName = name; }
    // The host's own text, such as the kind of control for its dialog; the library never reads it.
    const wxString& GetEditorType() const { return m_editorType; }
    void SetEditorType(const wxString& editorType) { m_editorType = editorType; }
    const wxString& GetGroupName() const { return m_groupName; }
    void SetGroupName(const wxString& groupName) { m_groupName = groupName; }
    const wxString& GetParentName() const { return m_parentName; }
    void SetParentName(const wxString& parentName) { m_parentName = parentName; }
    // Allowed values for a choice editor; nothing here enforces them.
    const wxArrayString& GetChoices() const { return m_choices; }
    void SetChoices(const wxArrayString& choices) { m_choices = choices; }
    const wxString& GetDescription() const { return m_description; }
    void SetDescription(const wxString& description) { m_description = description; }
    wxString GetCategory() const { return m_category; }
    void SetCategory(const wxString& category) { m_category = category; }
    // Whether a host lists the property; true at first.
    bool IsShown() const { return m_shown; }
    void Show(bool show) { m_shown = show; }

private:
    wxVariant m_value;
    wxString m_translatedName;
    wxString m_editorType;
    wxString m_groupName;
    wxString m_parentName;
    wxArrayString m_choices;
    wxString m_description;
    wxString m_category;
    bool m_shown = true;
};

// An ordered list of properties, found by name with case. Held by value in its handler, and owns every property in it;
// pointers from the Find and Get calls live until that property is deleted, and see later SetProperty calls. Reading
// never creates: an absent property reads as the empty value of the type asked for. Lookups are linear; a store holds
// about ten entries. No locks: belongs to the thread of its handler.
class QXSPEECH_API wxTTSProperties : public wxObject
{
    wxDECLARE_CLASS(wxTTSProperties);

public:
    wxTTSProperties();
    wxTTSProperties(const wxTTSProperties& other);
    void operator=(const wxTTSProperties& other);
    ~wxTTSProperties() override;

    void Clear();
    // Appends copies without clearing first: properties of a name already here keep their value, take over the other
    // store's metadata and move to the end.
    void Copy(const wxTTSProperties& other);
    // Same count, and equal properties position by position.
    bool operator==(const wxTTSProperties& other) const;

    // Takes the property over and returns it. It goes behind the property named insertAfter, or to the end where that
    // is empty, unknown or last. A property that already has this name is deleted and leaves its value to the new one.
    wxTTSProperty* AddProperty(wxTTSProperty* property, const wxString& insertAfter = wxString());
    // The three delete calls do nothing for an absent name, a null pointer or an index past the end.
    void DeleteProperty(const wxString& name);
    void DeleteProperty(wxTTSProperty* property);
    void DeleteProperty(size_t index);
    // Ownership passes to the caller.
    void RemoveProperty(wxTTSProperty* property);

    // Not owned by the caller; null where nothing is found.
    wxTTSProperty* FindProperty(const wxString& name) const;
    wxTTSProperty* FindPropertyByDisplayName(const wxString& displayName) const;
    // Appends an empty string property where the name is absent; never null.
    wxTTSProperty* FindOrCreateProperty(const wxString& name);

    // An absent property reads as a string "" without a name, "", 0, 0.0 or false. A value of another type is converted
    // by wxVariant.
    wxVariant FindPropertyValue(const wxString& name) const;
    wxString FindPropertyValueString(const wxString& name) const;
    long FindPropertyValueLong(const wxString& name) const;
    double FindPropertyValueDouble(const wxString& name) const;
    bool FindPropertyValueBool(const wxString& name) const;

    // Null at or past the end; a negative index is not allowed.
    wxTTSProperty* GetNth(int index) const;
    wxTTSProperty* GetProperty(int index) const { return GetNth(index); }
    size_t GetCount() const { return m_properties.GetCount(); }
    const wxList& GetList() const { return m_properties; }

    // Each finds or appends the property and assigns the value, whose type becomes the property's.
    void SetProperty(const wxString& name, const wxString& value);
    // Variant assignment takes the name along: a variant with another name renames the property.
    void SetProperty(const wxString& name, const wxVariant& value);
    void SetProperty(const wxString& name, long value);
    void SetProperty(const wxString& name, int value) { SetProperty(name, static_cast<long>(value)); }
    void SetProperty(const wxString& name, double value);
    void SetProperty(const wxString& name, bool value);
    // A literal is text; without these it would be taken for a bool.
    void SetProperty(const wxString& name, const char* value) { SetProperty(name, wxString::FromUTF8(value)); }
    void SetProperty(const wxString& name, const wchar_t* value) { SetProperty(name, wxString(value)); }
    void SetProperty(const wxTTSProperty& property);

private:
    wxList m_properties; // of wxTTSProperty, owned; the list itself never deletes but inside Clear
};

// While one lives, its name is the category that new properties get as parent name; nested ones restore the outer name.
// Made on the stack by whoever fills a store. The current category is process-wide and has no lock.
class QXSPEECH_API wxTTSPropertyCategory
{
public:
    wxTTSPropertyCategory(const wxString& name = wxString());
    wxTTSPropertyCategory(const wxTTSPropertyCategory& other) = default;
    wxTTSPropertyCategory& operator=(const wxTTSPropertyCategory& other) = default;
    ~wxTTSPropertyCategory();

    // The unscoped pair; EndCategory empties the category and restores no outer one.
    static void BeginCategory(const wxString& name) { sm_category = name; }
    static void EndCategory() { sm_category.clear(); }

    static wxString sm_category;

private:
    wxString m_oldCategory;
};

#endif

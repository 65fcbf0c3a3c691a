// Property, store and category guard. MIT licence.
#include "speech/ttsproperties.h"

wxIMPLEMENT_CLASS(wxTTSProperty, wxObject);
wxIMPLEMENT_CLASS(wxTTSProperties, wxObject);

wxString wxTTSPropertyCategory::sm_category;

wxTTSProperty::wxTTSProperty() : m_parentName(wxTTSPropertyCategory::sm_category) {}

wxTTSProperty::wxTTSProperty(const wxString& name, const wxString& value) : m_value(value, name) {}

wxTTSProperty::wxTTSProperty(const wxString& description, const wxVariant& value, const wxString& editorType,
                             const wxString& groupName)
    : m_value(value), m_editorType(editorType), m_groupName(groupName),
      m_parentName(wxTTSPropertyCategory::sm_category), m_description(description)
{
}

wxTTSProperty::wxTTSProperty(const wxTTSProperty& other) : wxObject()
{
    Copy(other);
}

void wxTTSProperty::operator=(const wxTTSProperty& other)
{
    Copy(other);
}

void wxTTSProperty::Copy(const wxTTSProperty& other)
{
    m_value = other.m_value;
    m_groupName = other.m_groupName;
    m_editorType = other.m_editorType;
    m_description = other.m_description;
    m_choices = other.m_choices;
    m_shown = other.m_shown;
    m_parentName = other.m_parentName;
    m_translatedName = other.m_translatedName;
}

bool wxTTSProperty::operator==(const wxTTSProperty& other) const
{
    return m_value == other.m_value && m_groupName == other.m_groupName && m_parentName == other.m_parentName &&
           m_editorType == other.m_editorType && m_description == other.m_description && m_shown == other.m_shown &&
           m_translatedName == other.m_translatedName && m_choices == other.m_choices;
}

wxTTSProperties::wxTTSProperties() {}

wxTTSProperties::wxTTSProperties(const wxTTSProperties& other) : wxObject()
{
    Copy(other);
}

void wxTTSProperties::operator=(const wxTTSProperties& other)
{
    if (this == &other)
        return;
    Clear();
    Copy(other);
}

wxTTSProperties::~wxTTSProperties()
{
    Clear();
}

void wxTTSProperties::Clear()
{
    m_properties.DeleteContents(true);
    m_properties.Clear();
    m_properties.DeleteContents(false);
}

void wxTTSProperties::Copy(const wxTTSProperties& other)
{
    if (this == &other)
        return;
    for (wxList::compatibility_iterator node = other.m_properties.GetFirst(); node; node = node->GetNext())
        AddProperty(new wxTTSProperty(*static_cast<const wxTTSProperty*>(node->GetData())), wxString());
}

bool wxTTSProperties::operator==(const wxTTSProperties& other) const
{
    if (GetCount() != other.GetCount())
        return false;
    wxList::compatibility_iterator mine = m_properties.GetFirst();
    wxList::compatibility_iterator theirs = other.m_properties.GetFirst();
    for (; mine; mine = mine->GetNext(), theirs = theirs->GetNext()) {
        if (*static_cast<const wxTTSProperty*>(mine->GetData()) !=
            *static_cast<const wxTTSProperty*>(theirs->GetData()))
            return false;
    }
    return true;
}

wxTTSProperty* wxTTSProperties::AddProperty(wxTTSProperty* property, const wxString& insertAfter)
{
    wxTTSProperty* const old = FindProperty(property->GetName());
    if (old)
        m_properties.DeleteObject(old);

    wxTTSProperty* const before = insertAfter.empty() ? nullptr : FindProperty(insertAfter);
    wxList::compatibility_iterator node = before ? m_properties.Find(before)->GetNext() : nullptr;
    if (node)
        m_properties.Insert(node, property);
    else
        m_properties.Append(property);

    if (old && old != property) {
        property->SetValue(old->GetVariant());
        delete old;
    }
    return property;
}

void wxTTSProperties::DeleteProperty(const wxString& name)
{
    DeleteProperty(FindProperty(name));
}

void wxTTSProperties::DeleteProperty(wxTTSProperty* property)
{
    if (!property)
        return;
    m_properties.DeleteObject(property);
    delete property;
}

void wxTTSProperties::DeleteProperty(size_t index)
{
    if (index < GetCount())
        DeleteProperty(GetNth(static_cast<int>(index)));
}

void wxTTSProperties::RemoveProperty(wxTTSProperty* property)
{
    m_properties.DeleteObject(property);
}

wxTTSProperty* wxTTSProperties::FindProperty(const wxString& name) const
{
    for (wxList::compatibility_iterator node = m_properties.GetFirst(); node; node = node->GetNext()) {
        wxTTSProperty* const property = static_cast<wxTTSProperty*>(node->GetData());
        if (property->GetName() == name)
            return property;
    }
    return nullptr;
}

wxTTSProperty* wxTTSProperties::FindPropertyByDisplayName(const wxString& displayName) const
{
    for (wxList::compatibility_iterator node = m_properties.GetFirst(); node; node = node->GetNext()) {
        wxTTSProperty* const property = static_cast<wxTTSProperty*>(node->GetData());
        if (property->GetDisplayName() == displayName)
            return property;
    }
    return nullptr;
}

wxTTSProperty* wxTTSProperties::FindOrCreateProperty(const wxString& name)
{
    wxTTSProperty* property = FindProperty(name);
    if (!property) {
        property = new wxTTSProperty(name, wxString());
        m_properties.Append(property);
    }
    return property;
}

wxVariant wxTTSProperties::FindPropertyValue(const wxString& name) const
{
    const wxTTSProperty* const property = FindProperty(name);
    return property ? property->GetVariant() : wxVariant(wxString());
}

wxString wxTTSProperties::FindPropertyValueString(const wxString& name) const
{
    const wxTTSProperty* const property = FindProperty(name);
    return property ? property->GetVariant().GetString() : wxString();
}

long wxTTSProperties::FindPropertyValueLong(const wxString& name) const
{
    const wxTTSProperty* const property = FindProperty(name);
    return property ? property->GetVariant().GetLong() : 0;
}

double wxTTSProperties::FindPropertyValueDouble(const wxString& name) const
{
    const wxTTSProperty* const property = FindProperty(name);
    return property ? property->GetVariant().GetDouble() : 0.0;
}

bool wxTTSProperties::FindPropertyValueBool(const wxString& name) const
{
    const wxTTSProperty* const property = FindProperty(name);
    return property && property->GetVariant().GetBool();
}

wxTTSProperty* wxTTSProperties::GetNth(int index) const
{
    const size_t position = static_cast<size_t>(index);
    return position < GetCount() ? static_cast<wxTTSProperty*>(m_properties.Item(position)->GetData()) : nullptr;
}

void wxTTSProperties::SetProperty(const wxString& name, const wxString& value)
{
    FindOrCreateProperty(name)->GetVariant() = value;
}

void wxTTSProperties::SetProperty(const wxString& name, const wxVariant& value)
{
    FindOrCreateProperty(name)->GetVariant() = value;
}

void wxTTSProperties::SetProperty(const wxString& name, long value)
{
    FindOrCreateProperty(name)->GetVariant() = value;
}

void wxTTSProperties::SetProperty(const wxString& name, double value)
{
    FindOrCreateProperty(name)->GetVariant() = value;
}

void wxTTSProperties::SetProperty(const wxString& name, bool value)
{
    FindOrCreateProperty(name)->GetVariant() = value;
}

void wxTTSProperties::SetProperty(const wxTTSProperty& property)
{
    FindOrCreateProperty(property.GetName())->Copy(property);
}

wxTTSPropertyCategory::wxTTSPropertyCategory(const wxString& name) : m_oldCategory(sm_category)
{
    sm_category = name;
}

wxTTSPropertyCategory::~wxTTSPropertyCategory()
{
    sm_category = m_oldCategory;
}

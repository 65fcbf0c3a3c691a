// Sharing, copying on write and deletion of JSON values. MIT licence.
#include "json/jsonvalue.h"

#include <charconv>
#include <limits>
#include <utility>

namespace
{

const wxChar* const kTypeNames[] = {wxT("wxJSONTYPE_INVALID"), wxT("wxJSONTYPE_NULL"),      wxT("wxJSONTYPE_INT"),
                                    wxT("wxJSONTYPE_UINT"),    wxT("wxJSONTYPE_DOUBLE"),    wxT("wxJSONTYPE_STRING"),
                                    wxT("wxJSONTYPE_CSTRING"), wxT("wxJSONTYPE_BOOL"),      wxT("wxJSONTYPE_ARRAY"),
                                    wxT("wxJSONTYPE_OBJECT"),  wxT("wxJSONTYPE_LONG"),      wxT("wxJSONTYPE_INT64"),
                                    wxT("wxJSONTYPE_ULONG"),   wxT("wxJSONTYPE_UINT64"),    wxT("wxJSONTYPE_SHORT"),
                                    wxT("wxJSONTYPE_USHORT"),  wxT("wxJSONTYPE_MEMORYBUFF")};

wxJSONType KnownType(wxJSONType type)
{
    return static_cast<unsigned>(type) > wxJSONTYPE_MEMORYBUFF ? wxJSONTYPE_INVALID : type;
}

wxJSONType StoredType(wxJSONType type)
{
    switch (type) {
    case wxJSONTYPE_LONG:
    case wxJSONTYPE_INT64:
    case wxJSONTYPE_SHORT:
        return wxJSONTYPE_INT;
    case wxJSONTYPE_ULONG:
    case wxJSONTYPE_UINT64:
    case wxJSONTYPE_USHORT:
        return wxJSONTYPE_UINT;
    case wxJSONTYPE_CSTRING:
        return wxJSONTYPE_STRING;
    default:
        return type;
    }
}

template <class T>
bool Fits(std::int64_t number)
{
    return number >= std::numeric_limits<T>::min() && number <= std::numeric_limits<T>::max();
}

wxJSONType NarrowestSigned(std::int64_t number)
{
    if (Fits<std::int16_t>(number))
        return wxJSONTYPE_SHORT;
    return Fits<std::int32_t>(number) ? wxJSONTYPE_LONG : wxJSONTYPE_INT64;
}

wxJSONType NarrowestUnsigned(std::uint64_t number)
{
    if (number <= std::numeric_limits<std::uint16_t>::max())
        return wxJSONTYPE_USHORT;
    return number <= std::numeric_limits<std::uint32_t>::max() ? wxJSONTYPE_ULONG : wxJSONTYPE_UINT64;
}

// Digits that no locale changes; format is as for std::to_chars.
template <class... Number>
wxString Digits(Number... number)
{
    char buffer[32];
    const std::to_chars_result end = std::to_chars(buffer, buffer + sizeof(buffer), number...);
    return wxString::FromAscii(buffer, static_cast<size_t>(end.ptr - buffer));
}

wxString InBrackets(const wxChar* open, size_t count, const wxChar* close)
{
    return open + Digits(count) + close;
}

bool HoldsNul(const wxString& key)
{
    return key.find(wxUniChar(0)) != wxString::npos;
}

} // namespace

size_t wxJSONRefData::HashOf(const wxString& key) noexcept
{
    size_t hash = 0;
    for (const wxUniChar ch : key)
        hash = hash * 0x9E3779B1U + ch.GetValue() + 1;
    return hash ^ hash >> 15;
}

wxJSONValue* wxJSONRefData::FindMember(const wxString& key)
{
    if (m_oddMembers && HoldsNul(key)) {
        const auto odd = m_oddMembers->find(key);
        if (odd != m_oddMembers->end())
            return &odd->second;
    }
    const auto found = m_valMap.find(key);
    return found == m_valMap.end() ? nullptr : &found->second;
}

std::pair<wxJSONValue*, bool> wxJSONRefData::AddMember(const wxString& key, wxJSONType typeIfNew)
{
    if (!HoldsNul(key)) {
        const auto [member, isNew] = m_valMap.try_emplace(key, typeIfNew);
        return {&member->second, isNew};
    }
    wxJSONValue* const known = FindMember(key);
    if (known != nullptr)
        return {known, false};
    if (!m_oddMembers)
        m_oddMembers = std::make_unique<OddMembers>();
    return {&m_oddMembers->try_emplace(key, typeIfNew).first->second, true};
}

void wxJSONRefData::ClearMembers()
{
    m_valMap.clear();
    m_oddMembers.reset();
}

wxJSONRefData::wxJSONRefData() : m_refCount(1), m_type(wxJSONTYPE_INVALID), m_value{} {}

wxJSONRefData::~wxJSONRefData() = default;

wxJSONValue::wxJSONValue() : wxJSONValue(wxJSONTYPE_NULL) {}

wxJSONValue::wxJSONValue(wxJSONType type) : m_refData(new wxJSONRefData)
{
    m_refData->m_type = StoredType(KnownType(type));
}

wxJSONValue::wxJSONValue(const wxJSONValue& other) : m_refData(other.m_refData)
{
    if (m_refData != nullptr)
        ++m_refData->m_refCount;
}

wxJSONValue::wxJSONValue(wxJSONValue&& other) noexcept : m_refData(other.m_refData)
{
    other.m_refData = nullptr;
}

wxJSONValue::~wxJSONValue()
{
    Release(m_refData);
}

// The child's share goes. A body without children is deleted with its last share; one that has any is returned, for the
// caller to take down.
wxJSONRefData* wxJSONValue::ReleaseChild(wxJSONValue& child) noexcept
{
    wxJSONRefData* const body = child.m_refData;
    child.m_refData = nullptr;
    if (body == nullptr || --body->m_refCount > 0)
        return nullptr;
    if (!body->m_valArray.empty() || body->MemberCount() > 0)
        return body;
    delete body;
    return nullptr;
}

// Takes a tree down in a loop, so that its depth costs no stack: the bodies that wait are chained through their numeric
// field, which nobody reads any more, and each has no children left when it is deleted. Arrays go from the back, an
// element with all that is below it at a time, while its memory is at hand.
void wxJSONValue::Release(wxJSONRefData* body) noexcept
{
    if (body == nullptr || --body->m_refCount > 0)
        return;
    body->m_value.m_nextDying = nullptr;
    for (wxJSONRefData* dying = body; dying != nullptr;) {
        wxJSONRefData* const current = dying;
        wxJSONRefData* child = nullptr;
        for (std::vector<wxJSONValue>& elements = current->m_valArray; child == nullptr && !elements.empty();) {
            child = ReleaseChild(elements.back());
            elements.pop_back();
        }
        if (child != nullptr) {
            child->m_value.m_nextDying = current;
            dying = child;
            continue;
        }
        dying = current->m_value.m_nextDying;
        const auto release = [&](auto& members) {
            for (auto& member : members) {
                child = ReleaseChild(member.second);
                if (child != nullptr) {
                    child->m_value.m_nextDying = dying;
                    dying = child;
                }
            }
        };
        release(current->m_valMap);
        if (current->m_oddMembers)
            release(*current->m_oddMembers);
        delete current;
    }
}

wxJSONRefData* wxJSONValue::CreateRefData() const
{
    return new wxJSONRefData;
}

wxJSONRefData* wxJSONValue::CloneRefData(const wxJSONRefData* other) const
{
    wxJSONRefData* const body = new wxJSONRefData;
    body->m_type = other->m_type;
    body->m_value = other->m_value;
    body->m_valString = other->m_valString;
    body->m_valArray = other->m_valArray;
    body->m_valMap = other->m_valMap;
    if (other->m_oddMembers)
        body->m_oddMembers = std::make_unique<wxJSONRefData::OddMembers>(*other->m_oddMembers);
    return body;
}

// Before each change: afterwards no other value sees this one's body.
wxJSONRefData* wxJSONValue::MakeOwn()
{
    if (m_refData == nullptr) {
        m_refData = CreateRefData();
    } else if (m_refData->m_refCount > 1) {
        wxJSONRefData* const own = CloneRefData(m_refData);
        --m_refData->m_refCount;
        m_refData = own;
    }
    return m_refData;
}

wxJSONValue& wxJSONValue::operator=(const wxJSONValue& other)
{
    if (this == &other)
        return *this;
    wxJSONRefData* const old = m_refData;
    m_refData = other.m_refData;
    if (m_refData != nullptr)
        ++m_refData->m_refCount;
    Release(old); // last: the other may be a member of what goes
    return *this;
}

wxJSONValue& wxJSONValue::operator=(const wxString& value)
{
    SetType(wxJSONTYPE_STRING)->m_valString = value;
    return *this;
}

wxJSONValue& wxJSONValue::operator=(const char* value)
{
    return *this = value != nullptr ? wxString::FromUTF8(value) : wxString();
}

wxJSONValue& wxJSONValue::operator=(const wchar_t* value)
{
    return *this = value != nullptr ? wxString(value) : wxString();
}

wxJSONValue& wxJSONValue::operator=(int value)
{
    return *this = static_cast<long long>(value);
}

wxJSONValue& wxJSONValue::operator=(long long value)
{
    SetType(wxJSONTYPE_INT)->m_value.m_valInt64 = value;
    return *this;
}

wxJSONValue& wxJSONValue::operator=(unsigned value)
{
    return *this = static_cast<unsigned long long>(value);
}

wxJSONValue& wxJSONValue::operator=(unsigned long long value)
{
    SetType(wxJSONTYPE_UINT)->m_value.m_valUInt64 = value;
    return *this;
}

wxJSONValue& wxJSONValue::operator=(double value)
{
    SetType(wxJSONTYPE_DOUBLE)->m_value.m_valDouble = value;
    return *this;
}

wxJSONValue& wxJSONValue::operator=(bool value)
{
    wxJSONRefData* const body = SetType(wxJSONTYPE_BOOL);
    body->m_value.m_valUInt64 = value ? 1 : 0; // all 64 bits, so that AsInt reads 0 or 1
    return *this;
}

wxJSONValue& wxJSONValue::operator[](const wxString& key)
{
    return *SetType(wxJSONTYPE_OBJECT)->AddMember(key, wxJSONTYPE_NULL).first;
}

wxJSONValue& wxJSONValue::operator[](unsigned index)
{
    return Item(index);
}

wxJSONValue& wxJSONValue::Item(unsigned index)
{
    std::vector<wxJSONValue>& elements = SetType(wxJSONTYPE_ARRAY)->m_valArray;
    if (index >= elements.size())
        elements.resize(static_cast<size_t>(index) + 1);
    return elements[index];
}

wxJSONValue wxJSONValue::ItemAt(unsigned index) const
{
    if (!IsArray() || index >= m_refData->m_valArray.size())
        return wxJSONValue(wxJSONTYPE_INVALID);
    return m_refData->m_valArray[index];
}

wxJSONValue& wxJSONValue::Append(const wxJSONValue& value)
{
    wxJSONValue share(value); // the value may be this one or a member of it
    std::vector<wxJSONValue>& elements = SetType(wxJSONTYPE_ARRAY)->m_valArray;
    elements.push_back(std::move(share));
    return elements.back();
}

template <class T>
wxJSONValue& wxJSONValue::AppendAs(const T& value)
{
    wxJSONValue element;
    element = value;
    return Append(element);
}

wxJSONValue& wxJSONValue::Append(const wxString& value)
{
    return AppendAs(value);
}
wxJSONValue& wxJSONValue::Append(const char* value)
{
    return AppendAs(value);
}
wxJSONValue& wxJSONValue::Append(const wchar_t* value)
{
    return AppendAs(value);
}
wxJSONValue& wxJSONValue::Append(int value)
{
    return AppendAs(value);
}
wxJSONValue& wxJSONValue::Append(long long value)
{
    return AppendAs(value);
}
wxJSONValue& wxJSONValue::Append(unsigned value)
{
    return AppendAs(value);
}
wxJSONValue& wxJSONValue::Append(unsigned long long value)
{
    return AppendAs(value);
}
wxJSONValue& wxJSONValue::Append(double value)
{
    return AppendAs(value);
}
wxJSONValue& wxJSONValue::Append(bool value)
{
    return AppendAs(value);
}

bool wxJSONValue::HasMember(const wxString& key) const
{
    return FindMember(key) != nullptr;
}

const wxJSONValue* wxJSONValue::FindMember(const wxString& key) const
{
    return IsObject() ? m_refData->FindMember(key) : nullptr;
}

int wxJSONValue::Size() const
{
    if (IsArray())
        return static_cast<int>(m_refData->m_valArray.size());
    return IsObject() ? static_cast<int>(m_refData->MemberCount()) : -1;
}

wxJSONType wxJSONValue::GetType() const
{
    if (m_refData == nullptr)
        return wxJSONTYPE_INVALID;
    if (m_refData->m_type == wxJSONTYPE_INT)
        return NarrowestSigned(m_refData->m_value.m_valInt64);
    if (m_refData->m_type == wxJSONTYPE_UINT)
        return NarrowestUnsigned(m_refData->m_value.m_valUInt64);
    return m_refData->m_type;
}

bool wxJSONValue::IsValid() const
{
    return GetType() != wxJSONTYPE_INVALID;
}
bool wxJSONValue::IsNull() const
{
    return GetType() == wxJSONTYPE_NULL;
}
bool wxJSONValue::IsArray() const
{
    return GetType() == wxJSONTYPE_ARRAY;
}
bool wxJSONValue::IsObject() const
{
    return GetType() == wxJSONTYPE_OBJECT;
}
bool wxJSONValue::IsString() const
{
    return GetType() == wxJSONTYPE_STRING;
}

bool wxJSONValue::AsBool() const
{
    return m_refData != nullptr && m_refData->m_value.m_valUInt64 != 0;
}

int wxJSONValue::AsInt() const
{
    return m_refData != nullptr ? static_cast<int>(m_refData->m_value.m_valInt64) : 0;
}

wxString wxJSONValue::AsString() const
{
    if (m_refData == nullptr)
        return wxT("<invalid>");
    const wxJSONRefData& body = *m_refData;
    switch (body.m_type) {
    case wxJSONTYPE_INVALID:
        return wxT("<invalid>");
    case wxJSONTYPE_NULL:
        return wxT("null");
    case wxJSONTYPE_INT:
        return Digits(body.m_value.m_valInt64);
    case wxJSONTYPE_UINT:
        return Digits(body.m_value.m_valUInt64);
    case wxJSONTYPE_DOUBLE:
        return Digits(body.m_value.m_valDouble, std::chars_format::general, 10);
    case wxJSONTYPE_STRING:
        return body.m_valString;
    case wxJSONTYPE_BOOL:
        return body.m_value.m_valUInt64 != 0 ? wxT("true") : wxT("false");
    case wxJSONTYPE_ARRAY:
        return InBrackets(wxT("["), body.m_valArray.size(), wxT("]"));
    case wxJSONTYPE_OBJECT:
        return InBrackets(wxT("{"), body.MemberCount(), wxT("}"));
    default:
        return wxString(wxT("wxJSONValue::AsString(): Unknown JSON type '")) + kTypeNames[body.m_type] + wxT("'");
    }
}

const wxJSONMap* wxJSONValue::AsMap() const
{
    if (!IsObject())
        return nullptr;
    if (m_refData->m_oddMembers) {
        m_refData->m_valMap.merge(*m_refData->m_oddMembers);
        m_refData->m_oddMembers.reset();
    }
    return &m_refData->m_valMap;
}

wxJSONRefData* wxJSONValue::SetType(wxJSONType type)
{
    const wxJSONType wanted = KnownType(type);
    wxJSONRefData* const body = MakeOwn();
    if (GetType() == wanted)
        return body;
    const wxJSONType old = body->m_type;
    body->m_type = StoredType(wanted);
    if (old == wxJSONTYPE_STRING)
        body->m_valString.clear();
    else if (old == wxJSONTYPE_ARRAY)
        body->m_valArray.clear();
    else if (old == wxJSONTYPE_OBJECT)
        body->ClearMembers();
    return body;
}

void wxJSONValue::Clear()
{
    Release(m_refData);
    m_refData = nullptr;
    SetType(wxJSONTYPE_INVALID);
}

// The reference-counted JSON value that all JSON text is read into and written from. MIT licence.
#ifndef QXSPEECH_JSON_JSONVALUE_H
#define QXSPEECH_JSON_JSONVALUE_H

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include <wx/hashmap.h>
#include <wx/string.h>

#include "../common/export.h"

class wxJSONRefData;
class wxJSONValue;

// The type of a value. The ones said to be reported are answers of GetType for a number of that range; a body holds
// INT or UINT for them.
enum wxJSONType {
    wxJSONTYPE_INVALID = 0,
    wxJSONTYPE_NULL = 1,
    wxJSONTYPE_INT = 2,
    wxJSONTYPE_UINT = 3,
    wxJSONTYPE_DOUBLE = 4,
    wxJSONTYPE_STRING = 5,
    wxJSONTYPE_CSTRING = 6, // only asked for; a body holds STRING
    wxJSONTYPE_BOOL = 7,
    wxJSONTYPE_ARRAY = 8,
    wxJSONTYPE_OBJECT = 9,
    wxJSONTYPE_LONG = 10,   // reported: INT of 32 bits, not of 16
    wxJSONTYPE_INT64 = 11,  // reported: INT of more than 32 bits
    wxJSONTYPE_ULONG = 12,  // reported: UINT of 65536 to 4294967295
    wxJSONTYPE_UINT64 = 13, // reported: larger UINT
    wxJSONTYPE_SHORT = 14,  // reported: INT of -32768 to 32767
    wxJSONTYPE_USHORT = 15, // reported: UINT below 65536
    wxJSONTYPE_MEMORYBUFF = 16
};

typedef std::unordered_map<wxString, wxJSONValue, wxStringHash, wxStringEqual> wxJSONMap;

// Null, a number, a string, a boolean, an array or an object. Made and deleted by anyone, also on the stack; a copy
// shares the body until one of the two is changed. Counts are not atomic: a value and all its copies belong to one
// thread at a time. Nothing raises an error: what a value of another type is asked for answers as told at each call.
//
// Depth is bounded by memory only: copying, changing and deleting never recurse. A value must not be assigned into its
// own members by reference (v[0] = v); assign a copy of it.
class QXSPEECH_API wxJSONValue
{
public:
    wxJSONValue();
    explicit wxJSONValue(wxJSONType type);
    wxJSONValue(const wxJSONValue& other);
    wxJSONValue(wxJSONValue&& other) noexcept;
    virtual ~wxJSONValue();

    wxJSONValue& operator=(const wxJSONValue& other);
    wxJSONValue& operator=(const wxString& value);
    wxJSONValue& operator=(const char* value); // UTF-8
    wxJSONValue& operator=(const wchar_t* value);
    wxJSONValue& operator=(int value);
    wxJSONValue& operator=(long long value);
    wxJSONValue& operator=(unsigned value);
    wxJSONValue& operator=(unsigned long long value);
    wxJSONValue& operator=(double value);
    wxJSONValue& operator=(bool value);

    // These turn the value into an object or array if it is none, dropping what it held, and create what is absent as
    // null. The reference lives until the value is next changed or deleted.
    wxJSONValue& operator[](const wxString& key);
    wxJSONValue& operator[](unsigned index);
    wxJSONValue& Item(unsigned index);

    // A copy of the element, or an invalid value if this is no array or the index is at or past the end.
    wxJSONValue ItemAt(unsigned index) const;

    // Each turns the value into an array if it is none, and returns the new element.
    wxJSONValue& Append(const wxJSONValue& value);
    wxJSONValue& Append(const wxString& value);
    wxJSONValue& Append(const char* value); // UTF-8
    wxJSONValue& Append(const wchar_t* value);
    wxJSONValue& Append(int value);
    wxJSONValue& Append(long long value);
    wxJSONValue& Append(unsigned value);
    wxJSONValue& Append(unsigned long long value);
    wxJSONValue& Append(double value);
    wxJSONValue& Append(bool value);

    bool HasMember(const wxString& key) const;
    // Null if this is no object or has no such member. Owned by the value; lives until it is next changed or deleted.
    const wxJSONValue* FindMember(const wxString& key) const;
    int Size() const; // of an array or object, otherwise -1

    // INT and UINT are reported as the narrowest type that holds the number.
    wxJSONType GetType() const;
    bool IsValid() const;
    bool IsNull() const;
    bool IsArray() const;
    bool IsObject() const;
    bool IsString() const;

    // Of a boolean or a whole number: whether it is not 0, and its low 32 bits. No other type is converted; what comes
    // then means nothing (the bits of a double, or those of a number that the value held before), so ask GetType first.
    bool AsBool() const;
    int AsInt() const;
    // Text for any type: the string itself, digits, "true", "null", "[3]" for an array of three.
    wxString AsString() const;
    // Null if this is no object. Owned by the value; lives until it is next changed or deleted. Costs time by the
    // square of the number of keys that hold a NUL, since the map's hash ends there; no other call does.
    const wxJSONMap* AsMap() const;

    // Empties what the old type held, except a number. The body returned is owned by the value.
    wxJSONRefData* SetType(wxJSONType type);
    void Clear();

protected:
    // Both give a body that the caller owns, with one share.
    virtual wxJSONRefData* CloneRefData(const wxJSONRefData* other) const;
    virtual wxJSONRefData* CreateRefData() const;

    wxJSONRefData* MakeOwn();

private:
    friend class wxJSONDocument;
    friend class wxJSONWriter;

    static void Release(wxJSONRefData* body) noexcept;
    static wxJSONRefData* ReleaseChild(wxJSONValue& child) noexcept;
    template <class T>
    wxJSONValue& AppendAs(const T& value);

    wxJSONRefData* m_refData; // shared, may be null
};

// The shared body of values. Made by wxJSONValue, deleted by the last value that gives up its share.
class QXSPEECH_API wxJSONRefData
{
public:
    wxJSONRefData();
    virtual ~wxJSONRefData();
    wxJSONRefData(const wxJSONRefData&) = delete;
    wxJSONRefData& operator=(const wxJSONRefData&) = delete;

    int m_refCount;
    wxJSONType m_type;
    union Number {
        std::int64_t m_valInt64;
        std::uint64_t m_valUInt64;
        double m_valDouble;
        bool m_valBool;
        wxJSONRefData* m_nextDying; // only once the last share is gone: the next body to be deleted
    } m_value;
    wxString m_valString;
    std::vector<wxJSONValue> m_valArray;
    wxJSONMap m_valMap; // AsMap sees to it that all members are here

private:
    friend class wxJSONDocument;
    friend class wxJSONValue;
    friend class wxJSONWriter;

    // Over all characters: wxStringHash ends at a NUL, so that a text full of such keys would take hours to read.
    struct WholeHash {
        size_t operator()(const wxString& key) const noexcept { return HashOf(key); }
    };
    typedef std::unordered_map<wxString, wxJSONValue, WholeHash, wxStringEqual> OddMembers;

    static size_t HashOf(const wxString& key) noexcept;
    wxJSONValue* FindMember(const wxString& key);
    // The member of that key, and whether it is new.
    std::pair<wxJSONValue*, bool> AddMember(const wxString& key, wxJSONType typeIfNew);
    size_t MemberCount() const { return m_valMap.size() + (m_oddMembers ? m_oddMembers->size() : 0); }
    void ClearMembers();

    std::unique_ptr<OddMembers> m_oddMembers; // those whose key holds a NUL, until AsMap is asked; null for none
};

#endif

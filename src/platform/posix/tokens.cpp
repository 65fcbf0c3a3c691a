// Voice tokens, their category and their enumeration. MIT licence.
#include "platform/posix/com.h"
#include "platform/posix/comobject.h"
#include "platform/posix/registry.h"
#include "platform/posix/speechclasses.h"

#include "common/logging.h"

#include <utility>

namespace qxplatform
{

namespace
{

bool SameName(const std::wstring& a, const std::wstring& b)
{
    const RegistryNameLess less;
    return !less(a, b) && !less(b, a);
}

HRESULT ReadValue(const RegistryValues& values, LPCWSTR name, LPWSTR* value)
{
    if (!value)
        return E_POINTER;
    *value = nullptr;
    const auto found = values.find(name ? name : L"");
    if (found == values.end())
        return SPERR_NOT_FOUND;
    *value = CoTaskString(found->second);
    return *value ? S_OK : E_OUTOFMEMORY;
}

HRESULT NoKey(ISpDataKey** subKey)
{
    if (!subKey)
        return E_POINTER;
    *subKey = nullptr;
    return SPERR_NOT_FOUND;
}

// The attributes of a voice.
class AttributesKey : public ComObject<ISpDataKey>
{
public:
    explicit AttributesKey(RegistryValues attributes) : values(std::move(attributes)) {}

    HRESULT GetStringValue(LPCWSTR name, LPWSTR* value) override { return ReadValue(values, name, value); }
    HRESULT OpenKey(LPCWSTR, ISpDataKey** subKey) override { return NoKey(subKey); }

private:
    const RegistryValues values;
};

// One voice, as the registry held it when the token was made or got its id; without an id it answers
// SPERR_UNINITIALIZED.
class VoiceTokenObject : public ComObject<ISpObjectToken, IID_ISpObjectToken>
{
public:
    VoiceTokenObject() = default;
    explicit VoiceTokenObject(VoiceToken described) : token(std::move(described)) {}

    HRESULT GetStringValue(LPCWSTR name, LPWSTR* value) override
    {
        return token.id.empty() ? SPERR_UNINITIALIZED : ReadValue(token.values, name, value);
    }

    HRESULT OpenKey(LPCWSTR subKeyName, ISpDataKey** subKey) override
    {
        if (!subKey || !subKeyName)
            return E_POINTER;
        if (token.id.empty())
            return SPERR_UNINITIALIZED;
        if (!SameName(subKeyName, L"Attributes"))
            return NoKey(subKey);
        *subKey = new AttributesKey(token.attributes);
        return S_OK;
    }

    HRESULT SetId(LPCWSTR, LPCWSTR tokenId, BOOL createIfNotExist) override
    {
        if (!tokenId)
            return E_POINTER;
        if (!token.id.empty())
            return SPERR_ALREADY_INITIALIZED;
        if (FindVoiceToken(tokenId, token))
            return S_OK;
        if (!createIfNotExist)
            return SPERR_NOT_FOUND;
        QX_LOG("A voice cannot be added here: %s", wxString(tokenId));
        return E_ACCESSDENIED;
    }

    HRESULT GetId(LPWSTR* tokenId) override
    {
        if (!tokenId)
            return E_POINTER;
        *tokenId = nullptr;
        if (token.id.empty())
            return SPERR_UNINITIALIZED;
        *tokenId = CoTaskString(token.id);
        return *tokenId ? S_OK : E_OUTOFMEMORY;
    }

private:
    VoiceToken token;
};

// The voices as they were when it was made.
class TokenEnumeration : public ComObject<IEnumSpObjectTokens>
{
public:
    explicit TokenEnumeration(std::shared_ptr<const std::vector<VoiceToken>> listed) : tokens(std::move(listed)) {}

    HRESULT Next(ULONG count, ISpObjectToken** found, ULONG* fetched) override
    {
        if (!found || (!fetched && count != 1))
            return E_POINTER;
        ULONG given = 0;
        for (; given < count && next < tokens->size(); ++given, ++next)
            found[given] = new VoiceTokenObject((*tokens)[next]);
        for (ULONG rest = given; rest < count; ++rest)
            found[rest] = nullptr;
        if (fetched)
            *fetched = given;
        return given == count ? S_OK : S_FALSE;
    }

    HRESULT GetCount(ULONG* count) override
    {
        if (!count)
            return E_POINTER;
        *count = static_cast<ULONG>(tokens->size());
        return S_OK;
    }

private:
    const std::shared_ptr<const std::vector<VoiceToken>> tokens;
    size_t next = 0;
};

// The category of the voices; there is no other.
class VoiceCategory : public ComObject<ISpObjectTokenCategory, IID_ISpObjectTokenCategory>
{
public:
    HRESULT GetStringValue(LPCWSTR name, LPWSTR* value) override
    {
        return isSet ? ReadValue({}, name, value) : SPERR_UNINITIALIZED;
    }

    HRESULT OpenKey(LPCWSTR, ISpDataKey** subKey) override { return isSet ? NoKey(subKey) : SPERR_UNINITIALIZED; }

    HRESULT SetId(LPCWSTR categoryId, BOOL createIfNotExist) override
    {
        if (!categoryId)
            return E_POINTER;
        if (isSet)
            return SPERR_ALREADY_INITIALIZED;
        isSet = SameName(categoryId, kVoicesCategoryId);
        if (isSet)
            return S_OK;
        if (!createIfNotExist)
            return SPERR_NOT_FOUND;
        QX_LOG("A category cannot be added here: %s", wxString(categoryId));
        return E_ACCESSDENIED;
    }

    HRESULT EnumTokens(LPCWSTR required, LPCWSTR optional, IEnumSpObjectTokens** tokens) override
    {
        if (!tokens)
            return E_POINTER;
        *tokens = nullptr;
        if (!isSet)
            return SPERR_UNINITIALIZED;
        if ((required && *required) || (optional && *optional)) {
            QX_LOG("Voices cannot be listed by attributes.");
            return E_NOTIMPL;
        }
        *tokens = new TokenEnumeration(VoiceTokens());
        return S_OK;
    }

private:
    bool isSet = false;
};

} // namespace

HRESULT CreateSpObjectToken(REFIID iid, void** object)
{
    return CreateObject<VoiceTokenObject>(iid, object);
}

HRESULT CreateSpObjectTokenCategory(REFIID iid, void** object)
{
    return CreateObject<VoiceCategory>(iid, object);
}

HRESULT CreateVoiceToken(const std::wstring& id, ISpObjectToken** token)
{
    if (!token)
        return E_POINTER;
    *token = nullptr;
    VoiceToken described;
    if (!FindVoiceToken(id, described))
        return SPERR_NOT_FOUND;
    *token = new VoiceTokenObject(std::move(described));
    return S_OK;
}

} // namespace qxplatform

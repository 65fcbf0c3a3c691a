// Voice tokens, their category, and the registry behind them. MIT licence.
#include "platform/posix/control.h"
#include "platform/posix/espeak_engine.h"
#include "platform/posix/languages.h"
#include "platform/posix/speechclasses.h"

#include <clocale>
#include <gtest/gtest.h>
#include <set>

using namespace qxplatform;

namespace
{

const std::wstring kStart = kVoiceTokensIdStart;

std::vector<VoiceToken> TwoVoices()
{
    VoiceToken first;
    first.id = kStart + L"One";
    first.values = {{L"", L"Voice One"}, {L"Description", L"Voice One (MUI)"}, {L"407", L"Stimme Eins"}};
    first.attributes = {{L"Language", L"409;9"}, {L"Gender", L"Female"}};
    VoiceToken second;
    second.id = kStart + L"Two";
    return {first, second};
}

// COM started, two voices in the registry.
struct TokenTest : testing::Test {
    void SetUp() override
    {
        CoInitialize(nullptr);
        control::SetVoices(TwoVoices());
        ASSERT_EQ(CoCreateInstance(CLSID_SpObjectTokenCategory, nullptr, CLSCTX_ALL, IID_ISpObjectTokenCategory,
                                   reinterpret_cast<void**>(&category)),
                  S_OK);
        ASSERT_EQ(CoCreateInstance(CLSID_SpObjectToken, nullptr, CLSCTX_ALL, IID_ISpObjectToken,
                                   reinterpret_cast<void**>(&token)),
                  S_OK);
    }
    void TearDown() override
    {
        EXPECT_EQ(token->Release(), 0u);
        EXPECT_EQ(category->Release(), 0u);
        CoUninitialize();
    }

    const control::Restorer restorer;
    ISpObjectTokenCategory* category = nullptr;
    ISpObjectToken* token = nullptr;
};

std::wstring TakeText(HRESULT hr, LPWSTR text)
{
    const std::wstring copy = SUCCEEDED(hr) && text ? text : L"(none)";
    CoTaskMemFree(text);
    return copy;
}

std::wstring IdOf(ISpObjectToken* token)
{
    LPWSTR text = nullptr;
    const HRESULT hr = token->GetId(&text);
    return TakeText(hr, text);
}

std::wstring ValueOf(ISpDataKey* key, LPCWSTR name)
{
    LPWSTR text = nullptr;
    const HRESULT hr = key->GetStringValue(name, &text);
    return TakeText(hr, text);
}

LSTATUS LoadDescription(const std::wstring& path, std::wstring& text)
{
    HKEY key = nullptr;
    LSTATUS status = RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, &key);
    if (status != ERROR_SUCCESS)
        return status;
    WCHAR buffer[64] = {};
    status = RegLoadMUIStringW(key, L"description", buffer, sizeof(buffer), nullptr, 0, nullptr);
    text = buffer;
    EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);
    return status;
}

} // namespace

TEST_F(TokenTest, CategoryListsTheVoicesInOrder)
{
    IEnumSpObjectTokens* tokens = nullptr;
    EXPECT_EQ(category->EnumTokens(nullptr, nullptr, &tokens), SPERR_UNINITIALIZED);
    EXPECT_EQ(category->SetId(L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Other", FALSE), SPERR_NOT_FOUND);
    ASSERT_EQ(category->SetId(kVoicesCategoryId, FALSE), S_OK);
    EXPECT_EQ(category->SetId(kVoicesCategoryId, FALSE), SPERR_ALREADY_INITIALIZED);
    ASSERT_EQ(category->EnumTokens(nullptr, nullptr, &tokens), S_OK);
    ULONG count = 0;
    EXPECT_EQ(tokens->GetCount(&count), S_OK);
    EXPECT_EQ(count, 2u);

    control::SetVoices({}); // what is being listed does not change
    ISpObjectToken* found[3] = {};
    EXPECT_EQ(tokens->Next(3, found, nullptr), E_POINTER) << "how many there are could not be told";
    ASSERT_EQ(tokens->Next(1, found, nullptr), S_OK);
    EXPECT_EQ(IdOf(found[0]), kStart + L"One");
    EXPECT_EQ(found[0]->Release(), 0u);
    EXPECT_EQ(tokens->Next(3, found, &count), S_FALSE);
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(IdOf(found[0]), kStart + L"Two");
    EXPECT_EQ(found[0]->Release(), 0u);
    EXPECT_EQ(found[1], nullptr);
    EXPECT_EQ(tokens->Next(1, found, nullptr), S_FALSE);
    EXPECT_EQ(tokens->Release(), 0u);
}

TEST_F(TokenTest, TokenHasValuesAndAttributesOfItsId)
{
    EXPECT_EQ(ValueOf(token, nullptr), L"(none)");
    EXPECT_EQ(token->SetId(nullptr, (kStart + L"Three").c_str(), FALSE), SPERR_NOT_FOUND);
    EXPECT_EQ(token->SetId(nullptr, (kStart + L"Three").c_str(), TRUE), E_ACCESSDENIED);
    ASSERT_EQ(token->SetId(nullptr, (kStart + L"ONE").c_str(), FALSE), S_OK) << "ids compare without case";
    EXPECT_EQ(token->SetId(nullptr, (kStart + L"Two").c_str(), FALSE), SPERR_ALREADY_INITIALIZED);
    EXPECT_EQ(IdOf(token), kStart + L"One");
    EXPECT_EQ(ValueOf(token, nullptr), L"Voice One");
    EXPECT_EQ(ValueOf(token, L"407"), L"Stimme Eins");
    LPWSTR text = nullptr;
    EXPECT_EQ(token->GetStringValue(L"409", &text), SPERR_NOT_FOUND);
    EXPECT_EQ(text, nullptr);

    ISpDataKey* key = nullptr;
    EXPECT_EQ(token->OpenKey(L"Other", &key), SPERR_NOT_FOUND);
    ASSERT_EQ(token->OpenKey(L"Attributes", &key), S_OK);
    EXPECT_EQ(ValueOf(key, L"Language"), L"409;9");
    EXPECT_EQ(ValueOf(key, nullptr), L"(none)");
    EXPECT_EQ(key->Release(), 0u);
}

TEST_F(TokenTest, RegistryOpensVoicesAndWhatLeadsToThem)
{
    const std::wstring path = L"SOFTWARE\\Microsoft\\Speech\\Voices\\Tokens\\One";
    std::wstring text;
    EXPECT_EQ(LoadDescription(path, text), ERROR_SUCCESS);
    EXPECT_EQ(text, L"Voice One (MUI)");
    EXPECT_EQ(LoadDescription(L"software\\Microsoft", text), ERROR_FILE_NOT_FOUND) << "a key without values";
    EXPECT_EQ(LoadDescription(L"SOFTWARE\\Micro", text), ERROR_FILE_NOT_FOUND) << "half a name";
    EXPECT_EQ(LoadDescription(path + L"\\Nothing", text), ERROR_FILE_NOT_FOUND);

    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ | 2u, &key), ERROR_ACCESS_DENIED);
    ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft", 0, KEY_READ, &key), ERROR_SUCCESS);
    HKEY below = nullptr;
    EXPECT_EQ(RegOpenKeyExW(key, L"Speech\\Voices\\Tokens\\One\\Attributes", 0, KEY_READ, &below), ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(below), ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
    EXPECT_EQ(RegOpenKeyExW(key, L"Speech", 0, KEY_READ, &below), ERROR_INVALID_HANDLE);
}

TEST_F(TokenTest, MuiStringRespectsItsBufferAndFailsOnRequest)
{
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Speech\\Voices\\Tokens\\One", 0, KEY_READ, &key),
              ERROR_SUCCESS);
    const DWORD bytes = 16 * sizeof(WCHAR); // "Voice One (MUI)" and its end
    WCHAR buffer[16] = {};
    DWORD needed = 0;
    EXPECT_EQ(RegLoadMUIStringW(key, L"Description", buffer, bytes - 1, &needed, 0, nullptr), ERROR_MORE_DATA);
    EXPECT_EQ(needed, bytes);
    EXPECT_EQ(RegLoadMUIStringW(key, L"Description", buffer, bytes, nullptr, 0, nullptr), ERROR_SUCCESS);
    EXPECT_STREQ(buffer, L"Voice One (MUI)");
    control::SetMUIStringStatus(ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegLoadMUIStringW(key, L"Description", buffer, bytes, nullptr, 0, nullptr), ERROR_FILE_NOT_FOUND);
    control::SetMUIStringPresent(false);
    EXPECT_EQ(GetProcAddress(LoadLibraryW(L"ADVAPI32.DLL"), "RegLoadMUIStringW"), nullptr);
    RegCloseKey(key);
}

TEST_F(TokenTest, DefaultVoiceFollowsTheUsersLanguage)
{
    auto voices = TwoVoices();
    voices[1].attributes = {{L"Language", L"c07"}};
    control::SetVoices(voices);
    control::SetUILanguage(0x0407);
    EXPECT_EQ(DefaultVoiceTokenId(), kStart + L"Two") << "the language in another region";
    control::SetUILanguage(0x0411);
    EXPECT_EQ(DefaultVoiceTokenId(), kStart + L"One") << "else American English";
    voices.erase(voices.begin());
    control::SetVoices(voices);
    EXPECT_EQ(DefaultVoiceTokenId(), kStart + L"Two") << "else the first";
    control::SetVoices({});
    EXPECT_EQ(DefaultVoiceTokenId(), L"");
}

#ifndef QXSPEECH_NO_ESPEAK

TEST(InstalledVoices, EveryVoiceIsATokenWithNameAndLanguage)
{
    const std::string locale = std::setlocale(LC_ALL, nullptr);
    ASSERT_GT(StartEspeak(), 0);
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), locale) << "the locale is the host's";
    ASSERT_FALSE(InstalledVoices().empty());
    const auto tokens = VoiceTokens();
    ASSERT_EQ(tokens->size(), InstalledVoices().size());
    std::set<std::wstring> ids;
    std::set<std::wstring> names;
    for (const VoiceToken& token : *tokens) {
        EXPECT_EQ(token.id.rfind(kStart, 0), 0u);
        ids.insert(token.id);
        names.insert(token.values.at(L""));
        const auto language = static_cast<LANGID>(std::wcstoul(token.attributes.at(L"Language").c_str(), nullptr, 16));
        EXPECT_FALSE(LanguageName(language).empty()) << token.engineVoice;
        EXPECT_LT(token.attributes.at(L"Language").size(), 5u);
    }
    EXPECT_EQ(ids.size(), tokens->size());
    EXPECT_EQ(names.size(), tokens->size());
    EXPECT_EQ(names.count(L""), 0u);
}

TEST(InstalledVoices, DefaultVoiceSpeaksTheUsersLanguage)
{
    const control::Restorer restorer;
    control::SetUILanguage(0x0407);
    VoiceToken token;
    ASSERT_TRUE(FindVoiceToken(DefaultVoiceTokenId(), token));
    EXPECT_EQ(token.attributes.at(L"Language"), L"407");
    EXPECT_EQ(token.engineVoice, "gmw/de");
}

#endif

// Voice choice by attributes and language. MIT licence.
#include "platform/posix/voicechoice.h"

#include <map>

#include "platform/posix/languages.h"
#include "platform/posix/registry.h"
#include "platform/posix/speechscript.h"

namespace qxvoice
{
namespace
{

// Any of the synthesizer's female variants will do.
const char kFemaleVariant[] = "+f3";

using Attributes = std::map<std::wstring, std::wstring>;

Attributes AttributesOf(const qxplatform::VoiceToken& token, bool female)
{
    Attributes attributes(token.attributes.begin(), token.attributes.end());
    if (female)
        attributes[L"Gender"] = L"Female";
    return attributes;
}

std::string BareVoice(const std::string& voice)
{
    return voice.substr(0, voice.find('+'));
}

uint32_t LanguageOf(const qxplatform::VoiceToken& token)
{
    const auto found = token.attributes.find(L"Language");
    return found == token.attributes.end() ? 0
                                           : static_cast<uint32_t>(std::wcstoul(found->second.c_str(), nullptr, 16));
}

} // namespace

std::string FindVoiceByAttributes(const std::wstring& required, const std::wstring& optional,
                                  const std::string& speakingVoice)
{
    const auto tokens = qxplatform::VoiceTokens();
    const std::string speaking = BareVoice(speakingVoice);
    uint32_t speakingLanguage = 0;
    for (const qxplatform::VoiceToken& token : *tokens) {
        if (token.engineVoice == speaking)
            speakingLanguage = LanguageOf(token);
    }
    std::string best;
    int bestScore = -1;
    for (const qxplatform::VoiceToken& token : *tokens) {
        if (token.engineVoice.empty())
            continue;
        for (const bool female : {false, true}) {
            const Attributes attributes = AttributesOf(token, female);
            if (!VoiceAttributesMatch(required, attributes))
                continue;
            const int score = (VoiceAttributesMatch(optional, attributes) ? 4 : 0) +
                              (LanguageOf(token) == speakingLanguage ? 2 : 0) + (token.engineVoice == speaking ? 1 : 0);
            if (score > bestScore) {
                bestScore = score;
                best = token.engineVoice + (female ? kFemaleVariant : "");
            }
        }
    }
    return best;
}

std::string FindVoiceByLanguage(uint32_t languageId)
{
    constexpr uint32_t kPrimaryMask = 0x3FF;
    const auto tokens = qxplatform::VoiceTokens();
    std::string related;
    for (const qxplatform::VoiceToken& token : *tokens) {
        if (token.engineVoice.empty())
            continue;
        const uint32_t language = LanguageOf(token);
        if (language == languageId)
            return token.engineVoice;
        if (related.empty() && (language & kPrimaryMask) == (languageId & kPrimaryMask))
            related = token.engineVoice;
    }
    return related;
}

} // namespace qxvoice

// A voice's surroundings for script tests: an English voice, a German and a female one beside it. MIT licence.
#pragma once

#include "platform/posix/speechscript.h"

inline qxvoice::ScriptContext EnglishContext(int rate = 0)
{
    qxvoice::ScriptContext context;
    context.voice = "English (America)";
    context.language = "en-us";
    context.rate = rate;
    context.findVoice = [](const std::wstring& required, const std::wstring& optional) -> std::string {
        if (required == L"Gender=Female" || optional == L"Gender=Female")
            return "en-us+f3";
        if (required == L"Name=German" || required == L"Language=407")
            return "German";
        return required.empty() ? "English (America)" : "";
    };
    context.findLanguage = [](uint32_t id) { return std::string(id == 0x407 ? "German" : ""); };
    context.findLanguageTag = [](const std::string& tag) { return std::string(tag == "de-DE" ? "German" : ""); };
    return context;
}

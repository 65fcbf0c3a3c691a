// Any text in any form: the synthesizer's text is valid and short enough, its positions rise and stay in the source.
// MIT licence.
#include "platform/posix/speechscript.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include <wx/string.h>

using namespace qxvoice;

namespace
{

// The program stops here, so that the fuzzer keeps the input.
void Require(bool holds)
{
    if (!holds)
        std::abort();
}

// ASCII bytes are characters; the others begin numbers that reach every range, valid or not.
std::wstring ToSource(const uint8_t* data, size_t size)
{
    std::wstring source;
    for (size_t i = 0; i < size; ++i) {
        if (data[i] < 0x80) {
            source += static_cast<wchar_t>(data[i]);
            continue;
        }
        const uint32_t low = i + 1 < size ? data[++i] : 0U;
        const uint32_t shift = (data[i - (low ? 1 : 0)] & 0x1FU);
        source += static_cast<wchar_t>((low << shift) ^ low);
    }
    return source;
}

ScriptContext Context(size_t seed)
{
    ScriptContext context;
    context.voice = "English (America)";
    context.language = "en-us";
    context.rate = static_cast<int>(seed % 21) - 10;
    context.findVoice = [](const std::wstring& required, const std::wstring& optional) {
        return required.size() % 3 == 1 ? std::string() : "voice" + std::to_string(optional.size() % 4);
    };
    context.findLanguage = [](uint32_t id) { return std::string(id % 2 ? "German" : ""); };
    context.findLanguageTag = [](const std::string& tag) { return std::string(tag.size() % 2 ? "German" : ""); };
    return context;
}

bool IsCleanUtf8(const std::string& text)
{
    for (const char unit : text)
        if ((unit >= 0 && unit < 0x20 && unit != '\t' && unit != '\n' && unit != '\r') || unit == 0x7F)
            return false;
    return text.empty() || !wxString::FromUTF8(text.data(), text.size()).empty();
}

// Every '<' begins a tag that ends, of a kind that the writer makes, and at most a few are open.
void CheckMarkup(const std::string& text)
{
    int open = 0;
    for (size_t at = text.find('<'); at != std::string::npos; at = text.find('<', at + 1)) {
        const size_t end = text.find('>', at);
        Require(end != std::string::npos && end - at < 300);
        const std::string tag = text.substr(at, end - at + 1);
        if (tag == "</p>" || tag == "<p>" || tag[tag.size() - 2] == '/')
            continue;
        open += tag[1] == '/' ? -1 : 1;
        Require(open >= 0 && open <= 4);
    }
    Require(open == 0);
}

void CheckMap(const SpeechScript& script, size_t sourceLength)
{
    size_t spokenLength = 0;
    for (const char unit : script.text)
        spokenLength += (static_cast<unsigned char>(unit) & 0xC0) != 0x80;
    size_t before = 0;
    for (size_t i = 0; i <= spokenLength + 1; ++i) {
        const size_t source = script.map.ToSource(i);
        Require(source >= before && source <= sourceLength);
        Require(source + script.map.ToSourceLength(i, 1) <= sourceLength);
        Require(script.map.ToSourceLength(i, 0) == 0);
        before = source;
    }
    Require(script.map.ToSource(spokenLength) == sourceLength);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::wstring source = ToSource(data, size);
    const ScriptContext context = Context(size);
    for (const ScriptForm form :
         {ScriptForm::Auto, ScriptForm::Plain, ScriptForm::Xml, ScriptForm::SapiXml, ScriptForm::Ssml}) {
        SpeechScript script;
        const ScriptError error = MakeSpeechScript(source, form, context, script);
        Require((error == ScriptError::Empty) == source.empty());
        Require(form != ScriptForm::Plain || source.empty() || error == ScriptError::None);
        if (error != ScriptError::None) {
            Require(script.text.empty() && script.marks.empty());
            continue;
        }
        Require(IsCleanUtf8(script.text));
        CheckMap(script, source.size());
        if (script.ssml)
            CheckMarkup(script.text);
        for (size_t i = 0; i < script.marks.size(); ++i)
            Require(MarkName(script, std::to_string(i).c_str()) == script.marks[i]);
    }
    VoiceAttributesMatch(source, {{L"Gender", L"Female"}, {L"Language", L"409;9"}});
    return 0;
}

// One JSON object: engine, region, date and the list in the library's own form. MIT licence.
#include "voicecache.h"

#include <wx/datetime.h>

#include "userfiles.h"
#include "values.h"
#include "json/jsondocument.h"
#include "json/jsonwriter.h"

namespace say
{
namespace
{

constexpr std::int64_t kMonthMs = std::int64_t{30} * 24 * 60 * 60 * 1000;

std::string CacheFile(const wxString& engine)
{
    const std::string folder = CacheFolder();
    return folder.empty() ? folder : folder + "/voices-" + std::string(ShortEngineName(engine).utf8_str()) + ".json";
}

wxString MemberText(wxJSONValue& object, const char* key)
{
    return object.HasMember(key) ? object[key].AsString() : wxString();
}

// A text that breaks off gives what came before: the mark at its end must be there.
const char* const kEnd = "]}\n";

bool TakeVoices(wxJSONValue& list, const wxString& engine, std::vector<QXTTSVoiceInfo>& voices)
{
    const int count = list.IsArray() ? list.Size() : 0;
    for (int index = 0; index < count; ++index) {
        QXTTSVoiceInfo voice;
        voice.Parse(list.Item(static_cast<unsigned>(index)));
        if (voice.GetHandlerId() != engine)
            return false;
        voices.push_back(voice);
    }
    return count > 0;
}

wxDateTime DateOf(std::int64_t timeMs)
{
    return wxDateTime(wxLongLong(timeMs));
}

} // namespace

wxString WriteVoiceCache(const VoiceCache& cache)
{
    wxJSONValue head;
    head["engine"] = cache.engine;
    head["region"] = cache.region;
    head["route"] = cache.route;
    head["date"] = DateOf(cache.fetchedMs).ToUTC().FormatISOCombined() + "Z";
    wxString text;
    wxJSONWriter(0, 0, 3).Write(head, text);
    text.RemoveLast(); // the list goes last, so that its end is the file's
    return text + ",\"voices\":" + QXTTSVoiceInfo::GetListAsString(cache.voices) + "}\n";
}

VoiceCache ParseVoiceCache(const wxString& text, const wxString& engine, const wxString& region, const wxString& route)
{
    VoiceCache cache{engine, region, route, 0, {}};
    if (!text.EndsWith(kEnd))
        return cache;
    wxJSONDocument document;
    wxJSONValue& root = document.Parse(text);
    wxDateTime date;
    wxString dateText;
    if (!root.IsObject() || MemberText(root, "engine") != engine || MemberText(root, "region") != region ||
        MemberText(root, "route") != route || !MemberText(root, "date").EndsWith("Z", &dateText) ||
        !date.ParseISOCombined(dateText))
        return cache;
    cache.fetchedMs = date.FromUTC().GetValue().GetValue();
    if (!TakeVoices(root["voices"], engine, cache.voices))
        cache.voices.clear();
    return cache;
}

VoiceCache LoadVoiceCache(const wxString& engine, const wxString& region, const wxString& route)
{
    const std::string file = CacheFile(engine);
    const std::string bytes = file.empty() ? file : ReadUserFile(file);
    return ParseVoiceCache(wxString::FromUTF8(bytes.data(), bytes.size()), engine, region, route);
}

void StoreVoiceCache(const VoiceCache& cache)
{
    const std::string file = CacheFile(cache.engine);
    if (!file.empty() && !cache.voices.empty())
        ReplaceUserFile(file, std::string(WriteVoiceCache(cache).utf8_str()));
}

bool IsStale(const VoiceCache& cache, std::int64_t nowMs)
{
    return cache.fetchedMs > nowMs || nowMs - cache.fetchedMs > kMonthMs;
}

wxString DayOf(const VoiceCache& cache)
{
    return DateOf(cache.fetchedMs).ToUTC().FormatISODate();
}

} // namespace say

// Language ids, names and the user's language. MIT licence.
#include "platform/posix/languages.h"

#include "platform/posix/control.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <optional>

using namespace qxplatform;

namespace
{

// Sets an environment variable, or takes it out, for one scope.
class EnvironmentVariable
{
public:
    EnvironmentVariable(const char* variable, const char* value) : name(variable)
    {
        if (const char* const current = std::getenv(name))
            former = current;
        Set(value);
    }
    ~EnvironmentVariable() { Set(former ? former->c_str() : nullptr); }

private:
    void Set(const char* value) const { value ? setenv(name, value, 1) : unsetenv(name); }

    const char* const name;
    std::optional<std::string> former;
};

std::wstring LocaleName(LCID id)
{
    WCHAR buffer[LOCALE_NAME_MAX_LENGTH];
    return LCIDToLocaleName(id, buffer, LOCALE_NAME_MAX_LENGTH, 0) > 0 ? buffer : L"(none)";
}

} // namespace

TEST(Languages, TagsGiveTheIdsAndNamesOfTheSystem)
{
    const struct {
        const char* tag;
        LANGID id;
        const wchar_t* name;
    } rows[] = {
        {"en-us", 0x0409, L"en-US"},
        {"EN-gb", 0x0809, L"en-GB"},
        {"en-gb-x-rp", 0x0809, L"en-GB"},
        {"en-us-nyc", 0x0409, L"en-US"},
        {"de", 0x0407, L"de-DE"},
        {"pt", 0x0816, L"pt-PT"},
        {"es-419", 0x580A, L"es-419"},
        {"cmn", 0x0804, L"zh-CN"},
        {"chr-US-Qaaa-x-west", 0x045C, L"chr-Cher-US"},
        {"sr", 0x241A, L"sr-Latn-RS"},
        {"az-latn-az", 0x042C, L"az-Latn-AZ"},
        {"an", 0x0600, L"an"},
        {"cmn-latn-pinyin", 0x0602, L"cmn-Latn"},
        {"ru-lv", 0x0616, L"ru-LV"},
        {"", 0, L"(none)"},
        {"e", 0, L"(none)"},
        {"12-34", 0, L"(none)"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(LanguageIdOfTag(row.tag), row.id) << row.tag;
        EXPECT_EQ(LocaleName(row.id), row.name) << row.tag;
    }
}

TEST(Languages, UnknownTagGetsAnIdOfTheUserRangeAndKeepsIt)
{
    const LANGID id = LanguageIdOfTag("tlh-Piqd-aq");
    EXPECT_GE(id, 0x0600);
    EXPECT_LT(id, 0x0800);
    EXPECT_EQ(LocaleName(id), L"tlh-Piqd-AQ");
    EXPECT_EQ(LanguageIdOfTag("TLH-PIQD-AQ"), id);
    EXPECT_NE(LanguageIdOfTag("tlh"), id);
}

TEST(Languages, LocaleNameNeedsItsWholeRoom)
{
    WCHAR buffer[8] = L"before";
    EXPECT_EQ(LCIDToLocaleName(0x0409, nullptr, 0, 0), 6);
    EXPECT_EQ(LCIDToLocaleName(0x0409, buffer, 5, 0), 0);
    EXPECT_STREQ(buffer, L"before");
    EXPECT_EQ(LCIDToLocaleName(0x0409, buffer, 6, 0), 6);
    EXPECT_STREQ(buffer, L"en-US");
    EXPECT_EQ(LCIDToLocaleName(0x10409, buffer, 8, 0), 0) << "sort orders are not known";
    EXPECT_EQ(LCIDToLocaleName(0, buffer, 8, 0), 0);
}

TEST(Languages, HexadecimalIdIsLowerCaseWithoutPrefix)
{
    EXPECT_EQ(LanguageHex(0x0409), L"409");
    EXPECT_EQ(LanguageHex(0x0C0A), L"c0a");
    EXPECT_EQ(LanguageHex(0), L"0");
}

TEST(Languages, UserLanguageComesFromTheFirstVariableThatIsSet)
{
    const struct {
        const char* all;
        const char* messages;
        const char* lang;
        LANGID id;
    } rows[] = {
        {nullptr, nullptr, "de_AT.UTF-8@euro", 0x0C07},
        {"", "fr_FR", "de_DE", 0x040C},
        {"C", "fr_FR", "de_DE", 0x0409},
        {"C.UTF-8", nullptr, "de_DE", 0x0409},
        {"POSIX", nullptr, nullptr, 0x0409},
        {nullptr, nullptr, "sr_RS@latin", 0x241A},
        {nullptr, nullptr, "de_XX", 0x0407},
        {nullptr, nullptr, "xx_YY", 0x0409},
        {nullptr, nullptr, "../..", 0x0409},
        {nullptr, nullptr, nullptr, 0x0409},
    };
    for (const auto& row : rows) {
        const EnvironmentVariable all("LC_ALL", row.all);
        const EnvironmentVariable messages("LC_MESSAGES", row.messages);
        const EnvironmentVariable lang("LANG", row.lang);
        EXPECT_EQ(GetUserDefaultUILanguage(), row.id)
            << (row.all ? row.all : "-") << " " << (row.lang ? row.lang : "-");
    }
    const control::Restorer restorer;
    control::SetUILanguage(0x0411);
    EXPECT_EQ(GetUserDefaultUILanguage(), 0x0411);
}

// Makes a translation catalogue in memory the one in force for a scope. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_SCOPED_TRANSLATION_H
#define QXSPEECH_TESTS_SUPPORT_SCOPED_TRANSLATION_H

#include <cstdint>
#include <map>
#include <string>
#include <wx/translation.h>

// Texts are UTF-8. Outside the scope there are no translations.
class ScopedTranslation
{
public:
    explicit ScopedTranslation(const std::map<std::string, std::string>& texts)
    {
        wxTranslations* const translations = new wxTranslations;
        translations->SetLoader(new Loader(texts));
        translations->SetLanguage("de");
        wxTranslations::Set(translations);
        translations->AddCatalog("test");
    }
    ScopedTranslation(const ScopedTranslation&) = delete;
    ScopedTranslation& operator=(const ScopedTranslation&) = delete;
    ~ScopedTranslation() { wxTranslations::Set(nullptr); }

private:
    class Loader : public wxTranslationsLoader
    {
    public:
        explicit Loader(std::map<std::string, std::string> texts) : m_texts(std::move(texts))
        {
            m_texts[""] = "Content-Type: text/plain; charset=UTF-8\n";
        }
        wxMsgCatalog* LoadCatalog(const wxString& domain, const wxString&) override
        {
            const std::string data = Binary();
            return wxMsgCatalog::CreateFromData(wxScopedCharBuffer::CreateNonOwned(data.data(), data.size()), domain);
        }
        wxArrayString GetAvailableTranslations(const wxString&) const override
        {
            wxArrayString languages;
            languages.Add("de");
            return languages;
        }

    private:
        // The binary catalogue form: a header of seven words, two tables of length and offset, then the sorted texts.
        std::string Binary() const
        {
            const auto count = static_cast<std::uint32_t>(m_texts.size());
            const std::uint32_t tables = 7 * 4;
            std::uint32_t offset = tables + count * 16;
            std::string keys, values, pool;
            for (const auto& [key, value] : m_texts)
                offset = Append(key, offset, keys, pool);
            for (const auto& [key, value] : m_texts)
                offset = Append(value, offset, values, pool);
            std::string data;
            for (const std::uint32_t word : {std::uint32_t(0x950412de), std::uint32_t(0), count, tables,
                                             tables + count * 8, std::uint32_t(0), std::uint32_t(0)})
                AppendWord(data, word);
            return data + keys + values + pool;
        }
        static std::uint32_t Append(const std::string& text, std::uint32_t offset, std::string& table,
                                    std::string& pool)
        {
            AppendWord(table, static_cast<std::uint32_t>(text.size()));
            AppendWord(table, offset);
            pool += text + '\0';
            return offset + static_cast<std::uint32_t>(text.size()) + 1;
        }
        static void AppendWord(std::string& data, std::uint32_t word)
        {
            data.append(reinterpret_cast<const char*>(&word), sizeof word);
        }

        std::map<std::string, std::string> m_texts;
    };
};

#endif

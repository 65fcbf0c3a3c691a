// The parser's messages are caught and become the failure's text. MIT licence.
#include "commandline.h"

#include <wx/msgout.h>
#include <wx/strconv.h>

#include "exitstatus.h"

namespace tool
{
namespace
{

const wxMBConvUTF8& ArgumentConversion()
{
    static const wxMBConvUTF8 conversion(wxMBConvUTF8::MAP_INVALID_UTF8_TO_PUA);
    return conversion;
}

// The parser reports through the one message output that there is; this one keeps the text.
class MessageCollector : public wxMessageOutput
{
public:
    MessageCollector() : m_previous(wxMessageOutput::Set(this)) {}
    ~MessageCollector() override { wxMessageOutput::Set(m_previous); }
    MessageCollector(const MessageCollector&) = delete;
    MessageCollector& operator=(const MessageCollector&) = delete;
    void Output(const wxString& text) override { m_text += text; }
    wxString FirstLine() const { return m_text.Strip(wxString::both).BeforeFirst('\n'); }

private:
    wxMessageOutput* const m_previous; // not owned
    wxString m_text;
};

} // namespace

wxString FromBytes(const std::string& bytes)
{
    return wxString(bytes.data(), ArgumentConversion(), bytes.size());
}

std::string ToBytes(const wxString& text)
{
    const wxScopedCharBuffer bytes = text.mb_str(ArgumentConversion());
    return std::string(bytes.data(), bytes.length());
}

void RefuseUsage(const wxString& text)
{
    throw Failure{kExitUsage, text};
}

void ParseCommandLine(wxCmdLineParser& parser, const wxCmdLineEntryDesc* entries,
                      const std::vector<wxString>& arguments)
{
    std::vector<wxString> texts{QX_PROGRAM_NAME};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<wxChar*> pointers; // the parser copies the texts and changes nothing
    pointers.reserve(texts.size());
    for (wxString& text : texts)
        pointers.push_back(const_cast<wxChar*>(text.wc_str()));

    parser.SetCmdLine(static_cast<int>(pointers.size()), pointers.data());
    parser.SetSwitchChars("-");
    parser.SetDesc(entries);
    const MessageCollector messages;
    if (parser.Parse(false) == 0)
        return;
    const wxString reason = messages.FirstLine();
    RefuseUsage((reason.empty() ? wxString("the command line cannot be read") : reason) + " (see --help)");
}

wxString DescribeOptions(const wxCmdLineEntryDesc* entries)
{
    wxString text;
    for (const wxCmdLineEntryDesc* entry = entries; entry->kind != wxCMD_LINE_NONE; ++entry) {
        if (entry->kind != wxCMD_LINE_OPTION && entry->kind != wxCMD_LINE_SWITCH)
            continue;
        wxString names = entry->shortName ? wxString("-") + entry->shortName + ", --" : wxString("    --");
        names += entry->longName;
        if (entry->kind == wxCMD_LINE_OPTION)
            names += " VALUE";
        text += "  " + names.Pad(names.length() < 24 ? 24 - names.length() : 1) + wxString(entry->description) + "\n";
    }
    return text;
}

} // namespace tool

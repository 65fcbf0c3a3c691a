// Input by descriptor, so that waiting for it can be interrupted. MIT licence.
#include "textinput.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#include <wx/log.h>
#include <wx/strconv.h>

#include "../common/interrupt.h"
#include "exitstatus.h"
#include "htmltext.h"
#include "speech/tts.h"

namespace say
{
namespace
{

constexpr int kInputPollMs = 100;
constexpr size_t kReadBytes = 65536;

struct ByteOrderMark {
    const char* bytes;
    size_t size;
    const char* name;
    wxFontEncoding encoding;
    size_t unitBytes;
};

// UTF-32LE begins with the mark of UTF-16LE, hence the order.
const ByteOrderMark kMarks[] = {
    {"\xEF\xBB\xBF", 3, "UTF-8", wxFONTENCODING_UTF8, 1},
    {"\xFF\xFE\x00\x00", 4, "UTF-32", wxFONTENCODING_UTF32LE, 4},
    {"\x00\x00\xFE\xFF", 4, "UTF-32", wxFONTENCODING_UTF32BE, 4},
    {"\xFF\xFE", 2, "UTF-16", wxFONTENCODING_UTF16LE, 2},
    {"\xFE\xFF", 2, "UTF-16", wxFONTENCODING_UTF16BE, 2},
};

const ByteOrderMark* FindMark(const std::string& bytes)
{
    for (const ByteOrderMark& mark : kMarks)
        if (bytes.size() >= mark.size && std::memcmp(bytes.data(), mark.bytes, mark.size) == 0)
            return &mark;
    return nullptr;
}

wxString Convert(wxFontEncoding encoding, const char* bytes, size_t size)
{
    switch (encoding) {
    case wxFONTENCODING_UTF16LE:
        return wxString(bytes, wxMBConvUTF16LE(), size);
    case wxFONTENCODING_UTF16BE:
        return wxString(bytes, wxMBConvUTF16BE(), size);
    case wxFONTENCODING_UTF32LE:
        return wxString(bytes, wxMBConvUTF32LE(), size);
    case wxFONTENCODING_UTF32BE:
        return wxString(bytes, wxMBConvUTF32BE(), size);
    default:
        return wxString(bytes, wxConvUTF8, size);
    }
}

bool DecodeMarked(const std::string& bytes, const ByteOrderMark& mark, wxString& text)
{
    const size_t size = bytes.size() - mark.size;
    if (size % mark.unitBytes != 0)
        return false;
    text = Convert(mark.encoding, bytes.data() + mark.size, size);
    return size == 0 || !text.empty();
}

wxString SystemText(int error)
{
    return wxString::FromUTF8(std::strerror(error));
}

class Input
{
public:
    Input(int file, const wxString& name) : m_file(file), m_name(name) {}
    ~Input()
    {
        if (m_file > STDERR_FILENO)
            close(m_file);
    }
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    std::string ReadAll()
    {
        if (m_file < 0)
            Fail(errno);
        std::string bytes;
        std::string block(kReadBytes, '\0');
        for (;;) {
            WaitUntilReadable();
            const ssize_t count = read(m_file, &block[0], block.size());
            if (count == 0)
                return bytes;
            if (count > 0)
                bytes.append(block, 0, static_cast<size_t>(count));
            else if (errno != EINTR && errno != EAGAIN)
                Fail(errno);
        }
    }

private:
    void WaitUntilReadable() const
    {
        pollfd entry{m_file, POLLIN, 0};
        do {
            ThrowIfInterrupted();
        } while (poll(&entry, 1, kInputPollMs) <= 0); // a signal counts as no input
    }

    [[noreturn]] void Fail(int error) const { throw Failure{kExitFile, m_name + ": " + SystemText(error)}; }

    const int m_file;
    const wxString m_name;
};

wxString NameOf(const std::string& path)
{
    const wxString name = wxString::FromUTF8(path.c_str());
    return name.empty() ? wxString("the input file") : name;
}

std::string ReadSource(const Options& options, wxString& name)
{
    switch (options.source) {
    case TextSource::kFile:
        name = NameOf(options.file);
        return ReadFile(options.file);
    case TextSource::kStandardInput:
        name = "standard input";
        return Input(STDIN_FILENO, name).ReadAll();
    default:
        name = "the arguments";
        return options.text;
    }
}

bool IsText(const wxString& text, wxString& reason)
{
    if (text.find(wxUniChar(0)) == wxString::npos)
        return true;
    reason = "binary data, not text";
    return false;
}

// False for a name that is unknown or cannot be right. Browsers, and so authors, read Latin-1 as what Windows makes
// of it, and a document whose letters can be read byte by byte is not in UTF-16.
bool DecodeDeclared(const std::string& bytes, const std::string& charset, wxString& text)
{
    const auto begins = [&charset](const char* name) { return charset.compare(0, std::strlen(name), name) == 0; };
    if (charset.empty() || begins("utf") || begins("ucs") || begins("iso-10646"))
        return false;
    const bool isLatin1 = charset == "iso-8859-1" || charset == "latin1" || charset == "us-ascii" || charset == "ascii";
    const wxLogNull noLog;
    const wxCSConv conversion(isLatin1 ? wxString("windows-1252") : wxString::FromUTF8(charset));
    if (!conversion.IsOk())
        return false;
    text = wxString(bytes.data(), conversion, bytes.size());
    return !text.empty();
}

} // namespace

std::string ReadFile(const std::string& path)
{
    // Not to block on a FIFO that nobody writes to yet: poll waits for it, and a signal ends that.
    return Input(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK), NameOf(path)).ReadAll();
}

bool DecodeText(const std::string& bytes, wxString& text, wxString& reason)
{
    const ByteOrderMark* const mark = FindMark(bytes);
    if (mark) {
        if (!DecodeMarked(bytes, *mark, text)) {
            reason = wxString("not valid ") + mark->name;
            return false;
        }
    } else {
        text = wxString(bytes.data(), wxConvUTF8, bytes.size());
        if (text.empty() && !bytes.empty())
            text = wxString(bytes.data(), wxConvISO8859_1, bytes.size());
    }
    return IsText(text, reason);
}

bool DecodeHtml(const std::string& bytes, wxString& text, wxString& reason)
{
    if (!FindMark(bytes) && DecodeDeclared(bytes, FindDeclaredCharset(bytes), text))
        return IsText(text, reason);
    return DecodeText(bytes, text, reason);
}

wxString ProtectPlainText(const wxString& text)
{
    return text.StartsWith("<") ? " " + text : text;
}

wxString DeclareXml(const wxString& text)
{
    return wxTextToSpeech::IsXmlString(text) ? text : "<?xml version=\"1.0\"?>" + text;
}

wxString ReadText(Options& options)
{
    wxString name;
    wxString text;
    wxString reason;
    const std::string bytes = ReadSource(options, name);
    bool isText = DecodeText(bytes, text, reason);
    if (isText && options.isFormOpen)
        options.inputForm = FindInputForm(text);
    if (options.inputForm == InputForm::kHtml)
        isText = DecodeHtml(bytes, text, reason);
    if (!isText)
        throw Failure{kExitFile, name + ": " + reason};
    if (text.Strip(wxString::both).empty())
        throw Failure{kExitUsage, "nothing to say: the text is empty"};
    RequireHtmlForHeadings(options);
    return text;
}

} // namespace say

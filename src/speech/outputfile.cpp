// A stream whose every failure is told. MIT licence.
#include "speech/outputfile.h"

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <wx/file.h>
#include <wx/log.h>
#include <wx/translation.h>

#include "speech/cloudfailure.h"

namespace qxspeech
{

OutputFile::OutputFile(const wxString& path, FileAccess access) : m_path(path)
{
    if (access == FileAccess::kOwner) {
        const wxLogNull noLog; // the stream fails then, too
        wxFile().Create(path, true, wxS_IRUSR | wxS_IWUSR);
    }
    m_file.open(std::filesystem::u8path(std::string(path.utf8_str())), std::ios::binary | std::ios::trunc);
    Check();
}

void OutputFile::Write(const void* bytes, size_t count)
{
    m_file.write(static_cast<const char*>(bytes), static_cast<std::streamsize>(count));
    Check();
}

void OutputFile::Close()
{
    m_file.close();
    Check();
}

void OutputFile::Check() const
{
    if (m_file)
        return;
    const std::system_error error(errno, std::generic_category(), std::string(m_path.utf8_str()));
    const wxString reason = wxString::FromUTF8(error.code().message().c_str());
    throw CloudFailure(error.what(), MakeFailure(CloudPeer(), wxTTS_FAILURE_STORAGE,
                                                 wxString::Format(_("%s cannot be written: %s"), m_path, reason)));
}

} // namespace qxspeech

// A folder among the temporary files. MIT licence.
#include "audiofolder.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <unistd.h>

#include "exitstatus.h"
#include "leftovers.h"
#include "temporaryfiles.h"

namespace say
{

AudioFolder::~AudioFolder()
{
    Remove();
}

void AudioFolder::Make()
{
    // Another process that tidies up may take the folder away before it is locked. A file system without locks is no
    // reason to refuse.
    do {
        m_path = TemporaryFolder() + "/" + kTemporaryPrefix + "audio-XXXXXX";
        if (!mkdtemp(&m_path[0])) {
            const int error = errno;
            m_path.clear();
            throw Failure{kExitFile, wxString::FromUTF8(TemporaryFolder().c_str()) + ": " +
                                         wxString::FromUTF8(std::strerror(error))};
        }
        m_lock = HoldLock(m_path);
    } while (m_lock < 0 && access(m_path.c_str(), F_OK) != 0);
}

void AudioFolder::Remove()
{
    std::error_code ignored;
    if (!m_path.empty())
        std::filesystem::remove_all(m_path, ignored);
    if (m_lock >= 0)
        close(m_lock);
    m_lock = -1;
    m_path.clear();
}

} // namespace say

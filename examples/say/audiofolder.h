// A folder for the audio that is played, gone with the process however that ends. MIT licence.
#ifndef QXSPEECH_EXAMPLES_SAY_AUDIOFOLDER_H
#define QXSPEECH_EXAMPLES_SAY_AUDIOFOLDER_H

#include <string>

namespace say
{

// In a folder of its own, the audio can be removed even while the library still writes it.
class AudioFolder
{
public:
    // Not made yet.
    AudioFolder() = default;
    ~AudioFolder();
    AudioFolder(const AudioFolder&) = delete;
    AudioFolder& operator=(const AudioFolder&) = delete;

    // A new folder among the temporary files, which only the user can enter. Once. Throws Failure (kExitFile).
    void Make();
    // With all that is in it.
    void Remove();

    const std::string& Path() const { return m_path; } // empty for none

private:
    std::string m_path;
    int m_lock = -1; // held on the folder while it is in use
};

} // namespace say

#endif

// A private folder that is removed with everything in it. MIT licence.
#ifndef QXSPEECH_TESTS_SUPPORT_SCRATCH_DIR_H
#define QXSPEECH_TESTS_SUPPORT_SCRATCH_DIR_H

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

class ScratchDir
{
public:
    ScratchDir()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "qxspeech-test-XXXXXX").string();
        if (!mkdtemp(pattern.data()))
            throw std::runtime_error("no scratch folder");
        m_path = pattern;
    }
    ~ScratchDir()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    std::string operator/(const std::string& name) const { return m_path + "/" + name; }
    const std::string& Path() const { return m_path; }

private:
    std::string m_path;
};

#endif

// A private X server without a screen, and what is to be seen on it. MIT licence.
#ifndef QXSPEECH_TESTS_MEDIA_XSERVER_H
#define QXSPEECH_TESTS_MEDIA_XSERVER_H

#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

#include "support/scratch_dir.h"

// What the screen shows, pixel by pixel as 0xRRGGBB.
struct Screenshot {
    int width = 0;
    int height = 0;
    std::vector<uint32_t> pixels;
};

// Starts Xvfb, which keeps its picture in a file, and ends it. Ok() tells whether it runs; Name() is for DISPLAY.
class XServer
{
public:
    XServer();
    ~XServer();
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;

    bool Ok() const { return !m_name.empty(); }
    const std::string& Name() const { return m_name; }
    // Empty if the file cannot be read.
    Screenshot Look() const;

private:
    ScratchDir m_folder;
    std::string m_name;
    pid_t m_server = -1;
};

#endif

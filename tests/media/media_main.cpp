// Like the common main, but the program can also run as the speaking child of its own tests. MIT licence.
#include "support/run_tests.h"

#include <clocale>
#include <cstdio>
#include <cstring>
#include <wx/init.h>

int SpeakForever(const char* path, const char* sentences);

int main(int argc, char** argv)
{
    std::setlocale(LC_ALL, "");
    wxInitializer wx;
    if (!wx.IsOk())
        return 1;
    if (argc == 4 && std::strcmp(argv[1], "--speak-forever") == 0)
        return SpeakForever(argv[2], argv[3]);
    testing::InitGoogleTest(&argc, argv);
    return RunTests();
}

// Starts a test program as a console host would: locale from the environment, wxWidgets started, no display. MIT
// licence.
#include "support/run_tests.h"

#include <clocale>
#include <wx/init.h>
#include <wx/log.h>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    std::setlocale(LC_ALL, "");
    wxInitializer wx;
    if (!wx.IsOk()) {
        fprintf(stderr, "wxWidgets did not start\n");
        return 1;
    }
    return RunTests();
}

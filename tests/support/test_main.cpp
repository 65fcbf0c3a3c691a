// Starts a test program as a console host would: locale from the environment, wxWidgets started, no display. MIT
// licence.
#include <clocale>
#include <gtest/gtest.h>
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
    return RUN_ALL_TESTS();
}

// Numbers under a host's locale that writes a decimal comma. MIT licence.
#include <clocale>

#include <gtest/gtest.h>

#include "json/jsondocument.h"
#include "json/jsonwriter.h"

TEST(JsonLocale, HostsDecimalCommaReachesNeitherTextNorNumbers)
{
    if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr)
        GTEST_SKIP() << "localedef could not make a locale with a decimal comma";
    ASSERT_STREQ(std::localeconv()->decimal_point, ",");
    wxJSONDocument document;
    const wxJSONValue list = document.Parse("[0.5,-1.25e-7]");
    wxString written;
    wxJSONWriter(0, 0, 3).Write(list, written);
    const wxString text = list.ItemAt(0).AsString();
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(written, "[0.5,-1.25e-07]");
    EXPECT_EQ(text, "0.5");
}

#pragma once

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <locale>
#include <string>

#include <gtest/gtest.h>

/// Sets a locale with a decimal comma for the whole process while it lives, for the C runtime and
/// for the standard streams. The build makes the locale, where it can; only then is the class there.
#ifdef LATTIQ_COMMA_LOCALE_PATH
class comma_locale {
public:
    comma_locale()
    {
        setenv("LOCPATH", LATTIQ_COMMA_LOCALE_PATH, 1);
        previous = std::locale::global(std::locale("de_DE.UTF-8"));
        char text[16];
        std::snprintf(text, sizeof text, "%.1f", 1.5);
        EXPECT_EQ(std::string(text), "1,5");
    }
    ~comma_locale()
    {
        std::locale::global(previous);
        std::setlocale(LC_ALL, "C");
    }
    comma_locale(const comma_locale&) = delete;
    comma_locale& operator=(const comma_locale&) = delete;

private:
    std::locale previous;
};
#endif

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
    comma_locale() : previous(std::locale::global(std::locale(std::locale(), new comma)))
    {
        setenv("LOCPATH", LATTIQ_COMMA_LOCALE_PATH, 1);
        EXPECT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
        char text[16];
        std::snprintf(text, sizeof text, "%.1f", 1.5);
        EXPECT_EQ(std::string(text), "1,5");
    }
    ~comma_locale()
    {
        std::setlocale(LC_ALL, "C");
        std::locale::global(previous);
    }
    comma_locale(const comma_locale&) = delete;
    comma_locale& operator=(const comma_locale&) = delete;

private:
    struct comma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };

    std::locale previous;
};
#endif

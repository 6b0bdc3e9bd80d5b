#pragma once

#include <clocale> // NOLINT(modernize-deprecated-headers): the POSIX part of it

namespace kz3::lattiq::detail {

/// Pins the "C" locale for this thread while it lives, so that the runtime's scanner takes a decimal
/// point whatever the process has set. Other threads see nothing of it.
class c_locale {
public:
    c_locale()
        : plain(newlocale(LC_ALL_MASK, "C", locale_t(nullptr))),
          previous(plain == locale_t(nullptr) ? locale_t(nullptr) : uselocale(plain))
    {
    }
    ~c_locale()
    {
        if (plain == locale_t(nullptr)) return;
        uselocale(previous);
        freelocale(plain);
    }
    c_locale(const c_locale&) = delete;
    c_locale& operator=(const c_locale&) = delete;

private:
    locale_t plain;
    locale_t previous;
};

} // namespace kz3::lattiq::detail

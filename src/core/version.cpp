#include <kz3/lattiq/core.h>

namespace kz3::lattiq {

const char* version()
{
    return "4.1.0";
}

} // namespace kz3::lattiq

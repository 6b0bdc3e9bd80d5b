#include <cstdlib>

#include <kz3/vector_num.h>

// Alone in this unit, so that a program that defines the pair itself takes the place of both.

namespace kz3 {

char* __vector_num_alloc(std::size_t bytes) // NOLINT(bugprone-reserved-identifier)
{
    return static_cast<char*>(std::malloc(bytes)); // NOLINT(cppcoreguidelines-no-malloc)
}

void __vector_num_free(char* block) // NOLINT(bugprone-reserved-identifier)
{
    std::free(block); // NOLINT(cppcoreguidelines-no-malloc)
}

} // namespace kz3

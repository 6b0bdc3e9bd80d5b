#include <kz3/lattiq/core.h>

#include <type_traits>

#include <gtest/gtest.h>

TEST(Version, IsTheTextOfTheRelease)
{
    EXPECT_STREQ(kz3::lattiq::version(), "4.1.0");
    EXPECT_TRUE((std::is_same_v<decltype(kz3::lattiq::version()), const char*>));
}

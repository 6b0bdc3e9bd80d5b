#include "core/stop.h"

#include <csignal>

#include <gtest/gtest.h>

TEST(Stop, EndsTheProcessByAbort)
{
    EXPECT_EXIT(kz3::lattiq::detail::stop(), testing::KilledBySignal(SIGABRT), "");
}

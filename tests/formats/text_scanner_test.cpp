#include "formats/text_scanner.h"

#include <cstdio>
#include <fcntl.h>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>

#include "formats/file.h"
#include "support/files.h"

using kz3::lattiq::detail::file;
using kz3::lattiq::detail::text_scanner;

namespace {

// From now on reading from the stream fails.
void break_reading(const file& in)
{
    const int broken = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    ASSERT_GE(broken, 0);
    ASSERT_GE(::dup2(broken, fileno(in.get())), 0);
    ::close(broken);
}

TEST(TextScanner, TakesALastLineWithoutALineEndButNotOneThatReadingBrokeOff)
{
    const temporary_file text("abc");
    for (const bool broken : {false, true}) {
        const file in(text.name(), "r");
        ASSERT_TRUE(in);
        text_scanner scanner(in.get());
        ASSERT_TRUE(scanner.match("a"));
        if (broken) {
            ASSERT_NO_FATAL_FAILURE(break_reading(in));
        }
        EXPECT_EQ(scanner.skip_line(), !broken);
        EXPECT_FALSE(scanner.skip_line());
    }
}

TEST(TextScanner, StaysAtTheEndOnceMetThoughTheFileGrows)
{
    const temporary_file text("1\n");
    const file in(text.name(), "r");
    ASSERT_TRUE(in);
    text_scanner scanner(in.get());
    double value = 0;
    ASSERT_TRUE(scanner.number(value));
    EXPECT_FALSE(scanner.number(value));
    text.write("1\n2\n3\n");
    EXPECT_FALSE(scanner.number(value));
    EXPECT_FALSE(scanner.skip_line());
    EXPECT_EQ(value, 1);
}

} // namespace

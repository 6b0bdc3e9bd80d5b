#include "formats/line_reader.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/time.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "formats/file.h"
#include "support/files.h"

using kz3::lattiq::detail::file;
using kz3::lattiq::detail::line_reader;

namespace {

TEST(LineReader, LosesALastLineThatReadingBrokeOff)
{
    const temporary_file text("first\nsecond");
    for (const bool broken : {false, true}) {
        const file in(text.name(), "r");
        ASSERT_TRUE(in);
        line_reader lines(in.get());
        std::string_view line;
        ASSERT_TRUE(lines.next(line));
        EXPECT_EQ(line, "first");
        if (broken) {
            const int no_reading = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
            ASSERT_GE(::dup2(no_reading, fileno(in.get())), 0);
            ::close(no_reading);
        }
        EXPECT_EQ(lines.next(line), !broken);
        EXPECT_FALSE(lines.next(line));
    }
}

TEST(LineReader, StaysAtTheEndOnceMetThoughTheFileGrows)
{
    const temporary_file text("first");
    const file in(text.name(), "r");
    ASSERT_TRUE(in);
    line_reader lines(in.get());
    std::string_view line;
    ASSERT_TRUE(lines.next(line));
    EXPECT_EQ(line, "first");
    EXPECT_TRUE(lines.at_end());
    text.write("first\nsecond\n");
    EXPECT_FALSE(lines.next(line));
}

// The third signal writes what the reader waits for; the two before only interrupt it.
int to_reader = -1;
volatile std::sig_atomic_t signals = 0;

void interrupt(int)
{
    signals = signals + 1;
    if (signals == 3 && ::write(to_reader, "line\n", 5) != 5) std::abort();
}

TEST(LineReader, ReadsOnWhereASignalInterruptsIt)
{
    std::array<int, 2> pipe_ends{};
    ASSERT_EQ(::pipe(pipe_ends.data()), 0);
    to_reader = pipe_ends[1];
    signals = 0;
    struct sigaction action {};
    struct sigaction before {};
    action.sa_handler = interrupt; // without SA_RESTART
    ASSERT_EQ(::sigaction(SIGALRM, &action, &before), 0);
    const itimerval every_millisecond{{0, 1000}, {0, 1000}};
    const itimerval never{};

    std::FILE* in = ::fdopen(pipe_ends[0], "r");
    line_reader lines(in);
    std::string_view line;
    ASSERT_EQ(::setitimer(ITIMER_REAL, &every_millisecond, nullptr), 0);
    const bool found = lines.next(line);
    ASSERT_EQ(::setitimer(ITIMER_REAL, &never, nullptr), 0);
    EXPECT_TRUE(found);
    EXPECT_EQ(line, "line");
    EXPECT_GE(signals, 3);

    ASSERT_EQ(::sigaction(SIGALRM, &before, nullptr), 0);
    std::fclose(in);
    ::close(to_reader);
}

} // namespace

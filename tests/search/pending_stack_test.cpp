#include "search/pending_stack.h"

#include <new>

#include "support/allocation.h"
#include "support/same.h"

using kz3::lattiq::detail::pending_stack;

TEST(PendingStack, GivesItemsBackInReverse)
{
    pending_stack<int, 3> stack;
    EXPECT_TRUE(stack.empty());
    for (int i = 0; i < 8; ++i) stack.push(i);
    for (int i = 7; i >= 5; --i) EXPECT_EQ(stack.pop(), i);
    stack.push(50);
    stack.push(60);
    EXPECT_EQ(stack.pop(), 60);
    EXPECT_EQ(stack.pop(), 50);
    for (int i = 4; i >= 1; --i) EXPECT_EQ(stack.pop(), i);
    stack.push(10);
    EXPECT_EQ(stack.pop(), 10);
    EXPECT_FALSE(stack.empty());
    EXPECT_EQ(stack.pop(), 0);
    EXPECT_TRUE(stack.empty());
}

TEST(PendingStack, GivesBackItemsThatWereSetInPlace)
{
    pending_stack<int, 2> stack;
    for (int i = 0; i < 5; ++i) stack.push() = i;
    for (int i = 4; i >= 0; --i) EXPECT_EQ(stack.pop(), i);
    EXPECT_TRUE(stack.empty());
}

TEST(PendingStack, AllocatesOnlyBeyondItsOwnItems)
{
    pending_stack<int, 3> stack;
    const allocation::fail_new memory(1, true);
    for (int i = 0; i < 3; ++i) stack.push(i);
    EXPECT_FALSE(memory.fired());
    bool thrown = false;
    try {
        stack.push(3);
    } catch (const std::bad_alloc&) {
        thrown = true;
    }
    EXPECT_TRUE(thrown);
    EXPECT_EQ(stack.pop(), 2);
}

#include <kz3/ref_counted.h>

#include <thread>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>
#include <kz3/dense1D.h>

using kz3::Ptr;
using kz3::ref_counted;

namespace {

struct probe : ref_counted {
    explicit probe(int& destroyed) : destroyed_(destroyed) {}
    ~probe() override { ++destroyed_; }

private:
    int& destroyed_;
};

} // namespace

TEST(RefCounted, HasAVirtualTableAndA32BitSignedCount)
{
    EXPECT_TRUE(std::has_virtual_destructor_v<ref_counted>);
    EXPECT_TRUE((std::is_same_v<decltype(ref_counted::count)::value_type, std::int32_t>));
    EXPECT_EQ(sizeof(ref_counted::count), 4u);
    EXPECT_EQ(sizeof(ref_counted), 16u);
    const ref_counted object;
    EXPECT_EQ(reinterpret_cast<const char*>(&object.count) - reinterpret_cast<const char*>(&object),
              8);
}

TEST(RefCounted, StartsWithoutHolders)
{
    const ref_counted object;
    EXPECT_EQ(object.count, 0);
}

TEST(Ptr, IsOneWordAndMayBeNull)
{
    EXPECT_EQ(sizeof(Ptr<probe>), sizeof(void*));
    const Ptr<probe> nothing;
    EXPECT_EQ(nothing.get(), nullptr);
    EXPECT_FALSE(nothing);
    const Ptr<probe> copy(nothing);
    EXPECT_FALSE(copy);
}

TEST(Ptr, CountsHoldersAndDestroysWithTheLast)
{
    int destroyed = 0;
    auto* object = new probe(destroyed);
    {
        const Ptr<probe> a(object);
        EXPECT_EQ(object->count, 1);
        {
            const Ptr<probe> b(a);
            EXPECT_EQ(object->count, 2);
            EXPECT_EQ(b.get(), object);
        }
        EXPECT_EQ(object->count, 1);
        EXPECT_EQ(destroyed, 0);
    }
    EXPECT_EQ(destroyed, 1);
}

TEST(Ptr, DestroysThroughTheVirtualDestructor)
{
    int destroyed = 0;
    {
        const Ptr<ref_counted> base(new probe(destroyed));
        EXPECT_EQ(destroyed, 0);
    }
    EXPECT_EQ(destroyed, 1);
}

TEST(Ptr, AssignmentTakesTheNewObjectAndReleasesTheOld)
{
    int first_destroyed = 0;
    int second_destroyed = 0;
    auto* second = new probe(second_destroyed);
    Ptr<probe> p(new probe(first_destroyed));
    EXPECT_EQ(&(p = second), &p);
    EXPECT_EQ(p.get(), second);
    EXPECT_EQ(second->count, 1);
    EXPECT_EQ(first_destroyed, 1);
    p = static_cast<probe*>(nullptr);
    EXPECT_EQ(second_destroyed, 1);
    EXPECT_FALSE(p);
}

TEST(Ptr, AssignmentOfTheObjectAlreadyHeldKeepsIt)
{
    int destroyed = 0;
    Ptr<probe> p(new probe(destroyed));
    p = p.get();
    const Ptr<probe>& itself = p;
    p = itself;
    EXPECT_EQ(destroyed, 0);
    EXPECT_EQ(p->count, 1);
}

TEST(Ptr, DestroysAnObjectWhoseCountWentNegative)
{
    int destroyed = 0;
    {
        const Ptr<probe> p(new probe(destroyed));
        p->count = -3;
    }
    EXPECT_EQ(destroyed, 1);
}

TEST(Ptr, LeavesAnObjectThatOthersHold)
{
    int destroyed = 0;
    auto* object = new probe(destroyed);
    {
        const Ptr<probe> p(object);
        object->count = 2;
    }
    EXPECT_EQ(destroyed, 0);
    EXPECT_EQ(object->count, 1);
    delete object;
}

TEST(Ptr, CountsFromManyThreadsAtOnce)
{
    int destroyed = 0;
    {
        const Ptr<probe> shared(new probe(destroyed));
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([&shared] {
                for (int i = 0; i < 20000; ++i) {
                    const Ptr<probe> a(shared);
                    Ptr<probe> b;
                    b = a;
                }
            });
        for (auto& thread : threads) thread.join();
        EXPECT_EQ(shared->count, 1);
        EXPECT_EQ(destroyed, 0);
    }
    EXPECT_EQ(destroyed, 1);
}

TEST(Ptr, TheLastOfManyThreadsDestroys)
{
    for (int round = 0; round < 200; ++round) {
        int destroyed = 0;
        {
            std::vector<std::thread> threads;
            const Ptr<probe> shared(new probe(destroyed));
            for (int t = 0; t < 3; ++t) threads.emplace_back([held = shared] { (void)held; });
            for (auto& thread : threads) thread.join();
        }
        ASSERT_EQ(destroyed, 1);
    }
}

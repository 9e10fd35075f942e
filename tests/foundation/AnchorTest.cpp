#include <kqx/Anchor.h>

#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using db2test::Random;
using kqx::Anchor;
using kqx::AnchorHandle;

/// Derives from another base first, so that its address and its anchor's differ.
struct Base
{
    int first = 1;
};

struct Thing : Base, Anchor
{
    int value = 7;
};

/// Holds a handle to a type that is defined later only.
struct Holder
{
    AnchorHandle<struct Later> handle;
};

struct Later : Anchor
{
};

TEST(AnchorTest, IsOnePointerWideAndNotVirtual)
{
    EXPECT_EQ(sizeof(Anchor), sizeof(void*));
    EXPECT_FALSE(std::is_polymorphic_v<Anchor>);
}

TEST(AnchorTest, HandleReachesTheObject)
{
    Thing thing;
    EXPECT_FALSE(thing.hasHandles());
    const AnchorHandle<Thing> handle(&thing);
    EXPECT_TRUE(thing.hasHandles());
    EXPECT_EQ(handle.get(), &thing);
    EXPECT_EQ(handle.get()->value, 7);
    EXPECT_TRUE(static_cast<bool>(handle));
}

TEST(AnchorTest, NullHandles)
{
    const AnchorHandle<Thing> empty;
    const AnchorHandle<Thing> null(nullptr);
    EXPECT_EQ(empty.get(), nullptr);
    EXPECT_EQ(null.get(), nullptr);
    EXPECT_FALSE(static_cast<bool>(null));
    const AnchorHandle<Thing> copy(null);
    EXPECT_EQ(copy.get(), nullptr);
}

TEST(AnchorTest, DestroyingTheObjectClearsItsHandles)
{
    auto thing = std::make_unique<Thing>();
    const AnchorHandle<Thing> first(thing.get());
    const AnchorHandle<Thing> second(first);
    thing.reset();
    EXPECT_EQ(first.get(), nullptr);
    EXPECT_EQ(second.get(), nullptr);
    EXPECT_FALSE(static_cast<bool>(second));
}

TEST(AnchorTest, ClearHandlesMakesEveryHandleNull)
{
    Thing thing;
    const AnchorHandle<Thing> first(&thing);
    AnchorHandle<Thing> second(&thing);
    thing.clearHandles();
    EXPECT_FALSE(thing.hasHandles());
    EXPECT_EQ(first.get(), nullptr);
    second = &thing; // and may point again
    EXPECT_EQ(second.get(), &thing);
    thing.clearHandles();
    thing.clearHandles();
    EXPECT_EQ(second.get(), nullptr);
}

TEST(AnchorTest, DestroyedAndResetHandlesLeaveTheObject)
{
    Thing thing;
    {
        const AnchorHandle<Thing> handle(&thing);
    }
    EXPECT_FALSE(thing.hasHandles());
    AnchorHandle<Thing> handle(&thing);
    handle.reset();
    EXPECT_FALSE(thing.hasHandles());
    EXPECT_EQ(handle.get(), nullptr);
    handle.reset();
    EXPECT_EQ(handle.get(), nullptr);
}

TEST(AnchorTest, AssignmentChangesTheObject)
{
    Thing first;
    Thing second;
    AnchorHandle<Thing> handle(&first);
    const AnchorHandle<Thing> other(&second);
    handle = other;
    EXPECT_EQ(handle.get(), &second);
    EXPECT_FALSE(first.hasHandles());
    const AnchorHandle<Thing>& self = handle;
    handle = self;
    EXPECT_EQ(handle.get(), &second);
}

TEST(AnchorTest, MovingTakesTheSourcesPlace)
{
    Thing thing;
    AnchorHandle<Thing> source(&thing);
    AnchorHandle<Thing> target(std::move(source));
    EXPECT_EQ(target.get(), &thing);
    EXPECT_EQ(source.get(), nullptr); // NOLINT: the moved-from state is documented
    AnchorHandle<Thing> third;
    third = std::move(target);
    EXPECT_EQ(third.get(), &thing);
    EXPECT_EQ(target.get(), nullptr); // NOLINT
    third.reset();
    EXPECT_FALSE(thing.hasHandles());
}

TEST(AnchorTest, CopyingAnObjectCopiesNoHandles)
{
    Thing first;
    const AnchorHandle<Thing> handle(&first);
    const Thing second(first);
    EXPECT_FALSE(second.hasHandles());
    Thing third;
    const AnchorHandle<Thing> thirdHandle(&third);
    third = first;
    EXPECT_EQ(handle.get(), &first);
    EXPECT_EQ(thirdHandle.get(), &third);
    third = Thing();
    EXPECT_EQ(thirdHandle.get(), &third);
}

TEST(AnchorTest, HandlesToIncompleteTypesAreMembers)
{
    Later later;
    Holder holder;
    EXPECT_EQ(holder.handle.get(), nullptr);
    holder.handle = &later;
    EXPECT_EQ(holder.handle.get(), &later);
}

TEST(AnchorTest, ConstantObjectsHaveHandles)
{
    const Thing thing;
    const AnchorHandle<const Thing> handle(&thing);
    EXPECT_EQ(handle.get(), &thing);
    EXPECT_TRUE(thing.hasHandles());
}

/// Random edits of handles against plain pointers.
TEST(AnchorTest, RandomEditsAgreeWithPlainPointers)
{
    Random random = Random::fresh();
    SCOPED_TRACE(random.description());
    constexpr std::size_t kObjects = 5;
    constexpr std::size_t kHandles = 12;
    std::vector<std::unique_ptr<Thing>> things(kObjects);
    std::vector<AnchorHandle<Thing>> handles(kHandles);
    std::vector<Thing*> model(kHandles, nullptr);
    for (int step = 0; step < 5000; ++step)
    {
        const std::size_t object = random.below(kObjects);
        const std::size_t handle = random.below(kHandles);
        const std::size_t other = random.below(kHandles);
        switch (random.below(6))
        {
        case 0:
            std::replace(model.begin(), model.end(), things[object].get(), static_cast<Thing*>(nullptr));
            things[object] = random.chance(1, 3) ? nullptr : std::make_unique<Thing>();
            break;
        case 1:
            handles[handle] = things[object].get();
            model[handle] = things[object].get();
            break;
        case 2:
            handles[handle] = handles[other];
            model[handle] = model[other];
            break;
        case 3:
            if (handle == other)
                break;
            handles[handle] = std::move(handles[other]);
            model[handle] = std::exchange(model[other], nullptr);
            break;
        case 4:
            handles[handle].reset();
            model[handle] = nullptr;
            break;
        default:
            if (things[object] == nullptr)
                break;
            things[object]->clearHandles();
            std::replace(model.begin(), model.end(), things[object].get(), static_cast<Thing*>(nullptr));
            break;
        }
        for (std::size_t i = 0; i < kHandles; ++i)
            ASSERT_EQ(handles[i].get(), model[i]) << "step " << step;
        for (const std::unique_ptr<Thing>& thing : things)
        {
            const bool isPointedTo = std::count(model.begin(), model.end(), thing.get()) > 0;
            ASSERT_TRUE(thing == nullptr || thing->hasHandles() == isPointedTo);
        }
    }
}

} // namespace

#include "Foundation/QXSharedScope.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string destroyed; // the names, in order

template<char name> struct Instance {
    Instance() = default;
    ~Instance() { destroyed += name; }
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;
};

template<char name> std::shared_ptr<Instance<name>> shared()
{
    return QXSharedScope::current().instance<Instance<name>>([] { return std::make_shared<Instance<name>>(); });
}

TEST(QXSharedScope, MakesAnInstanceOnFirstUseAndGivesItAgain)
{
    const QXSharedScope scope;
    EXPECT_EQ(shared<'a'>(), shared<'a'>());
}

TEST(QXSharedScope, DestroysItsInstancesInTheOppositeOrder)
{
    {
        const QXSharedScope scope;
        shared<'a'>();
        shared<'b'>();
        shared<'c'>();
        destroyed.clear();
    }
    EXPECT_EQ(destroyed, "cba");
}

TEST(QXSharedScope, AnInstanceThatOneIsMadeFromOutlivesIt)
{
    {
        QXSharedScope scope;
        scope.instance<Instance<'a'>>([] {
            shared<'b'>();
            return std::make_shared<Instance<'a'>>();
        });
        destroyed.clear();
    }
    EXPECT_EQ(destroyed, "ab");
}

TEST(QXSharedScope, AnInnerScopeHasInstancesOfItsOwn)
{
    const QXSharedScope outer;
    const auto outerInstance = shared<'a'>();
    {
        const QXSharedScope inner;
        EXPECT_NE(shared<'a'>(), outerInstance);
    }
    EXPECT_EQ(shared<'a'>(), outerInstance);
}

TEST(QXSharedScope, AnInstanceMayUseEarlierOnesWhileItIsDestroyed)
{
    struct Late {
        ~Late() { destroyed += earlier == shared<'a'>() ? 'y' : 'n'; }
        std::shared_ptr<Instance<'a'>> earlier = shared<'a'>();
    };
    {
        QXSharedScope scope;
        scope.instance<Late>([] { return std::make_shared<Late>(); });
        destroyed.clear();
    }
    EXPECT_EQ(destroyed, "ya");
}

TEST(QXSharedScopeDeathTest, StopsTheProgramWithoutAScope)
{
    EXPECT_DEATH(QXSharedScope::current(), "Assertion failed: QXSharedScope");
}

} // namespace

#include "platform/base/cbsingleton.h"

#include <barrier>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

struct TestAccess
{
    template<class T>
    static void Destroy()
    {
        CbSingleton<T>::destroy();
    }
};

namespace
{

std::atomic<int> c_made{0};

class Single
{
    friend class CbSingleton<Single>;
    Single() { ++c_made; }
    ~Single() { --c_made; }
};

class Outer
{
public:
    Single& inner = CbSingleton<Single>::GetInstance();
};

TEST(ASingletonThreads, IsMadeOnceOnFirstUse)
{
    EXPECT_FALSE(CbSingleton<Single>::HasInstance());
    constexpr std::size_t c_threads = 4;
    std::vector<Single*> seen(c_threads);
    {
        std::barrier start(c_threads);
        std::vector<std::jthread> threads;
        for (std::size_t t = 0; t < c_threads; ++t) {
            threads.emplace_back([&, t] {
                start.arrive_and_wait();
                seen[t] = &CbSingleton<Single>::GetInstance();
            });
        }
    }
    EXPECT_EQ(c_made, 1);
    for (const Single* instance : seen) EXPECT_EQ(instance, &CbSingleton<Single>::GetInstance());

    TestAccess::Destroy<Single>();
    EXPECT_EQ(c_made, 0);
    TestAccess::Destroy<Single>(); // exit comes later; nothing is left for it
}

TEST(ASingleton, MayReachAnotherOneInItsConstructor)
{
    EXPECT_EQ(&CbSingleton<Outer>::GetInstance().inner, &CbSingleton<Single>::GetInstance());
}

} // namespace

#include "app/converter_app.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

namespace fmconv {
namespace {

// While a first copy runs its window, a second one ends at once, silently and
// without a window; once the first has ended, a new copy runs its window.
// (The guard is a lock on an open file, so two copies in one process meet it
// as two processes do; the desktop test starts the real program twice.)
TEST(ConverterApp, ASecondInstanceEndsAtOnceAndSilently) {
    const std::string name = "converter app test " + std::to_string(::getpid());
    CConverterApp first(name);
    bool firstRan = false, secondRan = false, thirdRan = false;
    EXPECT_FALSE(first.InitInstance([&] {
        firstRan = true;
        CConverterApp second(name);
        EXPECT_FALSE(second.InitInstance([&] { secondRan = true; }));
        EXPECT_TRUE(second.SecondInstance());
    }));
    EXPECT_TRUE(firstRan);
    EXPECT_FALSE(secondRan);
    EXPECT_FALSE(first.SecondInstance());
    first.ExitInstance();

    CConverterApp third(name);
    EXPECT_FALSE(third.InitInstance([&] { thirdRan = true; }));
    EXPECT_TRUE(thirdRan);
    third.ExitInstance();
    ::unlink(platform::InstanceLock::PathFor(name).c_str());
}

}  // namespace
}  // namespace fmconv

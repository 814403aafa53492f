#include "app/converter_app.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

namespace fmconv {
namespace {

// A first copy runs its window until told to close; a second copy started
// meanwhile exits at once without running a window.
TEST(ConverterApp, ASecondInstanceEndsAtOnceAndSilently) {
    const std::string name = "converter app test " + std::to_string(::getpid());
    int ready[2], close[2];
    ASSERT_EQ(::pipe(ready), 0);
    ASSERT_EQ(::pipe(close), 0);
    const pid_t first = ::fork();
    if (first == 0) {
        CConverterApp app(name);
        app.InitInstance([&] {
            char c = 'r';
            (void)!::write(ready[1], &c, 1);
            (void)!::read(close[0], &c, 1);
        });
        app.ExitInstance();
        ::_exit(0);
    }
    char c;
    ASSERT_EQ(::read(ready[0], &c, 1), 1);

    const pid_t second = ::fork();
    if (second == 0) {
        CConverterApp app(name);
        bool ranWindow = false;
        const bool result = app.InitInstance([&] { ranWindow = true; });
        ::_exit(!result && !ranWindow && app.SecondInstance() ? 0 : 1);
    }
    int status = 0;
    ::waitpid(second, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);

    (void)!::write(close[1], "x", 1);
    ::waitpid(first, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);

    // After the first copy ended, a new one runs its window.
    CConverterApp third(name);
    bool ran = false;
    EXPECT_FALSE(third.InitInstance([&] { ran = true; }));
    EXPECT_TRUE(ran);
    third.ExitInstance();
    ::unlink(platform::InstanceLock::PathFor(name).c_str());
}

}  // namespace
}  // namespace fmconv

#include "platform/instance.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

namespace fmconv::platform {
namespace {

// Runs body in a child process and returns its exit code.
template <typename Body>
int InChildProcess(Body body) {
    const pid_t pid = ::fork();
    if (pid == 0) ::_exit(body());
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(InstanceLock, ASecondProcessSeesTheLockUntilItIsReleased) {
    const std::string name = "test lock " + std::to_string(::getpid());
    auto first = InstanceLock::Create(name);
    ASSERT_FALSE(first.alreadyExists);
    ASSERT_TRUE(first.lock);
    const auto tryInChild = [&] {
        return InChildProcess([&] { return InstanceLock::Create(name).alreadyExists ? 1 : 0; });
    };
    EXPECT_EQ(tryInChild(), 1);
    first.lock.reset();
    EXPECT_EQ(tryInChild(), 0);
    ::unlink(InstanceLock::PathFor(name).c_str());
}

}  // namespace
}  // namespace fmconv::platform

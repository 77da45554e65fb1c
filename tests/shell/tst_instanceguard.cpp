#include "shell/instanceguard.h"

#include <QCoreApplication>
#include <QUuid>

#include <gtest/gtest.h>

#include <memory>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// A key no other test or running program uses.
QString uniqueKey()
{
    return "Holter test guard " + QUuid::createUuid().toString(QUuid::WithoutBraces);
}

TEST(InstanceGuard, SecondGuardFailsWhileTheFirstLives)
{
    const QString key = uniqueKey();
    auto first = std::make_unique<InstanceGuard>(key);
    ASSERT_TRUE(first->isFirst());
    EXPECT_TRUE(InstanceGuard(uniqueKey()).isFirst()); // keys are independent
    EXPECT_FALSE(InstanceGuard(key).isFirst());
    // The refused guard's clean-up must not have removed the living segment.
    EXPECT_FALSE(InstanceGuard(key).isFirst());
    first.reset();
    EXPECT_TRUE(InstanceGuard(key).isFirst());
}

// A copy that is killed leaves its segment behind; the next start must not be refused.
TEST(InstanceGuard, SegmentOfADeadProcessDoesNotBlock)
{
    const QString key = uniqueKey();
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        // Never destroyed: _exit skips the destructor, as a crash would.
        auto* memory = new QSharedMemory(key);
        const bool created = memory->create(InstanceGuard::kSegmentBytes);
        _exit(created ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    ASSERT_EQ(WEXITSTATUS(status), 0) << "the child could not create the segment";

    // The segment really was left behind: a plain create() is refused.
    ASSERT_FALSE(QSharedMemory(key).create(InstanceGuard::kSegmentBytes));
    EXPECT_TRUE(InstanceGuard(key).isFirst());
}

} // namespace

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

TEST(InstanceGuard, FirstGuardOwnsTheKey)
{
    InstanceGuard guard(uniqueKey());
    EXPECT_TRUE(guard.isFirst());
}

TEST(InstanceGuard, SecondGuardFailsWhileTheFirstLivesAndSucceedsAfter)
{
    const QString key = uniqueKey();
    auto first = std::make_unique<InstanceGuard>(key);
    ASSERT_TRUE(first->isFirst());
    {
        InstanceGuard second(key);
        EXPECT_FALSE(second.isFirst());
    }
    // The refused guard's clean-up attempt must not have removed the living segment.
    {
        InstanceGuard third(key);
        EXPECT_FALSE(third.isFirst());
    }
    first.reset();
    InstanceGuard later(key);
    EXPECT_TRUE(later.isFirst());
}

TEST(InstanceGuard, KeysAreIndependent)
{
    InstanceGuard a(uniqueKey());
    InstanceGuard b(uniqueKey());
    EXPECT_TRUE(a.isFirst());
    EXPECT_TRUE(b.isFirst());
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
    {
        QSharedMemory plain(key);
        ASSERT_FALSE(plain.create(InstanceGuard::kSegmentBytes)) << "expected a stale segment";
        ASSERT_EQ(plain.error(), QSharedMemory::AlreadyExists);
    }
    InstanceGuard guard(key);
    EXPECT_TRUE(guard.isFirst());
}

} // namespace

#include "app/InstanceLock.h"

#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

TEST(InstanceLock, OneHolderAtATimeAndTheNextOnceItEndsEvenWithAProgramItStartedStillRunning) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("ostrel-instance.lock"));
    QProcess started;
    {
        const InstanceLock first(path);
        EXPECT_EQ(first.state(), InstanceLock::State::held);
        const InstanceLock second(path);
        EXPECT_EQ(second.state(), InstanceLock::State::heldElsewhere);
        // A program the app starts (xdg-open, say) may outlive it; it must not keep the lock.
        started.start(QStringLiteral("sleep"), {QStringLiteral("60")});
        ASSERT_TRUE(started.waitForStarted());
    }
    const InstanceLock next(path);
    EXPECT_EQ(next.state(), InstanceLock::State::held);
    started.kill();
    started.waitForFinished();
}

TEST(InstanceLock, FolderThatCannotHoldTheFileLeavesTheDecisionOpenAndSaysWhy) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("fehlt/ostrel-instance.lock"));
    const InstanceLock lock(path);
    EXPECT_EQ(lock.state(), InstanceLock::State::unavailable);
    EXPECT_TRUE(lock.error().startsWith(path)) << lock.error().toStdString();
}

// One OSTREL per user: a second start with the same HOME brings the running window back to
// the front and ends, with no window and no log entry of its own; with no session bus to ask
// over, it still ends and says why, and the running one works on.

#include "blackbox/AppRun.h"
#include "support/PrivateBus.h"

#include <gtest/gtest.h>

#include <optional>

TEST(SingleInstance, SecondStartBringsTheMinimisedWindowBackAndEndsAlsoWithoutABus) {
    std::optional<PrivateBus> bus(std::in_place);
    ASSERT_TRUE(bus->isValid());
    AppRunOptions options;
    options.environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), bus->address());
    AppRun app(options);
    const auto error = app.startLive();
    ASSERT_FALSE(error) << error->toStdString();
    ASSERT_TRUE(app.minimise());

    // Promptly: well before a call on the bus would time out (25 s).
    const AppRun::Output second = app.startAgain(15000);
    EXPECT_EQ(second.exitCode, 0) << second.standardError.toStdString();
    EXPECT_TRUE(app.waitForFront()) << app.describe().toStdString();
    EXPECT_TRUE(app.waitForLog(QStringLiteral("INFO  Erneuter Start: Fenster nach vorne geholt")));
    if (const QString out = qEnvironmentVariable("OSTREL_TEST_OUTPUT"); !out.isEmpty())
        app.screenshot().save(out + QStringLiteral("/blackbox-second-start.png"));

    // The bus goes away: the next start cannot ask, and ends all the same.
    bus.reset();
    const AppRun::Output third = app.startAgain(15000);
    EXPECT_EQ(third.exitCode, 1);
    EXPECT_TRUE(third.standardError.startsWith(QStringLiteral(
        "OSTREL läuft bereits. Sein Fenster konnte nicht nach vorne geholt werden: ")))
        << third.standardError.toStdString();

    EXPECT_TRUE(app.isRunning());
    EXPECT_EQ(app.logLines().filter(QStringLiteral("App gestartet")).size(), 1)
        << app.describe().toStdString();
    // The running one works on without its bus.
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+q")));
    EXPECT_EQ(app.waitForExit(30000), 0) << app.describe().toStdString();
}

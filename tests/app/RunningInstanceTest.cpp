// A later start asks the running instance over the session bus for its window.

#include "app/RunningInstance.h"
#include "support/EventLoop.h"
#include "support/PrivateBus.h"

#include <QTimer>

#include <gtest/gtest.h>

#include <future>

TEST(RunningInstance, LaterStartReachesAnInstanceThatTakesItsNameJustAfterItsLock) {
    PrivateBus bus;
    ASSERT_TRUE(bus.isValid());
    ApplicationService service;
    QVariantMap asked;
    int requests = 0;
    QObject::connect(&service, &ApplicationService::activationRequested,
                     [&](const QVariantMap& platformData) {
                         asked = platformData;
                         ++requests;
                     });
    // The later start blocks on its call, as the real one does, beside this event loop.
    const QDBusConnection caller = bus.connect();
    const QVariantMap handedOn{{QStringLiteral("activation-token"), QStringLiteral("t-42")}};
    auto later = std::async(std::launch::async,
                            [&] { return activateRunningInstance(caller, handedOn, 10000); });
    std::optional<QString> registered = QStringLiteral("not yet");
    QTimer::singleShot(300, [&] { registered = service.registerOn(bus.connect()); });
    ASSERT_TRUE(pumpUntil(
        [&] { return later.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    EXPECT_EQ(registered, std::nullopt);
    const std::optional<QString> error = later.get();
    EXPECT_FALSE(error) << error->toStdString();
    EXPECT_EQ(requests, 1);
    EXPECT_EQ(asked, handedOn);

    // A second instance cannot take the name while the first holds it.
    ApplicationService other;
    EXPECT_TRUE(other.registerOn(bus.connect()));
}

#include "../SetupFixture.h"

#include "devices/AssignmentRules.h"
#include "ui/setup/OnboardingController.h"

namespace {

class OnboardingTest : public SetupFixture {
protected:
    QQuickItem* showSetup() {
        return show("OnboardingView.qml", {720, 600},
                    {{QStringLiteral("backend"), QVariant::fromValue(&backendHandle)}});
    }
    OnboardingController* controller() const {
        return find<OnboardingController>("onboardingController");
    }
    QObject* primaryButton() const { return find<QObject>("primaryButton"); }
    bool primaryEnabled() const { return primaryButton()->property("enabled").toBool(); }
    void goTo(OnboardingStep step) {
        while (controller()->step() < step)
            controller()->next();
        pumpPosted();
    }
};

} // namespace

TEST(CameraPreselection, KeepsPresentDifferentChoicesAndFillsTheRest) {
    const QStringList both{"A", "B"};
    EXPECT_EQ(preselectCameras(both, {"B", "A"}), (CameraChoice{"B", "A"}));
    EXPECT_EQ(preselectCameras(both, {}), (CameraChoice{"A", "B"}));
    // Macro equal to Wide moves to the first other camera.
    EXPECT_EQ(preselectCameras(both, {"B", "B"}), (CameraChoice{"B", "A"}));
    // A stored camera that is not connected is replaced.
    EXPECT_EQ(preselectCameras(both, {"X", "B"}), (CameraChoice{"A", "B"}));
    EXPECT_EQ(preselectCameras(both, {"A", "X"}), (CameraChoice{"A", "B"}));
    // One camera: Macro has nothing left; none: both empty.
    EXPECT_EQ(preselectCameras({"A"}, {"X", "A"}), (CameraChoice{"A", ""}));
    EXPECT_EQ(preselectCameras({}, {"A", "B"}), (CameraChoice{"", ""}));
}

TEST_F(OnboardingTest, OneCameraWaitsAndTheSecondReplacesTheMessageOnThePage) {
    backend.devices().unplug(cam2);
    ASSERT_TRUE(showSetup());
    EXPECT_EQ(devices->wideUID(), cam1);
    EXPECT_EQ(devices->macroUID(), QString()) << "no other camera to pre-select";
    goTo(OnboardingStep::cameras);
    EXPECT_TRUE(visible("waitingForCameras"));
    EXPECT_FALSE(find("widePreview"));
    EXPECT_FALSE(primaryEnabled());

    backend.devices().replug(cam2);
    ASSERT_TRUE(pumpUntil([&] { return !visible("waitingForCameras"); }));
    EXPECT_EQ(controller()->step(), OnboardingStep::cameras);
    ASSERT_TRUE(find("widePreview") && find("macroPreview"));
    // Pre-selection ran only when the setup appeared: the new camera must be chosen.
    EXPECT_EQ(devices->macroUID(), QString());
    EXPECT_FALSE(primaryEnabled());
    choose(find<QObject>("macroPicker"), 1);
    EXPECT_EQ(devices->macroUID(), cam2);
    EXPECT_TRUE(primaryEnabled());
}

TEST_F(OnboardingTest, SummaryShowsNoSoundAndADashForAMissingCamera) {
    ASSERT_TRUE(showSetup());
    goTo(OnboardingStep::done);
    EXPECT_EQ(text("summaryFolder"), QStringLiteral("—"));
    EXPECT_EQ(text("summaryMic"), QStringLiteral("Kein Ton"));
    backend.devices().unplug(cam2);
    ASSERT_TRUE(pumpUntil([&] { return text("summaryMacro") == QStringLiteral("—"); }));
    EXPECT_EQ(text("summaryWide"), QStringLiteral("OSTREL Kamera")) << "alone, without a number";
}

#include "../SetupFixture.h"

#include "devices/AssignmentRules.h"
#include "ui/setup/CameraPreviewView.h"
#include "ui/setup/OnboardingController.h"

#include <QSignalSpy>
#include <QTest>

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
    void pressReturn() {
        QTest::keyClick(window.get(), Qt::Key_Return);
        pumpPosted();
    }
};

} // namespace

TEST(OnboardingSteps, OrdinalsOutsideTheNinePagesYieldNothing) {
    EXPECT_EQ(onboardingStepFromOrdinal(0), OnboardingStep::welcome);
    EXPECT_EQ(onboardingStepFromOrdinal(5), OnboardingStep::cameras);
    EXPECT_EQ(onboardingStepFromOrdinal(8), OnboardingStep::done);
    EXPECT_FALSE(onboardingStepFromOrdinal(-1));
    EXPECT_FALSE(onboardingStepFromOrdinal(9));
}

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

TEST(CameraPreselection, SameCameraNeedsAnAssignment) {
    EXPECT_TRUE(sameCameraChosen("A", "A"));
    EXPECT_FALSE(sameCameraChosen("", ""));
    EXPECT_FALSE(sameCameraChosen("A", "B"));
}

TEST_F(OnboardingTest, FirstLaunchWalksFromWelcomeToTheMainView) {
    ASSERT_TRUE(showSetup());
    QSignalSpy finished(view.get(), SIGNAL(finished()));
    // Pre-selection on a first launch: Wide and Macro are the two cameras, stored at once.
    EXPECT_EQ(settings.wideDeviceUID(), cam1);
    EXPECT_EQ(settings.macroDeviceUID(), cam2);

    EXPECT_EQ(text("primaryButton"), QStringLiteral("Los geht's"));
    EXPECT_FALSE(visible("backButton"));
    EXPECT_EQ(find("stepDots")->childItems().size(), 9 + 1); // dots and their repeater
    click(primaryButton());
    for (OnboardingStep step :
         {OnboardingStep::connect, OnboardingStep::mount, OnboardingStep::cable}) {
        EXPECT_EQ(controller()->step(), step);
        EXPECT_EQ(text("primaryButton"), QStringLiteral("Weiter"));
        EXPECT_TRUE(visible("backButton"));
        click(primaryButton());
    }

    ASSERT_EQ(controller()->step(), OnboardingStep::folder);
    EXPECT_FALSE(primaryEnabled());
    EXPECT_TRUE(visible("folderHint"));
    EXPECT_FALSE(visible("folderChosen"));
    click(primaryButton()); // disabled: stays
    EXPECT_EQ(controller()->step(), OnboardingStep::folder);
    ASSERT_TRUE(recordings->setFolder(QUrl::fromLocalFile(makeFolder("OSTREL Aufnahmen"))));
    pumpPosted();
    EXPECT_TRUE(primaryEnabled());
    EXPECT_FALSE(visible("folderHint"));
    EXPECT_TRUE(visible("folderChosen"));
    EXPECT_TRUE(text("folderPathLabel").endsWith(QStringLiteral("/OSTREL Aufnahmen")));
    click(primaryButton());

    ASSERT_EQ(controller()->step(), OnboardingStep::cameras);
    EXPECT_FALSE(visible("waitingForCameras"));
    auto* widePreview = find<CameraPreviewView>("widePreview");
    auto* macroPreview = find<CameraPreviewView>("macroPreview");
    ASSERT_TRUE(widePreview && macroPreview);
    EXPECT_EQ(widePreview->deviceUID(), cam1);
    EXPECT_EQ(macroPreview->deviceUID(), cam2);
    EXPECT_TRUE(widePreview->mirrored());
    EXPECT_EQ(widePreview->size(), QSizeF(280, 158));
    EXPECT_TRUE(primaryEnabled());
    EXPECT_FALSE(visible("sameCameraWarning"));

    // Macro picked as the Wide camera: the warning, and no way on.
    choose(find<QObject>("macroPicker"), 0);
    EXPECT_EQ(devices->macroUID(), cam1);
    EXPECT_EQ(settings.macroDeviceUID(), cam1);
    EXPECT_TRUE(visible("sameCameraWarning"));
    EXPECT_FALSE(primaryEnabled());
    EXPECT_EQ(macroPreview->deviceUID(), cam1);
    choose(find<QObject>("macroPicker"), 1);
    EXPECT_FALSE(visible("sameCameraWarning"));
    EXPECT_TRUE(primaryEnabled());
    click(primaryButton());

    ASSERT_EQ(controller()->step(), OnboardingStep::mic);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(find("widePreview")) << "the previews (and the cameras) are released";
    EXPECT_EQ(find<QObject>("micPicker")->property("displayText").toString(),
              QStringLiteral("Kein Ton"));
    click(primaryButton());
    EXPECT_EQ(controller()->step(), OnboardingStep::tour);
    click(primaryButton());

    ASSERT_EQ(controller()->step(), OnboardingStep::done);
    EXPECT_EQ(text("primaryButton"), QStringLiteral("Einrichtung abschließen"));
    EXPECT_EQ(text("summaryFolder"), QStringLiteral("OSTREL Aufnahmen"));
    EXPECT_EQ(text("summaryWide"), QStringLiteral("OSTREL Kamera #1"));
    EXPECT_EQ(text("summaryMacro"), QStringLiteral("OSTREL Kamera #2"));
    EXPECT_EQ(text("summaryMic"), QStringLiteral("Kein Ton"));
    EXPECT_FALSE(settings.didCompleteOnboarding());
    pressReturn();
    EXPECT_EQ(finished.count(), 1);
    EXPECT_TRUE(settings.didCompleteOnboarding());
    EXPECT_EQ(controller()->step(), OnboardingStep::done) << "nothing beyond the last page";
}

TEST_F(OnboardingTest, BackAndNextStopAtTheEnds) {
    ASSERT_TRUE(showSetup());
    controller()->back();
    EXPECT_EQ(controller()->step(), OnboardingStep::welcome);
    goTo(OnboardingStep::done);
    controller()->next();
    EXPECT_EQ(controller()->step(), OnboardingStep::done);
    click(find<QObject>("backButton"));
    EXPECT_EQ(controller()->step(), OnboardingStep::tour);
}

TEST_F(OnboardingTest, ReturnPressesThePrimaryButtonOnlyWhenEnabled) {
    ASSERT_TRUE(showSetup());
    pressReturn();
    EXPECT_EQ(controller()->step(), OnboardingStep::connect);
    goTo(OnboardingStep::folder);
    pressReturn();
    EXPECT_EQ(controller()->step(), OnboardingStep::folder) << "no folder yet";
    ASSERT_TRUE(recordings->setFolder(QUrl::fromLocalFile(makeFolder("Videos"))));
    pressReturn();
    EXPECT_EQ(controller()->step(), OnboardingStep::cameras);
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

TEST_F(OnboardingTest, StoredAssignmentsAreKeptAndAMacroEqualToWideMoves) {
    settings.setWideDeviceUID(cam2);
    settings.setMacroDeviceUID(cam1);
    ASSERT_TRUE(showSetup());
    EXPECT_EQ(devices->wideUID(), cam2);
    EXPECT_EQ(devices->macroUID(), cam1);
    view.reset();

    devices->setMacroUID(cam2);
    ASSERT_TRUE(showSetup());
    EXPECT_EQ(devices->wideUID(), cam2);
    EXPECT_EQ(devices->macroUID(), cam1);
    EXPECT_EQ(settings.macroDeviceUID(), cam1);
}

TEST_F(OnboardingTest, SummaryShowsNoSoundAndADashForAMissingCamera) {
    ASSERT_TRUE(showSetup());
    goTo(OnboardingStep::done);
    EXPECT_EQ(text("summaryFolder"), QStringLiteral("—"));
    EXPECT_EQ(text("summaryMic"), QStringLiteral("Kein Ton"));
    backend.devices().unplug(cam2);
    ASSERT_TRUE(pumpUntil([&] { return text("summaryMacro") == QStringLiteral("—"); }));
    EXPECT_EQ(text("summaryWide"), QStringLiteral("OSTREL Kamera")) << "alone, without a number";

    devices->setMicUID(mic);
    pumpPosted();
    EXPECT_EQ(text("summaryMic"), QStringLiteral("OSTREL Mikrofon"));
    backend.devices().unplug(mic);
    ASSERT_TRUE(pumpUntil([&] { return text("summaryMic") == QStringLiteral("—"); }));
}

TEST_F(OnboardingTest, MicrophonePickerOffersNoSoundFirst) {
    ASSERT_TRUE(showSetup());
    goTo(OnboardingStep::mic);
    auto* picker = find<QObject>("micPicker");
    ASSERT_TRUE(picker);
    EXPECT_EQ(picker->property("count").toInt(), 2);
    choose(picker, 1);
    EXPECT_EQ(settings.micDeviceUID(), mic);
    EXPECT_EQ(picker->property("displayText").toString(), QStringLiteral("OSTREL Mikrofon"));
    choose(picker, 0);
    EXPECT_EQ(settings.micDeviceUID(), QString());
}

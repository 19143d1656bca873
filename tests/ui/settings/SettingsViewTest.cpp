#include "../SetupFixture.h"

#include "ui/about/AboutInfo.h"
#include "ui/settings/SettingsController.h"

#include <QSignalSpy>
#include <QTest>

namespace {

class SettingsViewTest : public SetupFixture {
protected:
    QQuickItem* showSettings(int tab = 0) {
        if (!show("SettingsView.qml", {560, 480}))
            return nullptr;
        view->setProperty("selection", tab);
        pumpPosted();
        return view.get();
    }
    QString sliderValueText(const char* key) const {
        return text((QByteArray(key) + "Value").constData());
    }
};

} // namespace

TEST_F(SettingsViewTest, WatermarkOffHidesThePracticeNameAndKeepsIt) {
    settings.setPraxisText(QStringLiteral("Praxis Dr. Zahn"));
    ASSERT_TRUE(showSettings());
    auto* field = find("praxisField");
    ASSERT_TRUE(field);
    EXPECT_TRUE(field->isVisible());
    EXPECT_EQ(field->property("text").toString(), QStringLiteral("Praxis Dr. Zahn"));

    auto* toggle = find<QObject>("watermarkSwitch");
    toggle->setProperty("checked", false);
    QMetaObject::invokeMethod(toggle, "toggled");
    pumpPosted();
    EXPECT_FALSE(settings.watermarkOn());
    EXPECT_FALSE(field->isVisible());
    EXPECT_EQ(settings.praxisText(), QStringLiteral("Praxis Dr. Zahn"));

    settings.setWatermarkOn(true); // from anywhere, the view follows
    pumpPosted();
    EXPECT_TRUE(field->isVisible());
    EXPECT_EQ(field->property("text").toString(), QStringLiteral("Praxis Dr. Zahn"));
}

TEST_F(SettingsViewTest, AnUnknownAppearanceValueShowsAsFollowingTheSystem) {
    settings.setAppearanceMode(7);
    ASSERT_TRUE(showSettings());
    EXPECT_TRUE(find("appearance0")->property("checked").toBool());
    EXPECT_FALSE(find("appearance1")->property("checked").toBool());
    EXPECT_EQ(text("appearance0"), QStringLiteral("Automatisch"));
    EXPECT_EQ(text("appearance2"), QStringLiteral("Dunkel"));

    auto* dark = find<QObject>("appearance2");
    dark->setProperty("checked", true);
    QMetaObject::invokeMethod(dark, "toggled");
    pumpPosted();
    EXPECT_EQ(settings.appearanceMode(), 2);
    EXPECT_FALSE(find("appearance0")->property("checked").toBool());
}

TEST_F(SettingsViewTest, RevealIsDisabledWithoutAFolder) {
    ASSERT_TRUE(showSettings(1));
    EXPECT_TRUE(visible("recordingSettings"));
    EXPECT_FALSE(find("revealFolderButton")->isEnabled());
    EXPECT_EQ(text("folderLabel"), QStringLiteral("— nicht gesetzt —"));
    const QString folder = makeFolder("Aufnahmen");
    ASSERT_TRUE(recordings->setFolder(QUrl::fromLocalFile(folder)));
    pumpPosted();
    EXPECT_TRUE(find("revealFolderButton")->isEnabled());
    EXPECT_EQ(text("folderLabel"), folder);
}

TEST_F(SettingsViewTest, SameCameraWarningFollowsTheChoiceAndNotEmptyAssignments) {
    ASSERT_TRUE(showSettings(2));
    EXPECT_EQ(devices->wideUID(), QString());
    EXPECT_EQ(devices->macroUID(), QString());
    EXPECT_FALSE(visible("sameCameraWarning")) << "two empty assignments are equal, yet fine";

    choose(find<QObject>("widePicker"), 0);
    choose(find<QObject>("macroPicker"), 0);
    EXPECT_EQ(settings.wideDeviceUID(), cam1);
    EXPECT_EQ(settings.macroDeviceUID(), cam1);
    EXPECT_TRUE(visible("sameCameraWarning"));
    choose(find<QObject>("macroPicker"), 1);
    EXPECT_FALSE(visible("sameCameraWarning"));
    EXPECT_EQ(settings.macroDeviceUID(), cam2);
}

TEST_F(SettingsViewTest, SwapWithOnlyWideAssignedMovesItToMacro) {
    settings.setWideDeviceUID(cam2);
    ASSERT_TRUE(showSettings(2));
    EXPECT_EQ(find<QObject>("widePicker")->property("displayText").toString(),
              QStringLiteral("OSTREL Kamera #2"));
    click(find<QObject>("swapButton"));
    EXPECT_EQ(settings.wideDeviceUID(), QString());
    EXPECT_EQ(settings.macroDeviceUID(), cam2);
    EXPECT_EQ(find<QObject>("widePicker")->property("currentIndex").toInt(), -1);
    EXPECT_EQ(find<QObject>("macroPicker")->property("currentIndex").toInt(), 1);
}

TEST_F(SettingsViewTest, StabilisationNoteAndRunningTheSetupAgain) {
    settings.setDidCompleteOnboarding(true);
    ASSERT_TRUE(showSettings(2));
    QSignalSpy setup(view.get(), SIGNAL(setupRequested()));
    EXPECT_FALSE(visible("stabilizeNote"));
    settings.setStabilizeMacro(true);
    pumpPosted();
    EXPECT_TRUE(visible("stabilizeNote"));

    click(find<QObject>("rerunSetupButton"));
    EXPECT_FALSE(settings.didCompleteOnboarding());
    EXPECT_EQ(setup.count(), 1);
}

TEST_F(SettingsViewTest, SmoothingSliderStopsAtItsLimitsAndResetRestoresTheDefaults) {
    ASSERT_TRUE(showSettings(2));
    click(find<QObject>("developerDisclosure"));
    auto* smoothing = find<QObject>("stabSmoothingSlider");
    ASSERT_TRUE(smoothing);
    for (int i = 0; i < 100; ++i)
        QMetaObject::invokeMethod(smoothing, "increase");
    QMetaObject::invokeMethod(smoothing, "moved");
    EXPECT_DOUBLE_EQ(settings.stabSmoothing(), 0.985);
    EXPECT_EQ(sliderValueText("stabSmoothing"), QStringLiteral("0.98"))
        << "%.2f, as printf rounds 0.985";
    for (int i = 0; i < 100; ++i)
        QMetaObject::invokeMethod(smoothing, "decrease");
    QMetaObject::invokeMethod(smoothing, "moved");
    EXPECT_NEAR(settings.stabSmoothing(), 0.7, 1e-9);

    auto* gain = find<QObject>("stabGainSlider");
    EXPECT_DOUBLE_EQ(gain->property("to").toDouble(), 8.0);
    EXPECT_DOUBLE_EQ(gain->property("stepSize").toDouble(), 0.1);
    EXPECT_DOUBLE_EQ(find<QObject>("stabCropZoomSlider")->property("from").toDouble(), 1.0);
    EXPECT_DOUBLE_EQ(find<QObject>("stabCropZoomSlider")->property("to").toDouble(), 1.35);
    EXPECT_DOUBLE_EQ(find<QObject>("stabLeadSlider")->property("to").toDouble(), 1.5);
    EXPECT_DOUBLE_EQ(find<QObject>("stabLeadSlider")->property("stepSize").toDouble(), 0.05);

    settings.setStabGain(3.3);
    settings.setStabCropZoom(1.3);
    settings.setStabLead(1.0);
    pumpPosted();
    EXPECT_EQ(sliderValueText("stabGain"), QStringLiteral("3.30"));
    EXPECT_EQ(sliderValueText("stabCropZoom"), QStringLiteral("1.30"));
    EXPECT_EQ(sliderValueText("stabLead"), QStringLiteral("1.00"));
    click(find<QObject>("resetStabilizerButton"));
    EXPECT_EQ(sliderValueText("stabGain"), QStringLiteral("0.50"));
    EXPECT_EQ(sliderValueText("stabSmoothing"), QStringLiteral("0.85"));
    EXPECT_EQ(sliderValueText("stabCropZoom"), QStringLiteral("1.15"));
    EXPECT_EQ(sliderValueText("stabLead"), QStringLiteral("0.00"));
    EXPECT_DOUBLE_EQ(gain->property("value").toDouble(), 0.5);
    EXPECT_DOUBLE_EQ(settings.stabLead(), 0.0);
}

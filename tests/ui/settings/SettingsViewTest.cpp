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

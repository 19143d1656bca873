#include "app/Localisation.h"
#include "capture/CameraErrorTexts.h"
#include "settings/AppearanceMode.h"

#include <QCoreApplication>
#include <QFile>
#include <QTranslator>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

TEST(Localisation, EnglishSystemsGetTheEnglishTable) {
    QTranslator translator;
    ASSERT_TRUE(installTranslation(*QCoreApplication::instance(), translator,
                                   QLocale(QLocale::English, QLocale::UnitedStates)));
    EXPECT_EQ(appearanceModeLabel(AppearanceMode::system), QStringLiteral("Automatic"));
    EXPECT_EQ(appearanceModeLabel(AppearanceMode::dark), QStringLiteral("Dark"));
    QCoreApplication::removeTranslator(&translator);
    EXPECT_EQ(appearanceModeLabel(AppearanceMode::dark), QStringLiteral("Dunkel"));
}

// Camera errors are logged in German and alerted in the user's language, arguments kept.
TEST(Localisation, CameraErrorAlertsAreTranslatedWithTheirDetails) {
    QTranslator translator;
    ASSERT_TRUE(installTranslation(*QCoreApplication::instance(), translator,
                                   QLocale(QLocale::English, QLocale::UnitedStates)));
    EXPECT_EQ(CameraErrorTexts::alertFor(CameraErrorTexts::busy(QStringLiteral("cheese, PID 7"))),
              QStringLiteral("The camera is in use by another program (cheese, PID 7) — quit that "
                             "program, then restart (↻)"));
    EXPECT_EQ(CameraErrorTexts::alertFor(
                  CameraErrorTexts::stalled(QStringLiteral("Macro"), QStringLiteral("C920"))),
              QStringLiteral("The Macro camera (C920) no longer delivers a picture — check the "
                             "USB connection/hub and restart (↻)"));
    EXPECT_EQ(CameraErrorTexts::alertFor(CameraErrorTexts::usbBandwidth()),
              QStringLiteral("Not enough USB bandwidth — connect the cameras to different USB "
                             "ports"));
    QCoreApplication::removeTranslator(&translator);
}

TEST(Localisation, GermanSystemsKeepTheSourceTexts) {
    QTranslator translator;
    EXPECT_FALSE(installTranslation(*QCoreApplication::instance(), translator,
                                    QLocale(QLocale::German, QLocale::Austria)));
    EXPECT_EQ(appearanceModeLabel(AppearanceMode::light), QStringLiteral("Hell"));
}

TEST(Localisation, EveryTextOfTheTableHasAnEnglishTranslation) {
    QFile file(QStringLiteral(OSTREL_SOURCE_DIR "/resources/translations/ostrel_en.ts"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    QXmlStreamReader xml(&file);
    int messages = 0;
    QString source;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == u"source") {
            source = xml.readElementText();
        } else if (xml.name() == u"translation") {
            ++messages;
            EXPECT_TRUE(xml.attributes().value(QStringLiteral("type")).isEmpty())
                << source.toStdString();
            EXPECT_FALSE(xml.readElementText().isEmpty()) << source.toStdString();
        }
    }
    EXPECT_FALSE(xml.hasError());
    EXPECT_GE(messages, 4);
}

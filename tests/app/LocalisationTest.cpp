#include "app/Localisation.h"
#include "settings/AppearanceMode.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QLibraryInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTranslator>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <map>
#include <utility>
#include <vector>

namespace {

const QString kSourceDir = QStringLiteral(OSTREL_SOURCE_DIR);
const QString kTable = kSourceDir + QStringLiteral("/resources/translations/ostrel_en.ts");

struct TsMessage {
    QString context;
    QString source;
    QString translation;
    bool finished = true;
};

std::vector<TsMessage> readTable(const QString& path) {
    std::vector<TsMessage> messages;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return messages;
    QXmlStreamReader xml(&file);
    QString context;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == u"name") {
            context = xml.readElementText();
        } else if (xml.name() == u"source") {
            messages.push_back({context, xml.readElementText(), {}, true});
        } else if (xml.name() == u"translation" && !messages.empty()) {
            messages.back().finished = xml.attributes().value(QStringLiteral("type")).isEmpty();
            messages.back().translation = xml.readElementText();
        }
    }
    EXPECT_FALSE(xml.hasError()) << path.toStdString();
    return messages;
}

// The folders that hold the program's sources: everything but tests, tools and outputs.
QStringList productFolders() {
    const QStringList skipped{QStringLiteral("tests"), QStringLiteral("bench"),
                              QStringLiteral("tools"), QStringLiteral("docs"),
                              QStringLiteral("resources")};
    QStringList folders;
    for (const QString& name : QDir(kSourceDir).entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        if (!skipped.contains(name) && !name.startsWith(QStringLiteral("build")) &&
            QFile::exists(kSourceDir + u'/' + name + QStringLiteral("/CMakeLists.txt")))
            folders << name;
    return folders;
}

} // namespace

TEST(Localisation, TheEnglishTableCoversEveryTranslatableTextOfTheSources) {
    // What the sources ask to translate today, extracted as tools/update-translations does.
    QTemporaryDir dir;
    const QString fresh = dir.filePath(QStringLiteral("fresh.ts"));
    QProcess lupdate;
    lupdate.setWorkingDirectory(kSourceDir);
    lupdate.start(
        QLibraryInfo::path(QLibraryInfo::BinariesPath) + QStringLiteral("/lupdate"),
        QStringList{QStringLiteral("-silent"), QStringLiteral("-locations"), QStringLiteral("none")}
            << productFolders() << QStringLiteral("-ts") << fresh);
    ASSERT_TRUE(lupdate.waitForFinished(120000)) << lupdate.errorString().toStdString();
    ASSERT_EQ(lupdate.exitCode(), 0) << lupdate.readAllStandardError().toStdString();
    const std::vector<TsMessage> wanted = readTable(fresh);
    ASSERT_GT(wanted.size(), 100u);

    std::map<std::pair<QString, QString>, TsMessage> table;
    for (const TsMessage& message : readTable(kTable)) {
        EXPECT_TRUE(message.finished) << message.source.toStdString();
        EXPECT_FALSE(message.translation.isEmpty()) << message.source.toStdString();
        table[{message.context, message.source}] = message;
    }
    for (const TsMessage& message : wanted) {
        const auto found = table.find({message.context, message.source});
        EXPECT_TRUE(found != table.end())
            << message.context.toStdString() << ": " << message.source.toStdString();
    }
}

TEST(Localisation, NoTextNamesAnotherOperatingSystemOrItsPrograms) {
    // Names and places that exist only on other systems, in German and English.
    static const QRegularExpression foreign(QStringLiteral(
        R"(\bMacs?\b|\bMac-|macOS|OS X|\bApple\b|Finder|iCloud|Spotlight|Launchpad|Time Machine|)"
        R"(\bWindows\b|Explorer|Microsoft|Startmenü|Start menu|\bAblage\b|Filme-Ordner|)"
        R"(Movies folder|⌘|\bCmd\b|Befehlstaste|Command key|Sprache & Region|)"
        R"(Language & Region → Apps|Datenschutz & Sicherheit|Privacy & Security|)"
        R"(Systemeinstellungen → Allgemein|System Settings → General)"));
    const std::vector<TsMessage> table = readTable(kTable);
    ASSERT_FALSE(table.empty());
    for (const TsMessage& message : table) {
        EXPECT_FALSE(foreign.match(message.source).hasMatch()) << message.source.toStdString();
        EXPECT_FALSE(foreign.match(message.translation).hasMatch())
            << message.translation.toStdString();
    }
    // Texts shown as they are, outside the table.
    static const QRegularExpression literal(QStringLiteral(R"re("((?:[^"\\\n]|\\.)*)")re"));
    for (const QString& folder : productFolders()) {
        QDirIterator files(kSourceDir + u'/' + folder, {QStringLiteral("*.qml")}, QDir::Files,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            QFile file(files.next());
            ASSERT_TRUE(file.open(QIODevice::ReadOnly));
            const QString text = QString::fromUtf8(file.readAll());
            for (const auto& match : literal.globalMatch(text))
                EXPECT_FALSE(foreign.match(match.captured(1)).hasMatch())
                    << file.fileName().toStdString() << ": " << match.captured(1).toStdString();
        }
    }
}

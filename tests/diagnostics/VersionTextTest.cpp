#include "diagnostics/VersionText.h"

#include <QStringList>

#include <gtest/gtest.h>

TEST(VersionText, TwoLinesMachineAndBuild) {
    VersionValues values{QStringLiteral("PC"), QStringLiteral("Debian GNU/Linux 12 (bookworm)"),
                         QStringLiteral("6.1.0-18-amd64"), QStringLiteral("1.0"),
                         QStringLiteral("57")};
    EXPECT_EQ(versionText(values),
              QStringLiteral("PC · Debian GNU/Linux 12 (bookworm) · Linux 6.1.0-18-amd64\n"
                             "OSTREL App v1.0 (57)"));
}

TEST(VersionText, MissingValuesReadAsQuestionMarks) {
    VersionValues values{QString(), std::nullopt, std::nullopt, std::nullopt, std::nullopt};
    EXPECT_EQ(versionText(values), QStringLiteral("? · ? · Linux ?\nOSTREL App v? (?)"));
    values.shortVersion = QStringLiteral("1.0");
    EXPECT_TRUE(versionText(values).endsWith(QStringLiteral("OSTREL App v1.0 (?)")));
}

TEST(VersionText, ThisBuildHasAVersionAndOneLinePerPart) {
    const QString text = versionText();
    const QStringList lines = text.split(u'\n');
    ASSERT_EQ(lines.size(), 2);
    EXPECT_TRUE(lines[1].startsWith(QStringLiteral("OSTREL App v1.0 (")));
    EXPECT_TRUE(lines[0].startsWith(QStringLiteral("PC")));
}

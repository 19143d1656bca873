#include "diagnostics/VersionText.h"

#include <gtest/gtest.h>

TEST(VersionText, TwoLinesMachineAndBuildWithQuestionMarksForMissingValues) {
    const struct {
        VersionValues values;
        QString text;
    } cases[] = {
        {{QStringLiteral("PC"), QStringLiteral("Debian GNU/Linux 12 (bookworm)"),
          QStringLiteral("6.1.0-18-amd64"), QStringLiteral("1.0"), QStringLiteral("57")},
         QStringLiteral("PC · Debian GNU/Linux 12 (bookworm) · Linux 6.1.0-18-amd64\n"
                        "OSTREL App v1.0 (57)")},
        {{QString(), std::nullopt, std::nullopt, std::nullopt, std::nullopt},
         QStringLiteral("? · ? · Linux ?\nOSTREL App v? (?)")},
        {{QString(), std::nullopt, std::nullopt, QStringLiteral("1.0"), std::nullopt},
         QStringLiteral("? · ? · Linux ?\nOSTREL App v1.0 (?)")},
    };
    for (const auto& c : cases)
        EXPECT_EQ(versionText(c.values), c.text);
}

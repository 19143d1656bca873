#include "app/CommandLine.h"

#include <gtest/gtest.h>

TEST(CommandLine, HelpAndVersionAreFoundAmongQtOptionsButNotAfterTheEndMarker) {
    using R = CommandLineRequest;
    EXPECT_EQ(commandLineRequest({QStringLiteral("ostrel")}), std::nullopt);
    EXPECT_EQ(commandLineRequest({QStringLiteral("ostrel"), QStringLiteral("--help")}), R::help);
    EXPECT_EQ(commandLineRequest({QStringLiteral("ostrel"), QStringLiteral("-h")}), R::help);
    EXPECT_EQ(commandLineRequest({QStringLiteral("ostrel"), QStringLiteral("-v")}), R::version);
    EXPECT_EQ(commandLineRequest({QStringLiteral("ostrel"), QStringLiteral("-platform"),
                                  QStringLiteral("offscreen"), QStringLiteral("--version")}),
              R::version);
    EXPECT_EQ(commandLineRequest(
                  {QStringLiteral("ostrel"), QStringLiteral("--"), QStringLiteral("--help")}),
              std::nullopt);
    // The program's own name is never read as a request.
    EXPECT_EQ(commandLineRequest({QStringLiteral("--help")}), std::nullopt);
    EXPECT_EQ(commandLineRequest({QStringLiteral("ostrel"), QStringLiteral("--helpme")}),
              std::nullopt);
}

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
}

// Qt's own options pass, with their values; anything else is an unknown option.
TEST(CommandLine, QtOptionsPassAndOthersAreUnknown) {
    const struct {
        QStringList tail;
        std::optional<QString> unknown;
    } cases[] = {
        {{"-platform", "offscreen"}, std::nullopt},
        {{"--platform", "xcb", "-reverse"}, std::nullopt},
        {{"--style=fusion", "-qwindowgeometry", "800x600+0+0"}, std::nullopt},
        {{"-platform", "--bogus"}, std::nullopt}, // a value, however it looks
        {{"--bogus"}, "--bogus"},
        {{"-x", "--help"}, "-x"},
        {{"--helpme"}, "--helpme"},
        {{"--", "--bogus"}, std::nullopt},
        {{"-"}, std::nullopt}, // a lone dash is a (file) name
    };
    for (const auto& c : cases) {
        const QStringList arguments = QStringList{QStringLiteral("ostrel")} + c.tail;
        EXPECT_EQ(unknownOption(arguments), c.unknown) << c.tail.join(u' ').toStdString();
    }
    EXPECT_EQ(commandLineRequest({"ostrel", "--bogus"}), CommandLineRequest::unknownOption);
    EXPECT_EQ(commandLineRequest({"ostrel", "--bogus", "--help"}), CommandLineRequest::help);
}

TEST(CommandLine, SaveCameraStreamTakesADeviceAFileAndSeconds) {
    const auto parsed = [](QStringList tail) {
        return cameraStreamArguments(QStringList{QStringLiteral("ostrel")} + tail);
    };
    const QString option = QStringLiteral("--save-camera-stream");
    EXPECT_EQ(commandLineRequest({QStringLiteral("ostrel"), option}),
              CommandLineRequest::saveCameraStream);
    const auto wanted = parsed({option, "/dev/video0", "wide.mjpeg", "2.5"});
    ASSERT_TRUE(wanted);
    EXPECT_EQ(wanted->device, QStringLiteral("/dev/video0"));
    EXPECT_EQ(wanted->file, QStringLiteral("wide.mjpeg"));
    EXPECT_EQ(wanted->seconds, 2.5);
    for (const QStringList& wrong : {QStringList{option, "/dev/video0", "wide.mjpeg"},
                                     {option, "/dev/video0", "f", "zwei"},
                                     {option, "/dev/video0", "f", "0"},
                                     {option, "/dev/video0", "f", "3601"},
                                     {option, "", "f", "5"},
                                     {"/dev/video0", "f", "5"}})
        EXPECT_FALSE(parsed(wrong)) << wrong.join(u' ').toStdString();
}

#include "app/CommandLine.h"

#include <gtest/gtest.h>

// Qt's own options pass with their values and "--" ends the options; the first other option is
// the unknown one, unless it is a request of ours or one comes after it.
TEST(CommandLine, RequestsAreFoundAmongQtOptionsButNotAfterTheEndMarker) {
    using R = CommandLineRequest;
    const struct {
        QStringList tail;
        std::optional<R> request;
        std::optional<QString> unknown;
    } cases[] = {
        {{}, std::nullopt, std::nullopt},
        {{"-h"}, R::help, "-h"},
        {{"-platform", "offscreen", "--version"}, R::version, "--version"},
        {{"--platform", "xcb", "-reverse"}, std::nullopt, std::nullopt},
        {{"--style=fusion", "-qwindowgeometry", "800x600+0+0"}, std::nullopt, std::nullopt},
        {{"-platform", "--bogus"}, std::nullopt, std::nullopt}, // a value, however it looks
        {{"--bogus"}, R::unknownOption, "--bogus"},
        {{"--bogus", "--help"}, R::help, "--bogus"},
        {{"-x", "--help"}, R::help, "-x"},
        {{"--helpme"}, R::unknownOption, "--helpme"},
        {{"--", "--bogus"}, std::nullopt, std::nullopt},
        {{"-"}, std::nullopt, std::nullopt}, // a lone dash is a (file) name
        {{"--save-camera-stream"}, R::saveCameraStream, "--save-camera-stream"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.tail.join(u' ').toStdString());
        const QStringList arguments = QStringList{QStringLiteral("ostrel")} + c.tail;
        EXPECT_EQ(commandLineRequest(arguments), c.request);
        EXPECT_EQ(unknownOption(arguments), c.unknown);
    }
    // The program's own name is never read as a request.
    EXPECT_EQ(commandLineRequest({QStringLiteral("--help")}), std::nullopt);
}

TEST(CommandLine, SaveCameraStreamTakesADeviceAFileAndSeconds) {
    const auto parsed = [](QStringList tail) {
        return cameraStreamArguments(QStringList{QStringLiteral("ostrel")} + tail);
    };
    const QString option = QStringLiteral("--save-camera-stream");
    const auto wanted = parsed({option, "/dev/video0", "wide.mjpeg", "2.5"});
    ASSERT_TRUE(wanted);
    EXPECT_EQ(wanted->device, QStringLiteral("/dev/video0"));
    EXPECT_EQ(wanted->file, QStringLiteral("wide.mjpeg"));
    EXPECT_EQ(wanted->seconds, 2.5);
    for (const QStringList& wrong : {QStringList{option, "/dev/video0", "f", "zwei"},
                                     {option, "/dev/video0", "f", "0"},
                                     {option, "/dev/video0", "f", "3601"},
                                     {option, "", "f", "5"},
                                     {"/dev/video0", "f", "5"}})
        EXPECT_FALSE(parsed(wrong)) << wrong.join(u' ').toStdString();
}

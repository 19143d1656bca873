#pragma once

#include <QString>

#include <optional>

// Without a graphics card, Mesa draws OpenGL in software (llvmpipe) and the live pictures cost a
// recording its frames: about 0.4 cores for 12 fps of a 1080p live view while recording on two
// cores, where Qt's own software renderer draws 29 fps with 0.21 cores. So a machine without a
// render node (/dev/dri/renderD*) gets Qt's software renderer; one chosen by QT_QUICK_BACKEND or
// QSG_RHI_BACKEND stays. Call before the first window. Returns the log text when it chose.
std::optional<QString> chooseSceneGraph();

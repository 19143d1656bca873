#pragma once

#include <QString>

// The localised description of a failed V4L2 call, given its errno value (positive or negated).
QString v4l2ErrorText(int error);

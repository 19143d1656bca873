#include "devices/AssignmentRules.h"

CameraChoice preselectCameras(const QStringList& presentIDs, const CameraChoice& stored) {
    CameraChoice choice = stored;
    if (choice.wide.isEmpty() || !presentIDs.contains(choice.wide))
        choice.wide = presentIDs.value(0);
    if (choice.macro.isEmpty() || !presentIDs.contains(choice.macro) ||
        choice.macro == choice.wide) {
        choice.macro.clear();
        for (const QString& id : presentIDs)
            if (id != choice.wide) {
                choice.macro = id;
                break;
            }
    }
    return choice;
}

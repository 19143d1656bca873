#pragma once

#include "capture/CameraControls.h"

#include <QLocale>
#include <QProcessEnvironment>

// The mains frequency of a territory: 60 Hz in most of the Americas and a few other places,
// 50 Hz everywhere else (also where the territory is unknown).
PowerLineFrequency powerLineFrequencyOf(QLocale::Territory territory);

// The user's territory: the first of LC_ALL, LC_MEASUREMENT and LANG that names one (a "C"
// locale names none), else the system locale's. The regional settings come first: Qt's system
// locale follows LANGUAGE, the language of the texts, which says nothing about the mains.
QLocale::Territory userTerritory(const QLocale& system, const QProcessEnvironment& environment);

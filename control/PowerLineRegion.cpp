#include "control/PowerLineRegion.h"

#include <algorithm>
#include <array>

PowerLineFrequency powerLineFrequencyOf(QLocale::Territory territory) {
    // Japan is split (50 Hz in the east, 60 Hz in the west); it keeps the 50 Hz of Tokyo.
    static constexpr std::array sixtyHertz{
        QLocale::UnitedStates,
        QLocale::Canada,
        QLocale::Mexico,
        QLocale::Guatemala,
        QLocale::Belize,
        QLocale::Honduras,
        QLocale::ElSalvador,
        QLocale::Nicaragua,
        QLocale::CostaRica,
        QLocale::Panama,
        QLocale::Colombia,
        QLocale::Venezuela,
        QLocale::Ecuador,
        QLocale::Peru,
        QLocale::Brazil,
        QLocale::Guyana,
        QLocale::Suriname,
        QLocale::Cuba,
        QLocale::DominicanRepublic,
        QLocale::Haiti,
        QLocale::PuertoRico,
        QLocale::Bahamas,
        QLocale::TrinidadAndTobago,
        QLocale::Aruba,
        QLocale::UnitedStatesVirginIslands,
        QLocale::Guam,
        QLocale::AmericanSamoa,
        QLocale::NorthernMarianaIslands,
        QLocale::Micronesia,
        QLocale::Palau,
        QLocale::MarshallIslands,
        QLocale::Taiwan,
        QLocale::SouthKorea,
        QLocale::Philippines,
        QLocale::SaudiArabia,
        QLocale::Liberia,
    };
    return std::find(sixtyHertz.begin(), sixtyHertz.end(), territory) != sixtyHertz.end()
               ? PowerLineFrequency::hz60
               : PowerLineFrequency::hz50;
}

QLocale::Territory userTerritory(const QLocale& system, const QProcessEnvironment& environment) {
    for (const char* name : {"LC_ALL", "LC_MEASUREMENT", "LANG"}) {
        // "de_DE.UTF-8@euro" -> "de_DE"; "C.UTF-8" and "POSIX" name no territory.
        const QString value =
            environment.value(QLatin1String(name)).section(u'.', 0, 0).section(u'@', 0, 0);
        if (!value.contains(u'_'))
            continue;
        const QLocale locale(value);
        if (locale.territory() != QLocale::AnyTerritory)
            return locale.territory();
    }
    return system.territory();
}

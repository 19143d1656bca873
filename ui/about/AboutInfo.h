#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <optional>

// The maker's contact lines and the application version, for the about block and the help
// links.
class AboutInfo : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QString version READ version CONSTANT)
    Q_PROPERTY(QString webSite READ webSite CONSTANT)
    Q_PROPERTY(QString webDomain READ webDomain CONSTANT)
    Q_PROPERTY(QString supportAddress READ supportAddress CONSTANT)
    Q_PROPERTY(QString companyLine READ companyLine CONSTANT)

public:
    using QObject::QObject;

    // The build's short version, or "1.0" when the build has none.
    static QString versionFrom(const std::optional<QString>& shortVersion);

    QString version() const;
    QString webSite() const { return QStringLiteral("https://ostrel.de"); }
    QString webDomain() const { return QStringLiteral("ostrel.de"); }
    QString supportAddress() const { return QStringLiteral("support@ostrel.de"); }
    QString companyLine() const { return QStringLiteral("OSTREL Medizintechnik GmbH"); }
};

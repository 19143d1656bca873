#pragma once

#include "diagnostics/LogLevel.h"

#include <QAbstractListModel>
#include <QPointer>

class OstrelLog;

// The log for the diagnostics window: newest first, optionally one level only.
class LogListModel : public QAbstractListModel {
    Q_OBJECT
    // -1 shows every level, otherwise the ordinal of the one level shown.
    Q_PROPERTY(int levelFilter READ levelFilter WRITE setLevelFilter NOTIFY levelFilterChanged)
    Q_PROPERTY(int count READ rowCount NOTIFY countChanged)
    Q_PROPERTY(QString heading READ heading NOTIFY countChanged)
    Q_PROPERTY(QStringList filterLabels READ filterLabels CONSTANT)
public:
    enum Role { MessageRole = Qt::UserRole + 1, TimeRole, LevelRole, SymbolRole };

    explicit LogListModel(OstrelLog& log, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    int levelFilter() const { return m_levelFilter; }
    void setLevelFilter(int filter);
    QString heading() const;
    // "Alle", then the level texts in their order.
    static QStringList filterLabels();

signals:
    void levelFilterChanged();
    void countChanged();

private:
    void rebuild();

    QPointer<OstrelLog> m_log;
    int m_levelFilter = -1;
    std::vector<int> m_rows; // indexes into the log's entries, newest first
};

#pragma once

#include "diagnostics/LogLevel.h"

#include <QAbstractListModel>
#include <QPointer>

#include <deque>

class OstrelLog;

// The log for the diagnostics window: newest first, optionally one level only. A new entry is
// inserted as row 0 and a dropped oldest one removed from the end, so a list view keeps the
// place of a person reading older entries.
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
    bool shown(LogLevel level) const;
    void rebuild();
    void appended(int dropped);

    QPointer<OstrelLog> m_log;
    int m_levelFilter = -1;
    // Rows hold serial numbers of entries, newest first; the log's oldest entry has number
    // m_firstSerial, so a row survives the cap dropping older entries unchanged.
    std::deque<qint64> m_rows;
    qint64 m_firstSerial = 0;
};

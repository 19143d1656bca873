#include "diagnostics/LogListModel.h"

#include "diagnostics/LogFormat.h"
#include "diagnostics/OstrelLog.h"

#include <QCoreApplication>

namespace {

// The name of the level's symbol, drawn by the view (a font may lack such glyphs).
QString levelSymbol(LogLevel level) {
    switch (level) {
    case LogLevel::info:
        return QStringLiteral("info.circle");
    case LogLevel::event:
        return QStringLiteral("circle.fill");
    case LogLevel::warn:
        return QStringLiteral("exclamationmark.triangle");
    case LogLevel::error:
        return QStringLiteral("xmark.octagon");
    }
    return {};
}

// The file keeps "FEHLER" in every language; the filter speaks the user's.
QString levelLabel(LogLevel level) {
    if (level == LogLevel::error)
        return QCoreApplication::translate("DiagnosticsView", "FEHLER");
    return logLevelText(level);
}

} // namespace

LogListModel::LogListModel(OstrelLog& log, QObject* parent)
    : QAbstractListModel(parent), m_log(&log) {
    connect(&log, &OstrelLog::entryAppended, this, &LogListModel::appended);
    connect(&log, &OstrelLog::entriesCleared, this, &LogListModel::rebuild);
    rebuild();
}

int LogListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant LogListModel::data(const QModelIndex& index, int role) const {
    if (!m_log || !index.isValid() || index.row() >= int(m_rows.size()))
        return {};
    const auto& entries = m_log->entries();
    const qint64 at = m_rows[std::size_t(index.row())] - m_firstSerial;
    if (at < 0 || at >= qint64(entries.size()))
        return {};
    const LogEntry& entry = entries[std::size_t(at)];
    switch (role) {
    case MessageRole:
    case Qt::DisplayRole:
        return entry.message;
    case TimeRole:
        return logformat::exportTime(entry.date);
    case LevelRole:
        return int(entry.level);
    case SymbolRole:
        return levelSymbol(entry.level);
    default:
        return {};
    }
}

QHash<int, QByteArray> LogListModel::roleNames() const {
    return {
        {MessageRole, "message"}, {TimeRole, "time"}, {LevelRole, "level"}, {SymbolRole, "symbol"}};
}

void LogListModel::setLevelFilter(int filter) {
    if (filter < -1 || filter >= int(allLogLevels.size()))
        filter = -1;
    if (filter == m_levelFilter)
        return;
    m_levelFilter = filter;
    emit levelFilterChanged();
    rebuild();
}

QString LogListModel::heading() const {
    return QCoreApplication::translate("DiagnosticsView", "Protokoll (%1) — neueste zuerst")
        .arg(m_rows.size());
}

QStringList LogListModel::filterLabels() {
    QStringList labels{QCoreApplication::translate("DiagnosticsView", "Alle")};
    for (LogLevel level : allLogLevels)
        labels << levelLabel(level);
    return labels;
}

bool LogListModel::shown(LogLevel level) const {
    return m_levelFilter < 0 || int(level) == m_levelFilter;
}

void LogListModel::rebuild() {
    const int before = int(m_rows.size());
    beginResetModel();
    m_rows.clear();
    m_firstSerial = 0;
    if (m_log) {
        const auto& entries = m_log->entries();
        for (qint64 i = qint64(entries.size()) - 1; i >= 0; --i) {
            if (shown(entries[std::size_t(i)].level))
                m_rows.push_back(i);
        }
    }
    endResetModel();
    if (int(m_rows.size()) != before)
        emit countChanged();
}

void LogListModel::appended(int dropped) {
    if (!m_log)
        return;
    const auto& entries = m_log->entries();
    const int before = int(m_rows.size());
    m_firstSerial += dropped;
    // The dropped entries are the oldest, so their rows (if shown) are the last ones.
    int stale = 0;
    while (stale < int(m_rows.size()) &&
           m_rows[m_rows.size() - 1 - std::size_t(stale)] < m_firstSerial)
        ++stale;
    if (stale > 0) {
        beginRemoveRows({}, int(m_rows.size()) - stale, int(m_rows.size()) - 1);
        m_rows.erase(m_rows.end() - stale, m_rows.end());
        endRemoveRows();
    }
    if (!entries.empty() && shown(entries.back().level)) {
        beginInsertRows({}, 0, 0);
        m_rows.push_front(m_firstSerial + qint64(entries.size()) - 1);
        endInsertRows();
    }
    if (int(m_rows.size()) != before)
        emit countChanged();
}

#include "diagnostics/LogListModel.h"

#include "diagnostics/LogFormat.h"
#include "diagnostics/OstrelLog.h"

#include <QCoreApplication>

namespace {

QString levelSymbol(LogLevel level) {
    switch (level) {
    case LogLevel::info:
        return QStringLiteral("ⓘ");
    case LogLevel::event:
        return QStringLiteral("●");
    case LogLevel::warn:
        return QStringLiteral("⚠");
    case LogLevel::error:
        return QStringLiteral("⊗");
    }
    return {};
}

} // namespace

LogListModel::LogListModel(OstrelLog& log, QObject* parent)
    : QAbstractListModel(parent), m_log(&log) {
    connect(&log, &OstrelLog::entriesChanged, this, &LogListModel::rebuild);
    rebuild();
}

int LogListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant LogListModel::data(const QModelIndex& index, int role) const {
    if (!m_log || !index.isValid() || index.row() >= int(m_rows.size()))
        return {};
    const auto& entries = m_log->entries();
    const std::size_t at = std::size_t(m_rows[std::size_t(index.row())]);
    if (at >= entries.size())
        return {};
    const LogEntry& entry = entries[at];
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
        labels << logLevelText(level);
    return labels;
}

// The log changes on the main thread by one entry at a time, at most a few per second; a reset
// over 1000 rows is cheaper than tracking the capped deque's shifts.
void LogListModel::rebuild() {
    const int before = int(m_rows.size());
    beginResetModel();
    m_rows.clear();
    if (m_log) {
        const auto& entries = m_log->entries();
        for (int i = int(entries.size()) - 1; i >= 0; --i) {
            if (m_levelFilter < 0 || int(entries[std::size_t(i)].level) == m_levelFilter)
                m_rows.push_back(i);
        }
    }
    endResetModel();
    if (int(m_rows.size()) != before)
        emit countChanged();
}

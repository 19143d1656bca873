#pragma once

#include "diagnostics/OstrelLog.h"
#include "support/EventLoop.h"

#include <QStringList>

#include <utility>
#include <vector>

// The diagnostic log from a clean start: everything posted so far, with its level.
class LogProbe {
public:
    LogProbe() {
        pumpPosted();
        OstrelLog::shared().clear();
        m_skip = OstrelLog::shared().count(); // the "cleared" entry
    }
    std::vector<std::pair<LogLevel, QString>> entries() const {
        pumpPosted();
        std::vector<std::pair<LogLevel, QString>> result;
        const auto& all = OstrelLog::shared().entries();
        for (std::size_t i = std::size_t(m_skip); i < all.size(); ++i)
            result.emplace_back(all[i].level, all[i].message);
        return result;
    }
    QStringList messages() const {
        QStringList result;
        for (const auto& [level, message] : entries())
            result << message;
        return result;
    }

private:
    int m_skip = 0;
};

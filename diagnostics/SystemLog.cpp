#include "diagnostics/SystemLog.h"

#include <cstdio>
#include <syslog.h>
#include <systemd/sd-journal.h>

void SystemLog::write(LogLevel level, const QByteArray& utf8Message) {
    const bool isError = logLevelIsSystemError(level);
    if (!m_journalFailed) {
        const int result = sd_journal_send(
            "MESSAGE=%s", utf8Message.constData(), "PRIORITY=%i", isError ? LOG_ERR : LOG_NOTICE,
            "SYSLOG_IDENTIFIER=ostrel", "SUBSYSTEM=com.ostrel.mac", "CATEGORY=app", nullptr);
        if (result >= 0)
            return;
        m_journalFailed = true; // no journal here; keep to standard error from now on
    }
    std::fprintf(stderr, "ostrel [com.ostrel.mac:app] %s: %s\n", isError ? "error" : "default",
                 utf8Message.constData());
}

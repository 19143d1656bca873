#pragma once

#include <QObject>

class QSocketNotifier;

// Turns SIGTERM and SIGINT (the desktop session logging out, Ctrl+C in a terminal) into a
// signal on the main thread, so they take the same path as a quit request.
class TerminationSignals : public QObject {
    Q_OBJECT
public:
    explicit TerminationSignals(QObject* parent = nullptr);
    ~TerminationSignals() override;

signals:
    void terminationRequested();

private:
    QSocketNotifier* m_notifier = nullptr;
};

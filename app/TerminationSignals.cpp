#include "app/TerminationSignals.h"

#include <QSocketNotifier>

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int signalSockets[2] = {-1, -1}; // written by the handler, the only thing it may touch

void onSignal(int) {
    const char byte = 1;
    [[maybe_unused]] const auto written = ::write(signalSockets[0], &byte, 1);
}

} // namespace

TerminationSignals::TerminationSignals(QObject* parent) : QObject(parent) {
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, signalSockets) != 0)
        return;
    m_notifier = new QSocketNotifier(signalSockets[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] {
        char byte;
        [[maybe_unused]] const auto read = ::read(signalSockets[1], &byte, 1);
        emit terminationRequested();
    });
    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
}

TerminationSignals::~TerminationSignals() {
    signal(SIGTERM, SIG_DFL);
    signal(SIGINT, SIG_DFL);
}

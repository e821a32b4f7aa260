#include "SignalWatcher.h"

#include <QSocketNotifier>

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int g_fds[2] = {-1, -1};

void onSignal(int number)
{
    const unsigned char byte = static_cast<unsigned char>(number);
    // Nothing else is safe in a signal handler; a full pipe drops the
    // signal, and one of its kind is already waiting.
    [[maybe_unused]] const ssize_t written = ::write(g_fds[0], &byte, 1);
}

} // namespace

SignalWatcher::SignalWatcher(QObject *parent) : QObject(parent)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, g_fds) != 0)
        return;
    m_notifier = new QSocketNotifier(g_fds[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &SignalWatcher::readSignal);

    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int number : {SIGTERM, SIGINT, SIGHUP})
        ::sigaction(number, &action, nullptr);
}

SignalWatcher::~SignalWatcher()
{
    for (const int number : {SIGTERM, SIGINT, SIGHUP})
        std::signal(number, SIG_DFL);
    delete m_notifier;
    for (int &fd : g_fds) {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }
}

void SignalWatcher::readSignal()
{
    unsigned char byte = 0;
    while (::read(g_fds[1], &byte, 1) == 1) {
        if (byte == SIGHUP)
            emit reloadRequested();
        else
            emit stopRequested();
    }
}

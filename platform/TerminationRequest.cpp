#include "platform/TerminationRequest.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int g_pipe[2] = {-1, -1};
std::function<void()> g_handler;

// Only async-signal-safe work here: one byte down the pipe.
void signalled(int)
{
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(g_pipe[1], &byte, 1);
}

}  // namespace

void onTerminationRequest(std::function<void()> handler)
{
    g_handler = std::move(handler);
    if (g_pipe[0] >= 0)
        return;
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, g_pipe) != 0)
        return;
    auto* notifier = new QSocketNotifier(g_pipe[0], QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [] {
        char byte;
        if (::read(g_pipe[0], &byte, 1) == 1 && g_handler)
            g_handler();
    });
    struct sigaction action = {};
    action.sa_handler = signalled;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int signal : {SIGTERM, SIGINT, SIGHUP})
        sigaction(signal, &action, nullptr);
}

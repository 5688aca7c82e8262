#include "tv/signals.h"

#include <csignal>
#include <initializer_list>

#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace tv {

namespace {

void unblockInChild() {
    sigset_t usual;
    sigemptyset(&usual);
    sigaddset(&usual, SIGTERM);
    sigaddset(&usual, SIGHUP);
    pthread_sigmask(SIG_UNBLOCK, &usual, nullptr);
    std::signal(SIGPIPE, SIG_DFL);
}

} // namespace

EndingSignals::EndingSignals() {
    sigset_t ending;
    sigemptyset(&ending);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&ending, signal);
    pthread_sigmask(SIG_BLOCK, &ending, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    pthread_atfork(nullptr, nullptr, unblockInChild);
    descriptor_ = signalfd(-1, &ending, SFD_NONBLOCK | SFD_CLOEXEC);
}

EndingSignals::~EndingSignals() {
    if (descriptor_ >= 0)
        close(descriptor_);
}

bool EndingSignals::take() const {
    signalfd_siginfo info;
    return read(descriptor_, &info, sizeof info) == static_cast<ssize_t>(sizeof info);
}

} // namespace tv

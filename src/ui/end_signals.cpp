#include "ui/end_signals.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <utility>

namespace postkite::ui {

namespace {

/// A handler can do little more than write a byte, and has to find the pipe without an object.
int pipeEnds[2] = {-1, -1};

constexpr int kEnding[] = {SIGTERM, SIGINT, SIGHUP};
constexpr int kIgnored[] = {SIGPIPE, SIGXFSZ};

void PassOn(int) {
    const char byte = 0;
    static_cast<void>(!write(pipeEnds[1], &byte, 1));
}

}  // namespace

EndSignals::EndSignals(std::function<void()> end) : end_(std::move(end)) {
    for (const int number : kIgnored)
        std::signal(number, SIG_IGN);
    if (pipe2(pipeEnds, O_CLOEXEC | O_NONBLOCK) < 0) return;
    notifier_ = std::make_unique<QSocketNotifier>(pipeEnds[0], QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] {
        char byte = 0;
        static_cast<void>(!read(pipeEnds[0], &byte, 1));
        end_();
    });
    for (const int number : kEnding)
        std::signal(number, PassOn);
}

EndSignals::~EndSignals() {
    for (const int number : kEnding)
        std::signal(number, SIG_DFL);
    notifier_.reset();
    for (int& pipeEnd : pipeEnds) {
        if (pipeEnd >= 0) close(pipeEnd);
        pipeEnd = -1;
    }
}

}  // namespace postkite::ui

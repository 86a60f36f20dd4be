#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace postkite::ui {

/// Has the program end when the system or a terminal asks for it (SIGTERM, SIGINT, SIGHUP): calls `end` from the event
/// loop. Broken pipes and files that have grown to their limit are errors of a write while this lives, and no end. One
/// at a time.
class EndSignals {
  public:
    explicit EndSignals(std::function<void()> end);
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;
    ~EndSignals();

  private:
    std::function<void()> end_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace postkite::ui

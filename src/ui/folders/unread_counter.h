#pragma once

#include <QObject>
#include <QTimer>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>

#include "ui/desktop.h"

namespace postkite::ui {

/// Counts unread mails, one folder at a time while nothing else is to be done, and a part of a long list at a time.
class UnreadCounter final : public QObject {
    Q_OBJECT

  public:
    UnreadCounter(Desktop& desktop, QObject* parent);
    ~UnreadCounter() override;

    /// Has a folder, by its base name, counted when its turn comes; `next`: before the others.
    void Ask(std::string_view folder, bool next);
    void ForgetAll();

  signals:
    /// `unread` -1: the folder cannot be read. The engine is not busy.
    void Counted(const std::string& folder, int unread);

  private:
    struct Count;
    void Work();
    void Begin(const std::string& folder);
    void CountOn();
    void Finish(const std::string& folder, int unread);

    Desktop* desktop_;
    QTimer timer_;
    std::deque<std::string> queue_;
    std::unordered_set<std::string> waiting_;
    std::unique_ptr<Count> count_;  ///< of a folder that took longer than one turn
};

}  // namespace postkite::ui

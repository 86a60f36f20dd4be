#include "ui/window/status_line.h"

#include <QLabel>
#include <QProgressBar>
#include <algorithm>

namespace postkite::ui {

namespace {

/// The bar's range is an int; positions are bytes and mails of any number.
constexpr int kSteps = 1000;

QLabel* PlainLabel(QWidget* parent, const QString& name) {
    auto* label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setAccessibleName(name);
    return label;
}

}  // namespace

StatusLine::StatusLine(QWidget* parent)
    : QStatusBar(parent),
      text_(PlainLabel(this, tr("状態"))),
      counts_(PlainLabel(this, tr("通数"))),
      bank_(PlainLabel(this, tr("メールボックスバンク"))),
      progress_(new QProgressBar(this)) {
    // The text gives way, so that a long one neither widens the window nor pushes the indicators out.
    text_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    progress_->setRange(0, kSteps);
    progress_->setAccessibleName(tr("進み具合"));
    progress_->setMaximumWidth(fontMetrics().averageCharWidth() * 30);
    progress_->hide();
    addWidget(text_, 1);
    addPermanentWidget(progress_);
    addPermanentWidget(counts_);
    addPermanentWidget(bank_);
}

void StatusLine::ShowText(const QString& text) {
    text_->setText(text);
    text_->setToolTip(text);
}

void StatusLine::ShowCounts(const QString& text) {
    counts_->setText(text);
}

void StatusLine::ShowProgress(quint64 position, quint64 total) {
    progress_->setVisible(total > 0);
    if (total == 0) return;
    const double part = static_cast<double>(std::min(position, total)) / static_cast<double>(total);
    progress_->setValue(static_cast<int>(part * kSteps));
}

void StatusLine::ShowBank(const QString& text) {
    bank_->setText(text);
}

}  // namespace postkite::ui

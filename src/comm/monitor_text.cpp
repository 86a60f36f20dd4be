#include "comm/monitor_text.h"

#include <algorithm>
#include <iterator>

#include "core/shift_jis.h"

namespace postkite::comm {

namespace {

/// Whether the last byte begins a character, with `text` read from its first byte on. A byte that is no lead
/// byte ends a character, so a run of lead bytes behind it is pairs of lead and trail, and one more where its
/// length is odd.
bool EndsWithLeadByte(std::string_view text) {
    const auto run = std::find_if_not(text.rbegin(), text.rend(), core::IsLeadByte);
    return std::distance(text.rbegin(), run) % 2 != 0;
}

}  // namespace

void MonitorText::AppendMonitor(std::string_view text) {
    if (settings_->monitorWindow == 0) return;
    working_.clear();
    if (pendingLeadByte_ != 0) working_ += pendingLeadByte_;
    pendingLeadByte_ = 0;
    working_ += text;
    if (EndsWithLeadByte(working_)) {
        pendingLeadByte_ = working_.back();
        working_.pop_back();
    }
    if (text_.size() > kBytesBeforeHalving) {
        text_.erase(0, core::CutToBytes(text_, text_.size() / 2).size());
        ui_->ReplaceMonitorText(text_);
    }
    if (working_.empty()) return;
    text_ += working_;
    ui_->AppendMonitorText(working_);
}

void MonitorText::ClearMonitor() {
    text_.clear();
    pendingLeadByte_ = 0;
    if (settings_->monitorWindow != 0) ui_->ReplaceMonitorText({});
}

}  // namespace postkite::comm

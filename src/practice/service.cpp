#include "practice/service.h"

#include "core/shift_jis.h"

namespace postkite::practice {

using namespace core::literals;

void Service::RefuseCommand() {
    visit_->PrintLine("コマンドが違います。"_sjis);
    Prompt();
}

}  // namespace postkite::practice

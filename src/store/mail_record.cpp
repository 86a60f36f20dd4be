#include "store/mail_record.h"

#include "core/shift_jis.h"

namespace postkite::store {

void CutToWidth(std::string& text, std::size_t width) {
    if (text.size() <= width) return;
    std::size_t end = 0;
    while (end + 1 < width) {
        end += core::CharacterLength(text, end);
    }
    text.resize(end);
}

}  // namespace postkite::store

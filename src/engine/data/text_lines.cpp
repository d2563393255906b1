#include "engine/data/text_lines.hpp"

#include <algorithm>

namespace tessara {

TextLines::TextLines(std::string_view text) : text_(text) {
    if (text_.starts_with("\xEF\xBB\xBF")) {
        text_.remove_prefix(3);
    }
    feed_ = find('\n');
    carriage_ = find('\r');
}

std::size_t TextLines::find(char mark) const {
    return std::min(text_.find(mark, begin_), text_.size());
}

bool TextLines::next() {
    if (begin_ >= text_.size()) {
        return false;
    }
    // Each mark is sought from where it was last found, so that a text which has only one kind is
    // walked once.
    if (feed_ < begin_) {
        feed_ = find('\n');
    }
    if (carriage_ < begin_) {
        carriage_ = find('\r');
    }
    const std::size_t end = std::min(feed_, carriage_);
    line_ = text_.substr(begin_, end - begin_);
    begin_ = end + (end == carriage_ && end + 1 == feed_ ? 2 : 1);
    return true;
}

} // namespace tessara

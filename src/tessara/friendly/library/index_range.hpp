#pragma once

#include <iterator>

#include "friendly/library/binding.hpp"

namespace tessara::friendly {

/// `for index in range(count)`. A plain counter where that cannot be told from the built-in over an
/// `int`; otherwise the iterator of whatever `range` and `count` are.
class IndexRange {
public:
    explicit IndexRange(Borrowed count);

    /// Whether `range` is the built-in.
    static bool counts_plainly();

    class Iterator {
    public:
        explicit Iterator(IndexRange& range) : range_(range) {}
        const Ref& operator*() const noexcept { return range_.index_; }
        Iterator& operator++() {
            range_.advance();
            return *this;
        }
        bool operator==(std::default_sentinel_t) const noexcept { return !range_.index_; }

    private:
        IndexRange& range_;
    };

    Iterator begin() {
        advance();
        return Iterator(*this);
    }
    std::default_sentinel_t end() const noexcept { return {}; }

private:
    void advance();

    Py_ssize_t next_ = 0;
    Py_ssize_t count_ = 0;
    Ref iterator_;
    Ref index_;
};

/// `[give(i) for i in range(count)]`
template <class Give>
Ref list_over(Borrowed count, Give give) {
    Ref result = new_list();
    for (const Ref& i : IndexRange(count)) {
        append(result, give(i));
    }
    return result;
}

} // namespace tessara::friendly

#include "friendly/library/index_range.hpp"

namespace tessara::friendly {

namespace {

bool is_built_in(const Ref& range) {
    return range.get() == reinterpret_cast<PyObject*>(&PyRange_Type);
}

} // namespace

bool IndexRange::counts_plainly() {
    return is_built_in(global(names::range));
}

IndexRange::IndexRange(Borrowed count) {
    const Ref range = global(names::range);
    if (is_built_in(range) && PyLong_CheckExact(count.get())) {
        count_ = PyLong_AsSsize_t(count.get());
        if (count_ != -1 || PyErr_Occurred() == nullptr) {
            return;
        }
        if (PyErr_ExceptionMatches(PyExc_OverflowError) == 0) {
            throw PythonError{};
        }
        PyErr_Clear(); // more than a counter holds, which is no mistake for `range`
    }
    iterator_ = checked(PyObject_GetIter(call(range, count).get()));
}

void IndexRange::advance() {
    if (iterator_) {
        index_ = next_item(iterator_);
    } else if (next_ < count_) {
        index_ = checked(PyLong_FromSsize_t(next_++));
    } else {
        index_ = Ref();
    }
}

} // namespace tessara::friendly

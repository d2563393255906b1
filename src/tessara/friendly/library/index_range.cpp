#include "friendly/library/index_range.hpp"

namespace tessara::friendly {

IndexRange::IndexRange(Borrowed count) {
    const Ref range = global(names::range);
    if (range.get() == reinterpret_cast<PyObject*>(&PyRange_Type) &&
        PyLong_CheckExact(count.get())) {
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

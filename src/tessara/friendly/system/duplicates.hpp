#pragma once

#include "friendly/library/binding.hpp"

namespace tessara::friendly {

/// The error for a name that occurs at two indexes; `head` says what was found in what.
template <class Previous, class Index, class... Head>
[[noreturn]] void raise_duplicate(const Previous& previous, const Index& index,
                                  const Head&... head) {
    raise_formatted(names::TessaraPyError, head...,
                    " the thermochemical data file. It occurs at index ", previous, " and ", index,
                    ". This data file cannot be used with Tessara for Python.");
}

} // namespace tessara::friendly

#pragma once

#include "friendly/library/index_range.hpp"
#include "friendly/system/caches.hpp"

namespace tessara::friendly {

/// `visit(i_ph, i_pc)` for each constituent of each phase, in index order.
template <class Visit>
void for_each_constituent(Visit visit) {
    for (const Ref& i_ph : IndexRange(count_of_phs())) {
        for (const Ref& i_pc : IndexRange(count_of_pcs(i_ph))) {
            visit(i_ph, i_pc);
        }
    }
}

/// One flat list of `give(i_ph, i_pc)`. All flat lists of the system run in step.
template <class Give>
Ref list_over_constituents(Give give) {
    Ref result = new_list();
    for_each_constituent(
        [&](const Ref& i_ph, const Ref& i_pc) { append(result, give(i_ph, i_pc)); });
    return result;
}

} // namespace tessara::friendly

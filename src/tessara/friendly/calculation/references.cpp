#include "friendly/calculation/calculation.hpp"
#include "friendly/system/caches.hpp"

// References of users to what a system holds, with words for those that lead nowhere.

namespace tessara::friendly::calculation {

namespace {

/// `lookup()` under `except KeyError`, with a message that begins with the pieces.
template <class Lookup, class... Pieces>
Ref existing(Lookup lookup, const Pieces&... pieces) {
    try {
        return lookup();
    } catch (const PythonError&) {
        Handled error;
        only(error, names::KeyError);
        raise_formatted(names::TessaraPyError, pieces..., "' does not exist.");
    }
}

} // namespace

Ref existing_sc(Borrowed sc) {
    return existing([sc] { return index_of_sc(sc); }, "System component '", sc);
}

Ref existing_ph(Borrowed ph) {
    return existing([ph] { return index_of_ph(ph); }, "Phase '", ph);
}

Ref existing_pc(Borrowed ph, Borrowed pc) {
    return existing([ph, pc] { return index_of_pc(ph, pc); }, "Phase constituent '", pc,
                    "' of phase '", ph);
}

} // namespace tessara::friendly::calculation

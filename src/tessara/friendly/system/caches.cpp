#include "friendly/system/caches.hpp"

namespace tessara::friendly {

Caches& caches() {
    static Caches* const instance = new Caches; // NOLINT(cppcoreguidelines-owning-memory)
    return *instance;
}

void empty_caches() {
    caches().sc = none();
    caches().ph = none();
    caches().system = none();
}

} // namespace tessara::friendly

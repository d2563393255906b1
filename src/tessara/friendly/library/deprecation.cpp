#include "friendly/library/deprecation.hpp"

#include <string_view>

namespace tessara::friendly {

std::string former_name(const Name& successor) {
    constexpr std::string_view prefix = "set_target_";
    return "set_tg_" + std::string(successor.text()).substr(prefix.size());
}

std::string former_name_description(const Name& successor) {
    return std::string("FutureWarning: this is a former name of `") + successor.text() +
           "`.\n\n"
           "It will be removed. Until then it issues a `DeprecationWarning` and does what the\n"
           "present name does, with the same arguments.";
}

void warn_of_former_name(const Name& successor) {
    const std::string message = std::string("This function is renamed to `") + successor.text() +
                                "`. `" + former_name(successor) +
                                "` will be removed in a future version.";
    const Ref warnings = global(names::warnings);
    call_method(warnings, names::warn, text(message.c_str()), Global{names::DeprecationWarning});
}

} // namespace tessara::friendly

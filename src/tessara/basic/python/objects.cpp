#include "basic/python/objects.hpp"

namespace tessara::basic {
namespace {

/// Makes the object of each kind of value.
struct Maker {
    Ref operator()(std::monostate) const { return none(); }
    Ref operator()(bool value) const { return boolean(value); }
    Ref operator()(long long value) const { return integer(value); }
    Ref operator()(double value) const { return number(value); }
    Ref operator()(const std::string& value) const { return text(value); }
    Ref operator()(const Description::List& list) const { return list_of(list, object); }
    Ref operator()(const Description::Table& table) const {
        Ref dict = checked(PyDict_New());
        for (const auto& [key, value] : table) {
            set_item(dict, key.c_str(), object(value));
        }
        return dict;
    }
};

} // namespace

Ref object(const Description& description) {
    return std::visit(Maker{}, description.value());
}

} // namespace tessara::basic

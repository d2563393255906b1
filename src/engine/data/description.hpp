#pragma once

#include <concepts>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace tessara {

/// A plain value: nothing, a truth, a number, a text, a list or a table of values. What the engine
/// tells of a system in this form can be taken over by programs that do not know its classes.
class Description {
public:
    using List = std::vector<Description>;
    /// Keys in the order in which they were set.
    using Table = std::vector<std::pair<std::string, Description>>;
    using Value = std::variant<std::monostate, bool, long long, double, std::string, List, Table>;

    Description() = default;
    Description(bool value) : value_(value) {}
    Description(double value) : value_(value) {}
    template <std::integral Integer>
        requires(!std::same_as<Integer, bool>)
    Description(Integer value) : value_(static_cast<long long>(value)) {}
    Description(std::string value) : value_(std::move(value)) {}
    Description(std::string_view value) : value_(std::string(value)) {}
    Description(const char* value) : value_(std::string(value)) {}
    Description(List value) : value_(std::move(value)) {}
    Description(Table value) : value_(std::move(value)) {}

    /// A list with one value for each item.
    template <class Items, class Make>
    static Description list(const Items& items, const Make& make) {
        List values;
        for (const auto& item : items) {
            values.push_back(make(item));
        }
        return values;
    }
    template <class Items>
    static Description list(const Items& items) {
        return list(items, [](const auto& item) { return Description(item); });
    }

    /// Adds an entry to a table.
    void set(std::string key, Description value) {
        std::get<Table>(value_).emplace_back(std::move(key), std::move(value));
    }

    const Value& value() const { return value_; }
    friend bool operator==(const Description&, const Description&) = default;

    /// The items of a list; none where this is no list.
    const List& items() const;
    /// The value of a key; nothing where there is no such key.
    const Description& operator[](std::string_view key) const;
    /// The number; 0 where this is none.
    double number() const;
    /// The text; empty where this is none.
    std::string text() const;

private:
    Value value_;
};

class System;

/// All of a system: "title", "components", "phases", "dummies", "comment_line". Phases that mix
/// have further keys that tell of their model.
Description describe(const System& system);

} // namespace tessara

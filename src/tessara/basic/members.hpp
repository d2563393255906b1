#pragma once

#include "basic/python/ref.hpp"

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace tessara::basic {

/// The enumerations of `core` that operations take or give.
enum class Enumeration : unsigned char {
    IoOption,
    Quantity,
    PressureUnit,
    VolumeUnit,
    TemperatureUnit,
    EnergyUnit,
    AmountUnit,
    Status,
    SolutionModel,
    ConditionVariable,
    TargetVariable,
    PhaseMapVariable,
    ResultVariable,
    StreamVariable,
    ConfigurationOption,
    PhaseConstituentData,
};
inline constexpr std::size_t EnumerationCount =
    static_cast<std::size_t>(Enumeration::PhaseConstituentData) + 1;

const char* enumeration_name(Enumeration enumeration);

/// Connects the members of the enumerations with their counterparts in C++: by name when the module
/// is imported, by identity afterwards.
class Members {
public:
    /// A member as C++ knows it: the number is that of the enumerator; members of the five
    /// enumerations of units are numbered through as `Unit` is.
    struct Member {
        PyObject* object = nullptr;
        Enumeration enumeration = Enumeration::IoOption;
        int number = 0;
        std::string name;
    };

    /// Looks the members up in the module `core`.
    void load(const Ref& core);

    /// The member that the object is, or null.
    const Member* find(PyObject* object) const {
        for (std::size_t at = place(object);; at = (at + 1) % Places) {
            const int number = table_[at];
            if (number < 0) {
                return nullptr;
            }
            const Member& member = members_[static_cast<std::size_t>(number)];
            if (member.object == object) {
                return &member;
            }
        }
    }

    /// The member that belongs to an enumerator.
    template <class Enumerator>
    Ref object(Enumeration enumeration, Enumerator enumerator) const {
        return object(enumeration, static_cast<int>(enumerator));
    }
    Ref object(Enumeration enumeration, int number) const;

private:
    /// More than twice the number of members.
    static constexpr std::size_t Places = 512;

    static std::size_t place(PyObject* object) {
        return (reinterpret_cast<std::size_t>(object) >> 4U) % Places;
    }

    std::vector<Member> members_; ///< enumeration after enumeration
    /// For each enumeration, where its members start, less the number of the first.
    std::array<std::ptrdiff_t, EnumerationCount> offsets_{};
    std::vector<Ref> owned_;
    std::array<int, Places> table_{};
};

} // namespace tessara::basic
